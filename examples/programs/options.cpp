// Settings of a command line program: a struct's members are its options, --name=expression.

#include <kelm/kelm.h>

#include <iostream>
#include <string>
#include <string_view>
#include <vector>

enum class Level : int
{
    quiet,
    normal,
    loud
};
struct Options
{
    int threads = 2;
    double ratio = 0.5;
    std::string output = "out.txt";
    Level level = Level::normal;
    std::vector<int> sizes;
};

KELM_DESCRIBE_ENUM(Level, quiet, normal, loud)
KELM_DESCRIBE(Options, threads, ratio, output, level, sizes)

int main(int argc, char** argv)
try
{
    Options options;
    for (std::string_view argument : std::vector<std::string_view>(argv + 1, argv + argc))
    {
        const std::size_t equal = argument.find('=');
        const std::string path = "." + std::string(argument.substr(2, equal - 2));
        const kelm::Value value = kelm::Evaluate(argument.substr(equal + 1));
        kelm::Set(options, path, value);
    }
    std::cout << kelm::Write(options) << '\n';
}
catch (const kelm::Error& e)
{
    std::cout << e.what() << '\n';
    return 1;
}
