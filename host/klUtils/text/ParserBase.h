#pragma once

#include <klUtils/LexScannerException.h>
#include <klUtils/api.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/LsScanToken.h>

#include <concepts>

namespace kelm
{

namespace text
{
class ExpressionCursor;
}

// The state of a token stream with one token of lookahead: what every parser of the system reads its input through.
//
// Constructed empty, bound once by Init, and from then on moves only forward. The parsed text is not copied and must
// outlive the parser and every token taken from it. One thread at a time.
class KLUTILS_API ParserBase
{
public:
    // Binds the stream to `text` and reads the first token. Throws LexScannerException where it cannot be scanned.
    void Init(SubString text);

    // A string that is gone with the statement is no text to parse: what owns it must outlive the parser.
    template <std::same_as<xstring> S>
    void Init(const S&&) = delete;

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

    EToken GetTokenType() const { return m_token.m_type; }
    const LSToken& GetToken() const { return m_token; }
    xstring GetTokenString() const { return m_token.GetTokenString(); }

    xstring m_stringForToken; // scratch of the host; nothing here reads or writes it
    LSToken m_token;          // the current token, the one that the grammar looks at next
    LSToken m_prevToken;      // the one before it
    SubString m_str;          // the text not yet scanned

private:
    friend class text::ExpressionCursor;

    void ReadToken(bool atLineStart);
    void ReadHexadecimal(const char* start, bool atLineStart);
    void ReadRestOfNumber(const char* start, const char* past, uint64 digits, bool atLineStart);
    void SetNumber(EToken kind, const char* start, const char* past, uint64 digits, int32 exponent, ssize_t count);
    void ReadAnyToken(bool atLineStart);
    [[noreturn]] void ThrowNoToken(bool atLineStart);

    // The number or quoted literal that has been scanned last, and what that has found out about its value.
    LSToken m_valued;
    uint64 m_digits = 0;
    int32 m_exponent = 0;
    int32 m_count = 0;
    const char* m_escape = nullptr;
};

} // namespace kelm
