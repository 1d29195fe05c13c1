#pragma once

#include <klUtils/BasicSubString.h>
#include <klUtils/LiteralException.h>
#include <klUtils/api.h>
#include <klUtils/text/EToken.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

class xostream;

// A token: its kind and its characters in the parsed text, quotes and prefixes included. Copied by value; the text must
// outlive it.
//
// The GetLiteral operations convert a token of the kind that they name. They throw LiteralException where the text has
// no value of the type, with one exception that says so.
struct KLUTILS_API LSToken
{
    LSToken() = default;
    LSToken(EToken type, SubString str) : m_type(type), m_str(str) {}

    // Copied member by member, as the token stream stores them: a wider load would wait for the narrower stores just
    // made.
    LSToken(const LSToken& other) : m_type(other.m_type), m_str(other.m_str.m_p1, other.m_str.m_p2) {}
    LSToken& operator=(const LSToken& other)
    {
        m_type = other.m_type;
        m_str.m_p1 = other.m_str.m_p1;
        m_str.m_p2 = other.m_str.m_p2;
        return *this;
    }

    EToken m_type = TOKEN_UNDEF;
    SubString m_str;

    EToken GetType() const { return m_type; }
    xstring GetTokenString() const { return xstring(m_str); }

    int64 GetLiteralInt64() const;    // TOKEN_INTEGER
    int64 GetLiteralHexInt64() const; // TOKEN_HEX_INTEGER; all 64 bits, so 0xffffffffffffffff is -1
    int32 GetLiteralHexInt32() const; // TOKEN_HEX_INTEGER; all 32 bits
    double GetLiteralDouble() const;  // TOKEN_FLOAT; a value beyond the range of double has none

    // TOKEN_INTEGER. Throws LexScannerException at the token where the value does not fit.
    int32 GetLiteralInt32() const;

    // Either kind of quoted literal: `out` receives its contents, quotes removed and escapes resolved. It is unchanged
    // where this throws.
    void GetLiteralString(xstring& out) const;

    // Either kind of quoted literal that holds exactly one byte.
    xchar GetLiteralCharacter() const;
};

inline bool operator==(const LSToken& token, EToken kind)
{
    return token.m_type == kind;
}
inline bool operator==(const LSToken& token, ConstStringZ text)
{
    return token.m_str == SubString(text);
}
inline bool operator==(const LSToken& a, const LSToken& b)
{
    return a.m_type == b.m_type && a.m_str == b.m_str;
}

// Writes a token for a message: its own text, cut when it is very long; "end of text" for the end, "start of text" for
// no token.
KLUTILS_API xostream& operator<<(xostream& os, const LSToken& token);

} // namespace kelm
