// The scanner alone: tokens of each kind, literals of each kind, line numbers.

#include "support/Run.h"

#include <klUtils/text/LSToken.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/ParserBase.h>

#include <string>

namespace
{

using namespace kelm;
using namespace kelm::bench;

SubString View(const std::string& text)
{
    return {text.data(), text.data() + text.size()};
}

constexpr int s_repetitions = 1000;

struct TokenCase
{
    const char* m_name;
    std::string m_text; // repeated, with a space between
    int m_tokens;       // in one repetition
};

const TokenCase s_tokenCases[] = {
    {"identifier of 1", "x", 1},
    {"identifier of 12", "centreOfMass", 1},
    {"identifier of 100", std::string(100, 'i'), 1},
    {"integer of 1 digit", "7", 1},
    {"integer of 10 digits", "1234567890", 1},
    {"hexadecimal integer", "0xDEADBEEF", 1},
    {"float of 3 digits", "12.5", 1},
    {"float of 17 digits", "1.2345678901234567e+02", 1},
    {"quoted of 3", "\"abc\"", 1},
    {"quoted of 100", '"' + std::string(100, 'q') + '"', 1},
    {"quoted with escapes", R"("a\nb\x41\u00e9c")", 1},
    {"operator of 1 character", "+", 1},
    {"operator of 2 characters", "<=", 1},
    {"operator of 3 characters", "^^=", 1},
    {"block comment of 100", "/*" + std::string(96, 'c') + "*/x", 1},
    {"line comment of 100", "//" + std::string(97, 'c') + "\nx", 1},
    {"white space of 100", std::string(100, ' ') + "x", 1},
    {"expression without spaces", "(1.5+2.25)*x[i]-f(4,0x10)", 17},
    {"data source", "{ name = \"abc\" id = 123 at = Point(1.5, 2.5) colour = RED }", 19},
};

void ReadTokens(benchmark::State& state, const TokenCase& row)
{
    std::string text;
    for (int i = 0; i < s_repetitions; ++i)
        text += row.m_text + ' ';
    int tokens = 0;
    const auto readAll = [&]
    {
        ParserBase parser;
        tokens = 0;
        for (parser.Init(View(text)); parser.m_token.m_type != TOKEN_END; parser.ReadNextToken())
            ++tokens;
    };
    readAll();
    if (tokens != s_repetitions * row.m_tokens)
        return state.SkipWithError("the number of tokens is wrong");
    Run(state, {static_cast<double>(text.size()), static_cast<double>(tokens), 0}, readAll);
}

struct LiteralCase
{
    const char* m_name;
    const char* m_text;
    void (*m_convert)(const LSToken&);
};

template <class T>
void Use(T value)
{
    benchmark::DoNotOptimize(value);
}

void UseString(const LSToken& token)
{
    xstring text;
    token.GetLiteralString(text);
    benchmark::DoNotOptimize(text);
}

const LiteralCase s_literalCases[] = {
    {"integer of 1 digit", "7", [](const LSToken& token) { Use(token.GetLiteralInt64()); }},
    {"integer of 19 digits", "1234567890123456789", [](const LSToken& token) { Use(token.GetLiteralInt64()); }},
    {"hexadecimal integer", "0xDEADBEEF", [](const LSToken& token) { Use(token.GetLiteralHexInt64()); }},
    {"float of 3 digits", "12.5", [](const LSToken& token) { Use(token.GetLiteralDouble()); }},
    {"float of 17 digits", "1.2345678901234567e+02", [](const LSToken& token) { Use(token.GetLiteralDouble()); }},
    {"character", "'c'", [](const LSToken& token) { Use(token.GetLiteralCharacter()); }},
    {"string of 3", "'abc'", UseString},
    {"string of 22", "'abcdefghijklmnopqrstuv'", UseString},
    {"string of 23", "'abcdefghijklmnopqrstuvw'", UseString},
    {"string with escapes", R"('a\nb\x41\u00e9c')", UseString},
};

void ConvertLiteral(benchmark::State& state, const LiteralCase& row)
{
    SubString text(row.m_text);
    const double bytes = static_cast<double>(text.size());
    const LSToken token = LsScanToken(text, false);
    Run(state, {bytes, 0, 1}, [&] { row.m_convert(token); });
}

void CountLines(benchmark::State& state, long lines)
{
    std::string text;
    for (long i = 0; i < lines; ++i)
        text += "x = 1 + 2 + 3 + 4 + 5 + 6 + 7 + 8 + 9\n";
    Run(state, {static_cast<double>(text.size()), 0, 0},
        [&] { benchmark::DoNotOptimize(GetLineNumber(View(text), text.data() + text.size())); });
}

void AddAll()
{
    for (const TokenCase& row : s_tokenCases)
        Add(std::string("tokens/") + row.m_name, ReadTokens, row);
    for (const LiteralCase& row : s_literalCases)
        Add(std::string("literal/") + row.m_name, ConvertLiteral, row);
    Add("line number/10,000 lines", CountLines, 10'000L);
}

} // namespace

KELM_BENCH_MAIN(AddAll)
