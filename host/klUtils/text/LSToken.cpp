#include <klUtils/text/LSToken.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/CharTable.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/private/ReadNumber.h>
#include <klUtils/xostream.h>

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
    StringStream message(128);
    message << kind << " literal " << token;
    if (IsWholeToken(token))
        message << " is out of range of " << typeName;
    else
        message << " is malformed";
    return message.GetString();
}

[[noreturn]] void ThrowNoValue(const LSToken& token, ConstStringZ kind, ConstStringZ typeName)
{
    throw LiteralException(NoValueMessage(token, kind, typeName));
}

struct SimpleEscape
{
    char m_letter;
    char m_value;
};

constexpr SimpleEscape s_simpleEscapes[] = {{'n', '\n'},  {'t', '\t'}, {'r', '\r'}, {'a', '\a'},
                                            {'b', '\b'},  {'f', '\f'}, {'v', '\v'}, {'\\', '\\'},
                                            {'\'', '\''}, {'"', '"'},  {'?', '?'},  {'0', '\0'}};

struct HexEscape
{
    char m_letter;
    int m_numDigits;
    ConstStringZ m_rule;
};

// \x is a byte; \u and \U are code points, written as UTF-8.
constexpr HexEscape s_hexEscapes[] = {{'x', 2, "\\x takes two hexadecimal digits"},
                                      {'u', 4, "\\u takes four hexadecimal digits"},
                                      {'U', 8, "\\U takes eight hexadecimal digits"}};

[[noreturn]] void ThrowMalformedEscape(const char* backslash, const char* end, ConstStringZ why)
{
    StringStream message(128);
    message << "Malformed escape " << SubString(backslash, end) << " in string literal: " << why;
    throw LiteralException(message.GetString());
}

bool IsCodePoint(uint32 value)
{
    return value < 0xD800 || (0xDFFF < value && value <= 0x10FFFF);
}

bool IsUtf8Continuation(char c)
{
    return (c & 0xC0) == 0x80;
}

// Appends what the escape at `backslash` stands for, and returns the address past it.
const char* AppendEscape(xstring& out, const char* backslash, const char* end)
{
    if (backslash + 1 == end)
        ThrowMalformedEscape(backslash, end, "nothing follows the backslash");
    const char letter = backslash[1];
    const char* p = backslash + 2;
    for (const SimpleEscape& escape : s_simpleEscapes)
        if (escape.m_letter == letter)
        {
            out.push_back(escape.m_value);
            return p;
        }
    for (const HexEscape& escape : s_hexEscapes)
        if (escape.m_letter == letter)
        {
            uint32 value = 0;
            for (int i = 0; i < escape.m_numDigits; ++i, ++p)
            {
                if (p == end || !HasProperty(*p, CHAR_HEX_DIGIT))
                    ThrowMalformedEscape(backslash, p, escape.m_rule);
                value = 16 * value + HexDigitValue(*p);
            }
            if (letter == 'x')
                out.push_back(static_cast<char>(value));
            else if (IsCodePoint(value))
                AppendUtf8(out, value);
            else
                ThrowMalformedEscape(backslash, p, "not a Unicode character");
            return p;
        }
    while (p != end && IsUtf8Continuation(*p)) // the whole character, for the message
        ++p;
    ThrowMalformedEscape(backslash, p, "unknown escape");
}

const char* FindBackslash(const char* p, const char* end)
{
    const void* const found = end > p ? std::memchr(p, '\\', static_cast<std::size_t>(end - p)) : nullptr;
    return found != nullptr ? static_cast<const char*>(found) : end;
}

// A token longer than this is cut in messages.
constexpr ssize_t s_maxShownLength = 80;
constexpr ssize_t s_maxUtf8Length = 4;

bool IsQuotedText(SubString text)
{
    return text.size() >= 2 && (text[0] == '\'' || text[0] == '"') && text[text.size() - 1] == text[0];
}

[[noreturn]] void ThrowNotQuoted(const LSToken& token)
{
    StringStream message(128);
    message << "String literal " << token << " is malformed";
    throw LiteralException(message.GetString());
}

} // namespace

int64 LSToken::GetAnyLiteralInt64() const
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
    double value = 0.0;
    if (!ReadDouble(m_str, value))
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
    const char* p = m_str.m_p1 + 1;
    const char* const end = m_str.m_p2 - 1;
    const char* backslash = FindBackslash(p, end);
    if (backslash == end)
    {
        out.assign(p, end - p);
        return;
    }
    xstring text;
    while (true)
    {
        text.append(p, backslash - p);
        if (backslash == end)
            break;
        p = AppendEscape(text, backslash, end);
        backslash = FindBackslash(p, end);
    }
    out.swap(text);
}

xchar LSToken::GetLiteralCharacter() const
{
    xstring text;
    GetLiteralString(text);
    if (text.size() != 1)
    {
        StringStream message(128);
        message << "Character literal " << *this << " does not hold exactly one byte";
        throw LiteralException(message.GetString());
    }
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
