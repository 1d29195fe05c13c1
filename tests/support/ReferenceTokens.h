#pragma once

// The token stream as its rules say it, byte by byte: what property tests hold the library's reading to. Obvious and
// slow on purpose. It shares nothing with the reading but the numbers of the tokens' kinds: texts are standard strings,
// places are offsets into them, errors are types of its own.

#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string>

namespace kelm::reference
{

struct Token
{
    EToken m_kind = TOKEN_UNDEF;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

// An error of a text, at a place in it.
struct TextError
{
    std::string m_message;
    std::size_t m_place;
};

bool IsDigit(char c);
bool IsHexDigit(char c);
bool IsNameStart(char c);
bool IsNamePart(char c);
bool IsUtf8Continuation(char c);

// The first token at or behind `from`, comments included. Throws TextError.
Token ScanToken(const std::string& text, std::size_t from, bool atLineStart);

// Counted from 1.
int64 GetLine(const std::string& text, std::size_t place);

std::string TextOf(const std::string& text, const Token& token);

// As a message shows it.
std::string Shown(const std::string& text, const Token& token);

// One token of lookahead.
class Stream
{
public:
    explicit Stream(const std::string& text) : m_text(text) {}

    void Init();
    void ReadNextToken();
    void ParseGivenToken(EToken kind, const std::string& spelling);
    std::string ParseIdentifier();
    std::string ParsePath();

    [[noreturn]] void Throw(const std::string& message) const;
    [[noreturn]] void ThrowExpected(const std::string& what) const;

    std::string CurrentText() const { return TextOf(m_text, m_token); }
    std::string ShownCurrent() const { return Shown(m_text, m_token); }

    const std::string& m_text;
    Token m_token;
    Token m_prevToken;
    std::size_t m_rest = 0; // where the text not yet scanned begins

private:
    void Read(bool atLineStart);
};

} // namespace kelm::reference
