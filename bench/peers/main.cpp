// Ours and its peers, row by row: a table, and with --json FILE the same as JSON.
//
//     bench_peers [--json FILE] [--seconds N] [--row TEXT]     (rows whose name contains TEXT)

#include "Rows.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

namespace
{

using namespace kelm::bench;

struct Options
{
    std::string m_json;
    std::string m_row;
    double m_seconds = 3; // a row
};

bool ReadOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i + 1 < argc; i += 2)
    {
        const std::string name = argv[i];
        const std::string value = argv[i + 1];
        if (name == "--json")
            options.m_json = value;
        else if (name == "--row")
            options.m_row = value;
        else if (name == "--seconds")
            options.m_seconds = std::stod(value);
        else
            return false;
    }
    return argc % 2 == 1;
}

void Print(const RowResult& row)
{
    std::printf("%s (ns a %s)\n", row.m_name.c_str(), row.m_unit.c_str());
    for (const ContenderResult& contender : row.m_contenders)
        std::printf("    %-26s %14.1f   x %.2f\n", contender.m_name.c_str(), contender.m_nanoseconds,
                    contender.m_ratio);
    std::fflush(stdout);
}

// The names hold nothing that JSON would want escaped.
void WriteJson(std::ostream& out, const std::vector<RowResult>& rows)
{
    out << "{\n  \"rows\": [";
    for (const RowResult& row : rows)
    {
        out << (&row == &rows.front() ? "\n" : ",\n") << "    {\"name\": \"" << row.m_name << "\", \"unit\": \""
            << row.m_unit << "\", \"contenders\": [";
        for (const ContenderResult& contender : row.m_contenders)
            out << (&contender == &row.m_contenders.front() ? "" : ", ") << "{\"name\": \"" << contender.m_name
                << "\", \"ns\": " << contender.m_nanoseconds << ", \"ratio\": " << contender.m_ratio << "}";
        out << "]}";
    }
    out << "\n  ]\n}\n";
}

void Run(const Options& options)
{
    std::vector<RowResult> results;
    const auto isWanted = [&](const std::string& name) { return name.find(options.m_row) != std::string::npos; };
    const auto measure = [&](const std::vector<Row>& seeds, int leastRounds)
    {
        results.push_back(Measure(seeds, options.m_seconds, leastRounds));
        Print(results.back());
    };
    for (const auto makeRows : {MakeExpressionRows, MakePathRows, MakeObjectRows})
        for (const Row& row : makeRows())
            if (isWanted(row.m_name))
                measure({row}, 9);
    for (const TextRow& row : GetTextRows())
        if (isWanted(row.m_name) && row.m_action != Action::Refuse) // which is ours alone
            measure(MakeTextRow(row), 51);
    if (!options.m_json.empty())
    {
        std::ofstream out(options.m_json);
        WriteJson(out, results);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!ReadOptions(argc, argv, options))
    {
        std::fputs("usage: bench_peers [--json FILE] [--seconds N] [--row TEXT]\n", stderr);
        return 2;
    }
    try
    {
        Run(options);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_peers: %s\n", e.what());
        return 1;
    }
    return 0;
}
