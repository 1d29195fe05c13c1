#include <klUtils/text/ExpressionParser.h>

#include <klUtils/text/private/ReadNumber.h>
#include <klUtils/xostream.h>

#include <limits>
#include <type_traits>

namespace kelm
{

namespace
{

[[noreturn]] void ThrowOutOfRange(const ParserBase& parser, bool isNegative, ConstStringZ typeName)
{
    StringStream message(128);
    message << "Value " << (isNegative ? "-" : "") << parser.m_token << " is out of range of " << typeName;
    parser.ThrowAtToken(message.GetString());
}

// Consumes a sign; true for a minus.
bool ParseSign(ParserBase& parser)
{
    const EToken kind = parser.m_token.m_type;
    if (kind == TOKEN_MINUS || kind == TOKEN_PLUS)
        parser.ReadNextToken();
    return kind == TOKEN_MINUS;
}

bool IsQuoted(EToken kind)
{
    return kind == TOKEN_SINGLE_QUOTED_STRING || kind == TOKEN_DOUBLE_QUOTED_STRING;
}

bool ReadUnsigned(const LSToken& token, uint64& magnitude)
{
    return token.m_type == TOKEN_HEX_INTEGER ? ReadHexadecimal(token.m_str, magnitude)
                                             : ReadDecimal(token.m_str, magnitude);
}

bool ReadFloatText(SubString text, double& value)
{
    return ReadDouble(text, value);
}

bool ReadFloatText(SubString text, float& value)
{
    return ReadFloat(text, value);
}

} // namespace

template <class Int>
Int ExpressionParser::ParseInteger(ConstStringZ typeName)
{
    const bool isNegative = std::is_signed_v<Int> && ParseSign(*this);
    if (m_token.m_type != TOKEN_INTEGER && m_token.m_type != TOKEN_HEX_INTEGER)
        ThrowExpectedException(typeName);
    constexpr uint64 max = static_cast<uint64>(std::numeric_limits<Int>::max());
    uint64 magnitude = 0;
    if (!ReadUnsigned(m_token, magnitude) || magnitude > max + isNegative)
        ThrowOutOfRange(*this, isNegative, typeName);
    ReadNextToken();
    return static_cast<Int>(isNegative ? 0 - magnitude : magnitude);
}

template <class Float>
Float ExpressionParser::ParseFloat(ConstStringZ typeName)
{
    const bool isNegative = ParseSign(*this);
    Float value = 0;
    bool isInRange = true;
    if (m_token.m_type == TOKEN_FLOAT || m_token.m_type == TOKEN_INTEGER)
        isInRange = ReadFloatText(m_token.m_str, value);
    else if (m_token.m_type == TOKEN_HEX_INTEGER)
    {
        uint64 magnitude = 0;
        isInRange = ReadUnsigned(m_token, magnitude);
        value = static_cast<Float>(magnitude);
    }
    else if (m_token == "inf")
        value = std::numeric_limits<Float>::infinity();
    else if (m_token == "nan")
        value = std::numeric_limits<Float>::quiet_NaN();
    else
        ThrowExpectedException(typeName);
    if (!isInRange)
        ThrowOutOfRange(*this, isNegative, typeName);
    ReadNextToken();
    return isNegative ? -value : value;
}

bool ExpressionParser::ParseBool(bool)
{
    const bool isTrue = m_token == "true";
    if (!isTrue && !(m_token == "false"))
        ThrowExpectedException("bool");
    ReadNextToken();
    return isTrue;
}

int8 ExpressionParser::ParseInt8(bool)
{
    return ParseInteger<int8>("int8");
}

int16 ExpressionParser::ParseInt16(bool)
{
    return ParseInteger<int16>("int16");
}

int32 ExpressionParser::ParseInt32(bool)
{
    return ParseInteger<int32>("int32");
}

int64 ExpressionParser::ParseInt64(bool)
{
    return ParseInteger<int64>("int64");
}

uint8 ExpressionParser::ParseUInt8(bool)
{
    return ParseInteger<uint8>("uint8");
}

uint16 ExpressionParser::ParseUInt16(bool)
{
    return ParseInteger<uint16>("uint16");
}

uint32 ExpressionParser::ParseUInt32(bool)
{
    return ParseInteger<uint32>("uint32");
}

uint64 ExpressionParser::ParseUInt64(bool)
{
    return ParseInteger<uint64>("uint64");
}

float32 ExpressionParser::ParseFloat32(bool)
{
    return ParseFloat<float32>("float32");
}

float64 ExpressionParser::ParseFloat64(bool)
{
    return ParseFloat<float64>("float64");
}

xchar ExpressionParser::ParseChar(bool)
{
    if (!IsQuoted(m_token.m_type))
        ThrowExpectedException("character");
    xchar c = 0;
    try
    {
        c = m_token.GetLiteralCharacter();
    }
    catch (const LiteralException& e)
    {
        ThrowAtToken(e.m_description);
    }
    ReadNextToken();
    return c;
}

xstring ExpressionParser::ParseString(bool)
{
    if (!IsQuoted(m_token.m_type))
        ThrowExpectedException("string");
    xstring text;
    try
    {
        m_token.GetLiteralString(text);
    }
    catch (const LiteralException& e)
    {
        ThrowAtToken(e.m_description);
    }
    ReadNextToken();
    return text;
}

bool ExpressionParser::GetFilenameAndLineNumberAtCurrentPosition(xstring&, ssize_t&) const
{
    return false;
}

} // namespace kelm
