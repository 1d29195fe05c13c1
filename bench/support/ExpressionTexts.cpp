#include "ExpressionTexts.h"

#include <cmath>

namespace kelm::bench
{

namespace
{

std::string Fixed(const char* text)
{
    return text;
}

std::string Piece(long i, long length)
{
    return std::string(static_cast<std::size_t>(length), static_cast<char>('a' + i % 26));
}

Result Number(ValueKind kind, double value)
{
    return {kind, value, {}};
}

} // namespace

std::string ChainText(long terms)
{
    std::string text = "1";
    for (long i = 2; i <= terms; ++i)
        text += (i % 2 == 0 ? '+' : '-') + std::to_string(i);
    return text;
}

long ChainValue(long terms)
{
    long value = 1;
    for (long i = 2; i <= terms; ++i)
        value += i % 2 == 0 ? i : -i;
    return value;
}

std::string NestedText(long depth)
{
    const std::size_t n = static_cast<std::size_t>(depth);
    return std::string(n, '(') + "1" + std::string(n, ')');
}

std::string ConcatenationText(const Spelling& spelling, long pieces, long length)
{
    std::string text;
    for (long i = 0; i < pieces; ++i)
        text +=
            (i == 0 ? std::string() : std::string(" ") + spelling.m_concatenate + " ") + '"' + Piece(i, length) + '"';
    return text;
}

std::string ConcatenationValue(long pieces, long length)
{
    std::string value;
    for (long i = 0; i < pieces; ++i)
        value += Piece(i, length);
    return value;
}

const std::vector<ExpressionCase>& GetExpressionCases()
{
    static const std::vector<ExpressionCase> cases = {
        {"integers: 1+2*3", [](const Spelling&) { return Fixed("1+2*3"); }, Number(ValueKind::Int, 7)},
        {"floats: (1.5+2.25)*3.0-4.0/8.0", [](const Spelling&) { return Fixed("(1.5+2.25)*3.0-4.0/8.0"); },
         // Ours divides floats that are integral as integers.
         Number(ValueKind::Float, 11.25), 10.75},
        {"logic, relations, two calls",
         [](const Spelling& s)
         {
             return std::string("(3.5*2.0+4.25-1.75/0.5)*(7.0-2.5) > 300.0 ") + s.m_or + " sin(0.5)*exp(1.25) <= 2.0 " +
                    s.m_and + " 12.0*3.0-5.0 >= 10.0";
         },
         Number(ValueKind::Bool, 1)},
        {"arithmetic, two calls",
         [](const Spelling&)
         { return Fixed("(3.5*2.0+4.25-1.75/0.5)*(7.0-2.5)-300.0+sin(0.5)*exp(1.25)-2.0+12.0*3.0-5.0-10.0"); },
         Number(ValueKind::Float, (3.5 * 2.0 + 4.25 - 1.75 / 0.5) * (7.0 - 2.5) - 300.0 +
                                      std::sin(0.5) * std::exp(1.25) - 2.0 + 12.0 * 3.0 - 5.0 - 10.0)},
        {"chain of 1,000 terms", [](const Spelling&) { return ChainText(1000); },
         Number(ValueKind::Int, static_cast<double>(ChainValue(1000)))},
        {"chain of 100,000 terms", [](const Spelling&) { return ChainText(100'000); },
         Number(ValueKind::Int, static_cast<double>(ChainValue(100'000)))},
        {"100 nested parentheses", [](const Spelling&) { return NestedText(100); }, Number(ValueKind::Int, 1)},
        {"3 strings of 3 characters",
         [](const Spelling& s)
         { return std::string("\"abc\" ") + s.m_concatenate + " \"def\" " + s.m_concatenate + " \"ghi\""; },
         {ValueKind::String, 0, "abcdefghi"}},
        {"16 strings of 18 characters",
         [](const Spelling& s) { return ConcatenationText(s, 16, 18); },
         {ValueKind::String, 0, ConcatenationValue(16, 18)}},
    };
    return cases;
}

} // namespace kelm::bench
