#include <klUtils/text/LSToken.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/MessageOf.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/private/Number.h>
#include <klUtils/text/private/Quoted.h>

#include <limits>

namespace kelm
{

namespace
{

// Whether the token is one that the scanner delivers; a caller can build others.
bool IsWholeToken(const LSToken& token)
{
    SubString text = token.m_str;
    try
    {
        return LsScanToken(text, false) == token;
    }
    catch (const LexScannerException&)
    {
        return false;
    }
}

// Why a number literal has no value of the type.
xstring NoValueMessage(const LSToken& token, ConstStringZ kind, ConstStringZ typeName)
{
    return IsWholeToken(token) ? MessageOf(kind, " literal ", token, " is out of range of ", typeName)
                               : MessageOf(kind, " literal ", token, " is malformed");
}

[[noreturn]] void ThrowNoValue(const LSToken& token, ConstStringZ kind, ConstStringZ typeName)
{
    throw LiteralException(NoValueMessage(token, kind, typeName));
}

// A token longer than this is cut in messages.
constexpr ssize_t s_maxShownLength = 80;
constexpr ssize_t s_maxUtf8Length = 4;

bool IsQuotedText(SubString text)
{
    return text.size() >= 2 && (text[0] == '\'' || text[0] == '"') && text[text.size() - 1] == text[0];
}

bool ReadDecimal(SubString literal, uint64& value)
{
    EToken kind = TOKEN_UNDEF;
    const text::Number number = text::ReadWholeNumber(literal, kind);
    return kind == TOKEN_INTEGER && text::ToUnsigned(number, literal, value);
}

bool ReadHexadecimal(SubString literal, uint64& value)
{
    EToken kind = TOKEN_UNDEF;
    const text::Number number = text::ReadWholeNumber(literal, kind);
    return kind == TOKEN_HEX_INTEGER && text::HexToUnsigned(number, literal, value);
}

[[noreturn]] void ThrowNotQuoted(const LSToken& token)
{
    throw LiteralException(MessageOf("String literal ", token, " is malformed"));
}

} // namespace

int64 LSToken::GetLiteralInt64() const
{
    uint64 value = 0;
    if (!ReadDecimal(m_str, value) || value > static_cast<uint64>(std::numeric_limits<int64>::max()))
        ThrowNoValue(*this, "Integer", "int64");
    return static_cast<int64>(value);
}

int64 LSToken::GetLiteralHexInt64() const
{
    uint64 value = 0;
    if (!ReadHexadecimal(m_str, value))
        ThrowNoValue(*this, "Hexadecimal", "int64");
    return static_cast<int64>(value);
}

int32 LSToken::GetLiteralHexInt32() const
{
    uint64 value = 0;
    if (!ReadHexadecimal(m_str, value) || value > std::numeric_limits<uint32>::max())
        ThrowNoValue(*this, "Hexadecimal", "int32");
    return static_cast<int32>(value);
}

double LSToken::GetLiteralDouble() const
{
    EToken kind = TOKEN_UNDEF;
    const text::Number number = text::ReadWholeNumber(m_str, kind);
    double value = 0.0;
    if ((kind != TOKEN_FLOAT && kind != TOKEN_INTEGER) || !text::ToFloating(number, m_str, value))
        ThrowNoValue(*this, "Float", "float64");
    return value;
}

int32 LSToken::GetLiteralInt32() const
{
    uint64 value = 0;
    if (!ReadDecimal(m_str, value) || value > static_cast<uint64>(std::numeric_limits<int32>::max()))
        throw LexScannerException(NoValueMessage(*this, "Integer", "int32"), *this);
    return static_cast<int32>(value);
}

void LSToken::GetLiteralString(xstring& out) const
{
    if (!IsQuotedText(m_str))
        ThrowNotQuoted(*this);
    const SubString contents(m_str.m_p1 + 1, m_str.m_p2 - 1);
    const char* const escape = text::FindFirst<text::Only<'\\'>>(contents.m_p1, contents.m_p2);
    text::ReadQuoted(m_str, escape != contents.m_p2 ? escape : nullptr, out);
}

xchar LSToken::GetLiteralCharacter() const
{
    xstring text;
    GetLiteralString(text);
    if (text.size() != 1)
        throw LiteralException(MessageOf("Character literal ", *this, " does not hold exactly one byte"));
    return text[0];
}

xostream& operator<<(xostream& os, const LSToken& token)
{
    if (token.m_type == TOKEN_END)
        return os << "end of text";
    if (token.m_type == TOKEN_UNDEF)
        return os << "start of text";
    if (token.m_str.size() <= s_maxShownLength)
        return os << token.m_str;
    const char* cut = token.m_str.m_p1 + s_maxShownLength;
    for (ssize_t i = 1; i < s_maxUtf8Length && IsUtf8Continuation(*cut); ++i)
        --cut;
    return os << SubString(token.m_str.m_p1, cut) << "...";
}

} // namespace kelm
