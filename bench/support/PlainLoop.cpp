#include "PlainLoop.h"

#include <charconv>
#include <cmath>
#include <string_view>

namespace kelm::bench
{

namespace
{

PlainValue Int(std::int64_t value)
{
    PlainValue made;
    made.m_kind = PlainKind::Int;
    made.m_int = value;
    return made;
}

PlainValue Float(double value)
{
    PlainValue made;
    made.m_kind = PlainKind::Float;
    made.m_float = value;
    return made;
}

PlainValue Bool(bool value)
{
    PlainValue made;
    made.m_kind = PlainKind::Bool;
    made.m_int = value;
    return made;
}

// Whether operators take it as an integer; which one.
bool IsIntegral(PlainValue value, std::int64_t& integer)
{
    if (value.m_kind != PlainKind::Float)
    {
        integer = value.m_int;
        return true;
    }
    if (!(value.m_float >= -0x1p63 && value.m_float < 0x1p63))
        return false;
    integer = static_cast<std::int64_t>(value.m_float);
    return static_cast<double>(integer) == value.m_float;
}

double ToFloat(PlainValue value)
{
    return value.m_kind == PlainKind::Float ? value.m_float : static_cast<double>(value.m_int);
}

enum class Operator : std::uint8_t
{
    None,
    Or,
    And,
    BitOr,
    BitXor,
    BitAnd,
    Equal,
    Unequal,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    ShiftLeft,
    ShiftRight,
    Plus,
    Minus,
    Times,
    Divide,
    Modulo,
    Power,
    Choice,
};

struct Infix
{
    Operator m_operator;
    std::uint8_t m_precedence; // 0 of none
    std::uint8_t m_length;
};

std::int64_t Wrap(std::uint64_t value)
{
    return static_cast<std::int64_t>(value);
}

PlainValue OfIntegers(Operator op, std::int64_t a, std::int64_t b)
{
    const auto x = static_cast<std::uint64_t>(a);
    const auto y = static_cast<std::uint64_t>(b);
    switch (op)
    {
    case Operator::None:
    case Operator::Choice: break;
    case Operator::Or: return Bool((a | b) != 0);
    case Operator::And: return Bool((a & b) != 0);
    case Operator::BitOr: return Int(a | b);
    case Operator::BitXor: return Int(a ^ b);
    case Operator::BitAnd: return Int(a & b);
    case Operator::Equal: return Bool(a == b);
    case Operator::Unequal: return Bool(a != b);
    case Operator::Less: return Bool(a < b);
    case Operator::LessEqual: return Bool(a <= b);
    case Operator::Greater: return Bool(a > b);
    case Operator::GreaterEqual: return Bool(a >= b);
    case Operator::ShiftLeft: return Int(Wrap(x << (y & 63)));
    case Operator::ShiftRight: return Int(a >> (y & 63));
    case Operator::Plus: return Int(Wrap(x + y));
    case Operator::Minus: return Int(Wrap(x - y));
    case Operator::Times: return Int(Wrap(x * y));
    case Operator::Divide: return Int(a / b);
    case Operator::Modulo: return Int(a % b);
    case Operator::Power:
        return Int(static_cast<std::int64_t>(std::pow(static_cast<double>(a), static_cast<double>(b))));
    }
    return Int(0);
}

PlainValue OfFloats(Operator op, double a, double b)
{
    switch (op)
    {
    case Operator::Equal: return Bool(a == b);
    case Operator::Unequal: return Bool(a != b);
    case Operator::Less: return Bool(a < b);
    case Operator::LessEqual: return Bool(!(b < a));
    case Operator::Greater: return Bool(b < a);
    case Operator::GreaterEqual: return Bool(!(a < b));
    case Operator::Plus: return Float(a + b);
    case Operator::Minus: return Float(a - b);
    case Operator::Times: return Float(a * b);
    case Operator::Divide: return Float(a / b);
    case Operator::Power: return Float(std::pow(a, b));
    default: return Float(0);
    }
}

PlainValue Apply(Operator op, PlainValue a, PlainValue b)
{
    if (a.m_kind != PlainKind::Float && b.m_kind != PlainKind::Float)
        return OfIntegers(op, a.m_int, b.m_int);
    std::int64_t x;
    std::int64_t y;
    if (op != Operator::Power && IsIntegral(a, x) && IsIntegral(b, y))
        return OfIntegers(op, x, y);
    return OfFloats(op, ToFloat(a), ToFloat(b));
}

// The text ends with a null character, which nothing takes.
class PlainLoop
{
public:
    explicit PlainLoop(const char* text) : m_at(text) {}

    PlainValue Expression()
    {
        const PlainValue first = Prefixed();
        const PlainValue condition = Operators(first, ReadInfix(), 1);
        if (m_infix.m_operator != Operator::Choice)
            return condition;
        const PlainValue whenTrue = Expression();
        ++m_at; // the colon
        const PlainValue whenFalse = Expression();
        return condition.m_int != 0 ? whenTrue : whenFalse;
    }

private:
    char Peek()
    {
        while (static_cast<unsigned char>(*m_at - 1) < ' ' || (*m_at == '/' && SkipComment()))
            ++m_at;
        return *m_at;
    }

    // Up to its last character.
    bool SkipComment()
    {
        if (m_at[1] == '/')
            while (m_at[1] != '\0' && m_at[1] != '\n')
                ++m_at;
        else if (m_at[1] == '*')
            for (m_at += 3; m_at[-1] != '*' || *m_at != '/'; ++m_at)
                ;
        else
            return false;
        return true;
    }

