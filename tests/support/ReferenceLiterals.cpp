#include <support/InCLocale.h>
#include <support/ReferenceLiterals.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace kelm::reference
{

namespace
{

std::optional<uint64> ValueOfDigits(const std::string& digits, uint64 base)
{
    if (digits.empty())
        return std::nullopt;
    uint64 value = 0;
    for (const char c : digits)
    {
        if (!(base == 10 ? IsDigit(c) : IsHexDigit(c)))
            return std::nullopt;
        const auto digit = static_cast<uint64>(IsDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
        if (value > (std::numeric_limits<uint64>::max() - digit) / base)
            return std::nullopt;
        value = value * base + digit;
    }
    return value;
}

// Whether the text is one token of the kind.
bool IsWhole(const std::string& literal, EToken kind)
{
    try
    {
        const Token token = ScanToken(literal, 0, false);
        return token.m_kind == kind && token.m_begin == 0 && token.m_end == literal.size();
    }
    catch (const TextError&)
    {
        return false;
    }
}

[[noreturn]] void ThrowNoValue(const std::string& literal, EToken kind, const std::string& typeName)
{
    const std::string kindName = kind == TOKEN_INTEGER ? "Integer" : kind == TOKEN_FLOAT ? "Float" : "Hexadecimal";
    throw LiteralError{kindName + " literal " + Shown(literal, {kind, 0, literal.size()}) +
                       (IsWhole(literal, kind) ? " is out of range of " + typeName : " is malformed")};
}

double ToFloat(const char* text, double)
{
    return DoubleOf(text);
}

float ToFloat(const char* text, float)
{
    return FloatOf(text);
}

std::string Utf8Of(uint32 c)
{
    const auto byte = [](uint32 bits) { return std::string(1, static_cast<char>(bits)); };
    const auto tail = [&](int shift) { return byte(0x80 | ((c >> shift) & 0x3f)); };
    if (c < 0x80)
        return byte(c);
    if (c < 0x800)
        return byte(0xc0 | c >> 6) + tail(0);
    if (c < 0x10000)
        return byte(0xe0 | c >> 12) + tail(6) + tail(0);
    return byte(0xf0 | c >> 18) + tail(12) + tail(6) + tail(0);
}

[[noreturn]] void ThrowMalformedEscape(const std::string& escape, const std::string& why)
{
    throw LiteralError{"Malformed escape " + escape + " in string literal: " + why};
}

// Appends what the escape at contents[at], a backslash, stands for, and returns where it ends.
std::size_t AppendEscape(std::string& out, const std::string& contents, std::size_t at)
{
    static const std::string s_letters = "ntrabfv\\'\"?0";
    static const std::string s_values("\n\t\r\a\b\f\v\\'\"?\0", 12);
    if (at + 1 == contents.size())
        ThrowMalformedEscape("\\", "nothing follows the backslash");
    const char letter = contents[at + 1];
    if (const std::size_t i = s_letters.find(letter); i != std::string::npos)
    {
        out += s_values[i];
        return at + 2;
    }
    std::size_t end = at + 2;
    const std::size_t numDigits = letter == 'x' ? 2 : letter == 'u' ? 4 : letter == 'U' ? 8 : 0;
    if (numDigits == 0)
    {
        while (end < contents.size() && IsUtf8Continuation(contents[end]))
            ++end;
        ThrowMalformedEscape(contents.substr(at, end - at), "unknown escape");
    }
    while (end < contents.size() && end < at + 2 + numDigits && IsHexDigit(contents[end]))
        ++end;
    const std::string escape = contents.substr(at, end - at);
    if (end < at + 2 + numDigits)
        ThrowMalformedEscape(escape, std::string("\\") + letter + " takes " +
                                         (numDigits == 2   ? "two"
                                          : numDigits == 4 ? "four"
                                                           : "eight") +
                                         " hexadecimal digits");
    const auto value = static_cast<uint32>(*ValueOfDigits(escape.substr(2), 16));
    if (letter == 'x')
        out += static_cast<char>(value);
    else if (value > 0x10ffff || (0xd800 <= value && value <= 0xdfff))
        ThrowMalformedEscape(escape, "not a Unicode character");
    else
        out += Utf8Of(value);
    return end;
}

bool ParseSign(Stream& stream)
{
    const bool isNegative = stream.m_token.m_kind == TOKEN_MINUS;
    if (isNegative || stream.m_token.m_kind == TOKEN_PLUS)
        stream.ReadNextToken();
    return isNegative;
}

[[noreturn]] void ThrowOutOfRange(const Stream& stream, bool isNegative, const std::string& typeName)
{
    stream.Throw(std::string("Value ") + (isNegative ? "-" : "") + stream.ShownCurrent() + " is out of range of " +
                 typeName);
}

bool IsQuoted(EToken kind)
{
    return kind == TOKEN_SINGLE_QUOTED_STRING || kind == TOKEN_DOUBLE_QUOTED_STRING;
}

// The value of the quoted literal that is the current token, which is consumed only where it has one.
template <class Get>
auto ParseQuoted(Stream& stream, const std::string& typeName, Get get)
{
    if (!IsQuoted(stream.m_token.m_kind))
        stream.ThrowExpected(typeName);
    try
    {
        const auto value = get(stream.CurrentText());
        stream.ReadNextToken();
        return value;
    }
    catch (const LiteralError& e)
    {
        stream.Throw(e.m_message);
    }
}

} // namespace

std::optional<uint64> ValueOfDecimal(const std::string& digits)
{
    return ValueOfDigits(digits, 10);
}

std::optional<uint64> ValueOfHexadecimal(const std::string& literal)
{
    if (literal.compare(0, 2, "0x") != 0 && literal.compare(0, 2, "0X") != 0)
        return std::nullopt;
    return ValueOfDigits(literal.substr(2), 16);
}

template <class Float>
std::optional<Float> ValueOfFloat(const std::string& literal)
{
    if (!IsWhole(literal, TOKEN_INTEGER) && !IsWhole(literal, TOKEN_FLOAT))
        return std::nullopt;
    const Float value = ToFloat(literal.c_str(), Float());
    return std::isinf(value) ? std::nullopt : std::optional<Float>(value);
}

template std::optional<float> ValueOfFloat<float>(const std::string& literal);
template std::optional<double> ValueOfFloat<double>(const std::string& literal);

int64 GetLiteralInt64(const std::string& literal)
{
    const std::optional<uint64> value = ValueOfDecimal(literal);
    if (!value || *value > static_cast<uint64>(std::numeric_limits<int64>::max()))
        ThrowNoValue(literal, TOKEN_INTEGER, "int64");
    return static_cast<int64>(*value);
}

int64 GetLiteralHexInt64(const std::string& literal)
{
    const std::optional<uint64> value = ValueOfHexadecimal(literal);
    if (!value)
        ThrowNoValue(literal, TOKEN_HEX_INTEGER, "int64");
    return static_cast<int64>(*value);
}

int32 GetLiteralHexInt32(const std::string& literal)
{
    const std::optional<uint64> value = ValueOfHexadecimal(literal);
    if (!value || *value > std::numeric_limits<uint32>::max())
        ThrowNoValue(literal, TOKEN_HEX_INTEGER, "int32");
    return static_cast<int32>(*value);
}

int32 GetLiteralInt32(const std::string& literal)
{
    const std::optional<uint64> value = ValueOfDecimal(literal);
    if (!value || *value > static_cast<uint64>(std::numeric_limits<int32>::max()))
        ThrowNoValue(literal, TOKEN_INTEGER, "int32");
    return static_cast<int32>(*value);
}

double GetLiteralDouble(const std::string& literal)
{
    const std::optional<double> value = ValueOfFloat<double>(literal);
    if (!value)
        ThrowNoValue(literal, TOKEN_FLOAT, "float64");
    return *value;
}

std::string GetLiteralString(const std::string& literal)
{
    const std::string contents = literal.substr(1, literal.size() - 2);
    std::string value;
    for (std::size_t at = 0; at < contents.size();)
        if (contents[at] == '\\')
            at = AppendEscape(value, contents, at);
        else
            value += contents[at++];
    return value;
}

char GetLiteralCharacter(const std::string& literal)
{
    const std::string value = GetLiteralString(literal);
    if (value.size() != 1)
        throw LiteralError{"Character literal " + Shown(literal, {TOKEN_SINGLE_QUOTED_STRING, 0, literal.size()}) +
                           " does not hold exactly one byte"};
    return value[0];
}

bool ParseBool(Stream& stream)
{
    const std::string word = stream.CurrentText();
    if (word != "true" && word != "false")
        stream.ThrowExpected("bool");
    stream.ReadNextToken();
    return word == "true";
}

template <class Int>
Int ParseInteger(Stream& stream, const std::string& typeName)
{
    const bool isNegative = std::is_signed_v<Int> && ParseSign(stream);
    const EToken kind = stream.m_token.m_kind;
    if (kind != TOKEN_INTEGER && kind != TOKEN_HEX_INTEGER)
        stream.ThrowExpected(typeName);
    const std::optional<uint64> magnitude =
        kind == TOKEN_INTEGER ? ValueOfDecimal(stream.CurrentText()) : ValueOfHexadecimal(stream.CurrentText());
    const uint64 max = static_cast<uint64>(std::numeric_limits<Int>::max()) + (isNegative ? 1 : 0);
    if (!magnitude || *magnitude > max)
        ThrowOutOfRange(stream, isNegative, typeName);
    stream.ReadNextToken();
    return static_cast<Int>(isNegative ? 0 - *magnitude : *magnitude);
}

template int8 ParseInteger(Stream&, const std::string&);
template int16 ParseInteger(Stream&, const std::string&);
template int32 ParseInteger(Stream&, const std::string&);
template int64 ParseInteger(Stream&, const std::string&);
template uint8 ParseInteger(Stream&, const std::string&);
template uint16 ParseInteger(Stream&, const std::string&);
template uint32 ParseInteger(Stream&, const std::string&);
template uint64 ParseInteger(Stream&, const std::string&);

template <class Float>
Float ParseFloat(Stream& stream, const std::string& typeName)
{
    const bool isNegative = ParseSign(stream);
    const EToken kind = stream.m_token.m_kind;
    const std::string text = stream.CurrentText();
    std::optional<Float> value;
    if (kind == TOKEN_INTEGER || kind == TOKEN_FLOAT)
        value = ValueOfFloat<Float>(text);
    else if (kind == TOKEN_HEX_INTEGER)
    {
        if (const std::optional<uint64> magnitude = ValueOfHexadecimal(text))
            value = static_cast<Float>(*magnitude);
    }
    else if (text == "inf")
        value = std::numeric_limits<Float>::infinity();
    else if (text == "nan")
        value = std::numeric_limits<Float>::quiet_NaN();
    else
        stream.ThrowExpected(typeName);
    if (!value)
        ThrowOutOfRange(stream, isNegative, typeName);
    stream.ReadNextToken();
    return isNegative ? -*value : *value;
}

template float ParseFloat(Stream&, const std::string&);
template double ParseFloat(Stream&, const std::string&);

char ParseChar(Stream& stream)
{
    return ParseQuoted(stream, "character", GetLiteralCharacter);
}

std::string ParseString(Stream& stream)
{
    return ParseQuoted(stream, "string", GetLiteralString);
}

} // namespace kelm::reference
