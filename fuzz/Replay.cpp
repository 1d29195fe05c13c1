// Runs a fuzz target over the files of a folder, without a fuzzer: what it has found stays mended.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
        {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            // Also what it begins with, as far as that differs.
            for (std::size_t size = input.size(); size > 0; size = size > 512 ? size / 2 : size - 1)
            {
                const std::string part(input, 0, size); // ends where its memory ends
                LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(part.data()), part.size());
            }
            LLVMFuzzerTestOneInput(nullptr, 0);
            ++count;
        }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
