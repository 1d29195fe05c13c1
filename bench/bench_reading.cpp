// Reads a text of one kind so many times, and releases what was read, for counting instructions: the difference between
// two numbers of calls is what the calls cost. Before that, every reader's result is compared with what was written.
//
//     bench_reading                                lists the rows: the units of one call, what a unit is, the name
//     bench_reading contenders                     lists the readers
//     bench_reading ROW CONTENDER CALLS [SEED]
//     bench_reading text ROW SEED SCALE OURS JSON  writes the two texts into files, SCALE times as large as in the row

#include "reading/Readers.h"
#include "reading/Texts.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace kelm::bench;

const TextKind& FindKind(const std::string& name)
{
    for (const TextKind& kind : GetTextKinds())
        if (kind.m_name == name)
            return kind;
    throw std::runtime_error("no such row: " + name);
}

const ReadingPeer& FindReader(const std::string& name)
{
    for (const ReadingPeer* reader : GetReaders())
        if (reader->m_name == name)
            return *reader;
    throw std::runtime_error("no such reader: " + name);
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

void Run(const std::vector<std::string>& arguments)
{
    constexpr std::uint64_t defaultSeed = 1;
    if (arguments.empty())
        for (const TextKind& kind : GetTextKinds())
            std::printf("%ld\t%s\t%s\n", MakeText(kind, defaultSeed).m_units, kind.m_unit, kind.m_name);
    else if (arguments[0] == "contenders")
        for (const ReadingPeer* reader : GetReaders())
            std::printf("%s\n", reader->m_name);
    else if (arguments[0] == "text" && arguments.size() == 6)
    {
        const Text text = MakeText(FindKind(arguments[1]), std::stoull(arguments[2]), std::stod(arguments[3]));
        WriteFile(arguments[4], text.m_ours);
        WriteFile(arguments[5], text.m_json);
    }
    else if (arguments.size() == 3 || arguments.size() == 4)
    {
        const Text text =
            MakeText(FindKind(arguments[0]), arguments.size() == 4 ? std::stoull(arguments[3]) : defaultSeed);
        const ReadingText reading(FindReader(arguments[1]), text);
        if (!reading.IsRight())
            throw std::runtime_error("the result is wrong, or refused");
        for (long i = std::stol(arguments[2]); i > 0; --i)
            reading.Read();
    }
    else
        throw std::runtime_error("wrong arguments: see the head of bench_reading.cpp");
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        Run({argv + 1, argv + argc});
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_reading: %s\n", e.what());
        return 1;
    }
    return 0;
}
