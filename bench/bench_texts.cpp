// Reads, refuses or writes a text of one kind so many times, for counting instructions: the difference between two
// numbers of calls is what the calls cost. Before that, the result is compared with what it must be.
//
//     bench_texts                                  lists the rows: the units of one call, what a unit is, the name
//     bench_texts contenders                       lists who does them, or some of them
//     bench_texts ROW CONTENDER CALLS [SEED]
//     bench_texts text ROW SEED SCALE OURS JSON    writes the row's two texts into files, SCALE times as large

#include "support/CallsMain.h"
#include "texts/TextRows.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace kelm::bench;

const TextRow& FindRow(const std::string& name)
{
    for (const TextRow& row : GetTextRows())
        if (row.m_name == name)
            return row;
    throw std::runtime_error("no such row: " + name);
}

const TextPeer& FindContender(const std::string& name)
{
    for (const TextPeer* peer : GetTextPeers())
        if (peer->m_name == name)
            return *peer;
    throw std::runtime_error("no such contender: " + name);
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

void Run(const std::vector<std::string>& arguments)
{
    constexpr std::uint64_t defaultSeed = 1;
    if (arguments.empty())
        for (const TextRow& row : GetTextRows())
            std::printf("%ld\t%s\t%s\n", MakeText(*row.m_kind, defaultSeed).m_units, row.m_kind->m_unit,
                        row.m_name.c_str());
    else if (arguments[0] == "contenders")
        for (const TextPeer* peer : GetTextPeers())
            std::printf("%s\n", peer->m_name);
    else if (arguments[0] == "text" && arguments.size() == 6)
    {
        const Text text = MakeText(*FindRow(arguments[1]).m_kind, std::stoull(arguments[2]), std::stod(arguments[3]));
        WriteFile(arguments[4], text.m_ours);
        WriteFile(arguments[5], text.m_json);
    }
    else if (arguments.size() == 3 || arguments.size() == 4)
    {
        const TextRow& row = FindRow(arguments[0]);
        const Text text = MakeText(*row.m_kind, arguments.size() == 4 ? std::stoull(arguments[3]) : defaultSeed);
        const TextWork work(row, text, FindContender(arguments[1]));
        if (!work.IsRight())
            throw std::runtime_error("cannot do this row, or not rightly");
        for (long i = std::stol(arguments[2]); i > 0; --i)
            work.Do();
    }
    else
        throw std::runtime_error("wrong arguments: see the head of bench_texts.cpp");
}

} // namespace

int main(int argc, char** argv)
{
    return kelm::bench::RunCalls("bench_texts", argc, argv, Run);
}
