#include "ExpressionTexts.h"

#include "Random.h"

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

// Numbers of each length, signs, parentheses; what is behind the operators is never zero, so that all may be divided.
class RandomExpression
{
public:
    RandomExpression(std::uint64_t seed, const char* space, bool hasComments)
        : m_random(seed), m_space(space), m_hasComments(hasComments)
    {
    }

    std::string Make(std::int64_t terms, int depth = 0)
    {
        std::string text = Operand(depth);
        for (; terms > 1; --terms)
        {
            static constexpr const char* s_operators[] = {"+", "+", "-", "-", "*", "*", "/"};
            text += m_space + std::string(s_operators[m_random() % std::size(s_operators)]);
            text += m_hasComments && m_random() % 6 == 0 ? " // " + RandomSentence(m_random) + "\n" : m_space;
            text += Operand(depth);
        }
        return text;
    }

private:
    std::string Operand(int depth)
    {
        if (depth < 4 && m_random() % 6 == 0)
            return "(" + Make(Between(m_random, 2, 5), depth + 1) + ")*" + Digits(1, 2);
        const std::string sign = depth > 0 && m_random() % 12 == 0 ? " -" : "";
        return sign + (m_random() % 3 == 0 ? Digits(1, 3) + "." + Digits(1, 4) : Digits(1, 7));
    }

    std::string Digits(int shortest, int longest)
    {
        std::string digits(static_cast<std::size_t>(Between(m_random, shortest, longest)), '1');
        for (char& c : digits)
            c = static_cast<char>('1' + m_random() % 9);
        return digits;
    }

    Random m_random;
    const char* m_space;
    bool m_hasComments;
};

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

std::vector<ExpressionText> GetMoreExpressions(std::uint64_t seed)
{
    return {
        {"one integer: 42", "42"},
        {"seven digits: 1234567", "1234567"},
        {"hexadecimal: 0x1F", "0x1F"},
        {"sign: -42", "-42"},
        {"constant: true", "true"},
        {"constants: !true || false", "!true || false"},
        {"function: -sin(1.5)", "-sin(1.5)"},
        {"spaces: 1 + 2 * 3", "1 + 2 * 3"},
        {"two floats: 2.5*1.25", "2.5*1.25"},
        {"sign and remainder: -75 % 8", "-75 % 8"},
        {"relation: 12 <= 7", "12 <= 7"},
        {"bits: 0x1F & 0x7a | 2 << 3", "0x1F & 0x7a | 2 << 3"},
        {"choice: 1 < 2 ? 30 : 40", "1 < 2 ? 30 : 40"},
        {"logic: !(1 < 2) || 3 == 4 && true", "!(1 < 2) || 3 == 4 && true"},
        {"two pairs: ((1+2)*(3+4))-((5+6)*(7-8))", "((1+2)*(3+4))-((5+6)*(7-8))"},
        {"random, 40 terms, compact", RandomExpression(seed, "", false).Make(40)},
        {"random, 40 terms, spaced", RandomExpression(seed + 1, " ", false).Make(40)},
        {"random, 40 terms, commented", RandomExpression(seed + 2, " ", true).Make(40)},
    };
}

} // namespace kelm::bench
