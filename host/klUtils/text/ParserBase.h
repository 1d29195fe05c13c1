#pragma once

#include <klUtils/LexScannerException.h>
#include <klUtils/api.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/PlainText.h>

namespace kelm
{

// A number that TryReadNumber found, as the bits of what its kind says; in two registers.
struct PlainNumber
{
    EToken m_kind = TOKEN_UNDEF; // TOKEN_INTEGER: an int64; TOKEN_FLOAT: a float64; TOKEN_UNDEF: none
    uint64 m_bits = 0;
};

// The state of a token stream with one token of lookahead: what every parser of the system reads its input through.
//
// Constructed empty, bound once by Init, and from then on moves only forward. The parsed text is not copied and must
// outlive the parser and every token taken from it. One thread at a time.
class KLUTILS_API ParserBase
{
public:
    // Binds the stream to `text` and reads the first token. Throws LexScannerException where it cannot be scanned.
    void Init(SubString text);

    // Makes the current token the previous one and reads the next, past white space and comments; TOKEN_END at the end
    // of the text, however often it is asked. Throws LexScannerException at characters that form no token; the current
    // token stays then.
    void ReadNextToken();

    // Consumes the current token if it is of kind `t`, and otherwise calls ThrowExpectedException(text).
    void ParseGivenToken(EToken t, ConstStringZ text)
    {
        if (m_token.m_type != t)
            ThrowExpectedException(text);
        ReadNextToken();
    }

    // Throws LexScannerException "Expected " + what + " when read " + the current token, at the current token.
    [[noreturn]] void ThrowExpectedException(ConstStringZ what) const;

    // Throws LexScannerException with `description` at the current token.
    [[noreturn]] void ThrowAtToken(const xstring& description) const;

    // The text of an identifier, which is consumed. Throws LexScannerException where there is none.
    xstring ParseIdentifier();

    // A qualified name: identifiers with "." or "::" between them, returned with "::" whichever was written. Throws
    // LexScannerException "Expected identifier when read " + token where one is missing.
    xstring ParsePath();

    // The text from the current token on, for readers that take plain forms straight from its characters; and the way
    // back: makes the token that begins at `lastToken` the previous one and reads the next, as if all tokens up to
    // there had been read one by one.
    PlainText GetPlainText() const { return {m_token.m_str.m_p1, m_str.m_p2}; }
    void ContinueBehind(const char* lastToken);

    // ReadNextToken; and where the token that it reads is a plain number, its value, with ReadNextToken once more.
    // Otherwise none, and the token is left as the current one.
    PlainNumber TryReadNumber();

    EToken GetTokenType() const { return m_token.m_type; }
    const LSToken& GetToken() const { return m_token; }
    xstring GetTokenString() const { return m_token.GetTokenString(); }

    xstring m_stringForToken; // scratch of the host; nothing here reads or writes it
    LSToken m_token;          // the current token, the one that the grammar looks at next
    LSToken m_prevToken;      // the one before it
    SubString m_str;          // the text not yet scanned

private:
    void ReadToken(bool atLineStart);
};

} // namespace kelm
