// Data sources: values of each reflected kind, class bodies of each form, the texts of the comparison with peers.

#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"
#include "support/Run.h"

#include <klKelmScript/ParseDataSource.h>
#include <klUtils/text/ParserBase.h>

#include <string>

namespace
{

using namespace kelm;
using namespace kelm::bench;

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

// Reads the text again and again. The objects' destruction is not measured; it waits for some number of values, since
// stopping the clock takes longer than reading a few.
void Read(benchmark::State& state, const std::string& text, double values)
{
    const xstring source = ToXString(text);
    double tokens = 0;
    ParserBase counter;
    for (counter.Init(source); counter.m_token.m_type != TOKEN_END; counter.ReadNextToken())
        ++tokens;
    constexpr double valuesUntilCollection = 100'000;
    double valuesRead = 0;
    Run(state, {static_cast<double>(text.size()), tokens, values},
        [&]
        {
            ReadObject(source);
            valuesRead += values;
            if (valuesRead < valuesUntilCollection)
                return;
            Untimed(state, CollectGarbage);
            valuesRead = 0;
        });
    CollectGarbage();
}

struct KindCase
{
    const char* m_name;
    const char* m_member; // of Kinds
    const char* m_value;
};

constexpr KindCase s_kindCases[] = {
    {"bool", "bools", "true"},
    {"int8", "int8s", "-12"},
    {"uint16", "uint16s", "65432"},
    {"int32 of 1 digit", "int32s", "7"},
    {"int32 of 10 digits", "int32s", "1234567890"},
    {"int64 of 19 digits", "int64s", "-1234567890123456789"},
    {"uint64 in hexadecimal", "uint64s", "0x0123456789ABCDEF"},
    {"float32", "float32s", "1.5"},
    {"float64 of 3 digits", "float64s", "12.5"},
    {"float64 of 17 digits", "float64s", "1.2345678901234567e+02"},
    {"char8", "characters", "'c'"},
    {"string8 of 3", "strings", "\"abc\""},
    {"string8 of 22", "strings", "\"abcdefghijklmnopqrstuv\""},
    {"string8 of 40", "strings", "\"abcdefghijklmnopqrstuvwxyzabcdefghijklmn\""},
    {"string8 with escapes", "strings", R"("a\nb\x41\u00e9c")"},
    {"string16 of 3", "wideStrings", "\"abc\""},
    {"enumeration by name", "colours", "BLUE"},
    {"enumeration by value", "colours", "2"},
    {"class, positional", "points", "(1.5,2.5)"},
    {"class, by names", "points", "{x=1.5 y=2.5}"},
    {"class, by names out of order", "points", "{y=2.5 x=1.5}"},
    {"class, with its name", "points", "Point(1.5,2.5)"},
    {"variant", "extents", "radius 1.5"},
    {"fixed array of 4", "arrays", "[1,2,3,4]"},
    {"vector of 4", "vectors", "[1,2,3,4]"},
    {"map of 4", "maps", "[1->10,2->20,3->30,4->40]"},
    {"null interface pointer", "objects", "null"},
    {"nested object", "objects", "sample::Link{number=1}"},
};

constexpr int s_repetitions = 1000;

void ReadKind(benchmark::State& state, const KindCase& row)
{
    std::string text = std::string("sample::Kinds{") + row.m_member + "=[" + row.m_value;
    for (int i = 1; i < s_repetitions; ++i)
        text += std::string(",") + row.m_value;
    Read(state, text + "]}", s_repetitions);
}

struct TextCase
{
    std::string m_text;
    double m_values;
};

void ReadText(benchmark::State& state, const TextCase& row)
{
    Read(state, row.m_text, row.m_values);
}

void AddAll()
{
    RegisterBenchTypes();
    for (const KindCase& row : s_kindCases)
        Add(std::string("kind/") + row.m_name, ReadKind, row);
    Add("object without a body", ReadText, TextCase{"sample::Link", 1});
    Add("object with one member", ReadText, TextCase{"sample::Link{number=1}", 1});
    Add("row/1 M integers", ReadText, TextCase{TextsOf(MakeIntegers(1'000'000)).m_ours, 1e6});
    Add("row/1 M doubles of 17 digits", ReadText, TextCase{TextsOf(MakeDoubles(1'000'000)).m_ours, 1e6});
    Add("row/200 k records", ReadText, TextCase{TextsOf(MakeRecords(200'000)).m_ours, 200e3 * s_valuesPerRecord});
    Add("row/map of 200 k strings to integers", ReadText, TextCase{TextsOf(MakeCounts(200'000)).m_ours, 200e3});
    Add("class of 5 out of order", ReadText, TextCase{MembersText("sample::Fives", 4000, 5), 20e3});
    Add("class of 100 out of order", ReadText, TextCase{MembersText("sample::Hundreds", 200, 100), 20e3});
}

} // namespace

KELM_BENCH_MAIN(AddAll)