    // The operator behind an operand, or none, whose precedence is less than any.
    Infix ReadInfix()
    {
        const Infix infix = PeekInfix();
        m_at += infix.m_length;
        return infix;
    }

    Infix PeekInfix()
    {
        const char c = Peek();
        switch (c)
        {
        case '+': return {Operator::Plus, 9, 1};
        case '-': return {Operator::Minus, 9, 1};
        case '*': return {Operator::Times, 10, 1};
        case '/': return {Operator::Divide, 10, 1};
        case '%': return {Operator::Modulo, 10, 1};
        case '?': return {Operator::Choice, 0, 1};
        case '=': return {Operator::Equal, 6, 2};
        case '!': return {Operator::Unequal, 6, 2};
        case '|': return m_at[1] == '|' ? Infix{Operator::Or, 1, 2} : Infix{Operator::BitOr, 3, 1};
        case '&': return m_at[1] == '&' ? Infix{Operator::And, 2, 2} : Infix{Operator::BitAnd, 5, 1};
        case '^': return m_at[1] == '^' ? Infix{Operator::Power, 11, 2} : Infix{Operator::BitXor, 4, 1};
        case '<':
            return m_at[1] == '<'   ? Infix{Operator::ShiftLeft, 8, 2}
                   : m_at[1] == '=' ? Infix{Operator::LessEqual, 7, 2}
                                    : Infix{Operator::Less, 7, 1};
        case '>':
            return m_at[1] == '>'   ? Infix{Operator::ShiftRight, 8, 2}
                   : m_at[1] == '=' ? Infix{Operator::GreaterEqual, 7, 2}
                                    : Infix{Operator::Greater, 7, 1};
        default: return {Operator::None, 0, 0};
        }
    }

    // Applies the operators that bind at least so tightly; leaves the next one in m_infix.
    PlainValue Operators(PlainValue left, Infix infix, int leastPrecedence)
    {
        while (infix.m_precedence >= leastPrecedence)
        {
            PlainValue right = Prefixed();
            Infix next = ReadInfix();
            if (next.m_precedence > infix.m_precedence)
            {
                right = Operators(right, next, infix.m_precedence + 1);
                next = m_infix;
            }
            left = Apply(infix.m_operator, left, right);
            infix = next;
        }
        m_infix = infix;
        return left;
    }

    PlainValue Prefixed()
    {
        const char c = Peek();
        if (static_cast<unsigned char>(c - '0') < 10 || c == '.')
            return Number();
        switch (c)
        {
        case '(':
        {
            ++m_at;
            const PlainValue inner = Expression();
            ++m_at; // the closing one
            return inner;
        }
        case '-':
        case '+':
        case '!':
        case '~': ++m_at; return Signed(c, Prefixed());
        default: return Name();
        }
    }

    PlainValue Signed(char sign, PlainValue operand)
    {
        std::int64_t integer;
        if (!IsIntegral(operand, integer))
            return sign == '-' ? Float(-operand.m_float) : operand;
        switch (sign)
        {
        case '-': return Int(Wrap(0 - static_cast<std::uint64_t>(integer)));
        case '!': return Bool(integer == 0);
        case '~': return Int(~integer);
        default: return Int(integer);
        }
    }

    PlainValue Number()
    {
        const char* at = m_at;
        if (*at == '0' && (at[1] | 0x20) == 'x')
            return Hexadecimal();
        std::uint64_t integer = 0;
        for (unsigned digit; (digit = static_cast<unsigned char>(*at - '0')) < 10; ++at)
            integer = integer * 10 + digit;
        if (*at == '.' || (*at | 0x20) == 'e')
            return Fraction(at);
        m_at = at;
        return Int(Wrap(integer));
    }

    PlainValue Hexadecimal()
    {
        std::uint64_t bits = 0;
        for (m_at += 2; IsNameCharacter(*m_at); ++m_at)
            bits = bits * 16 + static_cast<unsigned>(*m_at <= '9' ? *m_at - '0' : (*m_at | 0x20) - 'a' + 10);
        return Int(Wrap(bits));
    }

    // As the standard library reads it, which wants to know where it ends.
    PlainValue Fraction(const char* end)
    {
        while (IsNameCharacter(*end) || *end == '.' || ((*end == '-' || *end == '+') && (end[-1] | 0x20) == 'e'))
            ++end;
        double value = 0;
        m_at = std::from_chars(m_at, end, value).ptr;
        return Float(value);
    }

    static bool IsNameCharacter(char c)
    {
        return static_cast<unsigned char>((c | 0x20) - 'a') < 26 || static_cast<unsigned char>(c - '0') < 10;
    }

    PlainValue Name()
    {
        const char* const begin = m_at;
        while (IsNameCharacter(*m_at))
            ++m_at;
        const std::string_view name(begin, static_cast<std::size_t>(m_at - begin));
        if (name == "true" || name == "false")
            return Bool(name == "true");
        Peek();
        ++m_at; // the opening one
        const double argument = ToFloat(Expression());
        ++m_at;
        return Float(name == "sin" ? std::sin(argument) : std::exp(argument));
    }

    const char* m_at;
    Infix m_infix{};
};

} // namespace

PlainValue EvaluatePlainly(const char* text)
{
    return PlainLoop(text).Expression();
}

} // namespace kelm::bench
