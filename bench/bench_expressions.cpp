// Whole expressions: one operator of each level, primaries, built-in names, the texts of the comparison with peers.

#include "support/ExpressionTexts.h"
#include "support/Run.h"

#include <klKelmScript/KSParser.h>

#include <string>

namespace
{

using namespace kelm;
using namespace kelm::bench;

void Evaluate(benchmark::State& state, const std::string& text)
{
    const SubString view(text.data(), text.data() + text.size());
    double tokens = 0;
    ParserBase counter;
    for (counter.Init(view); counter.m_token.m_type != TOKEN_END; counter.ReadNextToken())
        ++tokens;
    Run(state, {static_cast<double>(text.size()), tokens, 1},
        [&]
        {
            KSParser parser;
            parser.Init(view);
            KSValue value;
            parser.ParseExpression(value);
            benchmark::DoNotOptimize(value);
        });
}

constexpr const char* s_texts[] = {
    // Primaries.
    "1", "0xff", "1.5", "'abc'", "true", "(1)", "((((1))))",
    // Each level.
    "true?1:2", "true||false", "true&&false", "1|2", "1^2", "1&2", "1==2", "1<2", "1<<2", "1+2", "1*2", "1^^2", "-1",
    "~1", "!true", "1.5+2.5", "1.5*2.5", "1.5<2.5", "1.5^^2.5", "'a'+'b'", "'a'=='b'",
    // Several levels at once.
    "true||2*3==6 ? 1 : 2", "1+2*3-4/5%6", "1 | 2 ^ 3 & 4 << 5",
    // Built-in names.
    "is_int(1)", "int(1.5)", "double(1)", "string(1)", "bool(1)", "char(65)", "sin(0.5)", "log(0.5)"};

void AddAll()
{
    for (const char* text : s_texts)
        Add(text, Evaluate, std::string(text));
    for (const ExpressionCase& row : GetExpressionCases())
        Add(std::string("row/") + row.m_name, Evaluate, row.m_text(s_ourSpelling));
}

} // namespace

KELM_BENCH_MAIN(AddAll)
