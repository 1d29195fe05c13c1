#include <klUtils/text/ExpressionParser.h>

#include <klUtils/text/private/TypedReads.h>

namespace kelm
{

namespace
{

// Reads by a cursor over the parser's text.
template <class T>
T ReadBy(ParserBase& parser, T (*read)(text::Cursor&))
{
    text::ParserCursor cursor(parser);
    return read(cursor);
}

} // namespace

bool ExpressionParser::ParseBool(bool)
{
    return ReadBy(*this, text::ReadBool);
}

int8 ExpressionParser::ParseInt8(bool)
{
    return ReadBy(*this, text::ReadNumber<int8>);
}

int16 ExpressionParser::ParseInt16(bool)
{
    return ReadBy(*this, text::ReadNumber<int16>);
}

int32 ExpressionParser::ParseInt32(bool)
{
    return ReadBy(*this, text::ReadNumber<int32>);
}

int64 ExpressionParser::ParseInt64(bool)
{
    return ReadBy(*this, text::ReadNumber<int64>);
}

uint8 ExpressionParser::ParseUInt8(bool)
{
    return ReadBy(*this, text::ReadNumber<uint8>);
}

uint16 ExpressionParser::ParseUInt16(bool)
{
    return ReadBy(*this, text::ReadNumber<uint16>);
}

uint32 ExpressionParser::ParseUInt32(bool)
{
    return ReadBy(*this, text::ReadNumber<uint32>);
}

uint64 ExpressionParser::ParseUInt64(bool)
{
    return ReadBy(*this, text::ReadNumber<uint64>);
}

float32 ExpressionParser::ParseFloat32(bool)
{
    return ReadBy(*this, text::ReadNumber<float32>);
}

float64 ExpressionParser::ParseFloat64(bool)
{
    return ReadBy(*this, text::ReadNumber<float64>);
}

xchar ExpressionParser::ParseChar(bool)
{
    return ReadBy(*this, text::ReadChar);
}

xstring ExpressionParser::ParseString(bool)
{
    xstring out;
    text::ParserCursor cursor(*this);
    text::ReadString(cursor, out);
    return out;
}

bool ExpressionParser::GetFilenameAndLineNumberAtCurrentPosition(xstring&, ssize_t&) const
{
    return false;
}

} // namespace kelm
