#include <support/ReferenceTokens.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace kelm::reference
{

namespace
{

// Every operator, in the order of the tokens' kinds.
const std::string s_spellings[] = {"<",  ">",  "&",  "|",   "^",   "<=",  ">=",  "&=",  "|=", "^=", "<<", ">>",
                                   "&&", "||", "^^", "<<=", ">>=", "&&=", "||=", "^^=", "+",  "-",  "*",  "/",
                                   "%",  "!",  "=",  "?",   "++",  "--",  "+=",  "-=",  "*=", "/=", "%=", "!=",
                                   "==", "?=", "->", ":",   "::",  "$",   "$$",  ".",   ",",  ";",  "(",  ")",
                                   "{",  "}",  "[",  "]",   "~",   "@",   "\\",  "`",   "#"};
static_assert(std::size(s_spellings) == TOKEN_HASH - TOKEN_LESS + 1);

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool StandsAt(const std::string& text, std::size_t at, const std::string& what)
{
    return text.compare(at, what.size(), what) == 0;
}

template <class Is>
std::size_t SkipWhile(const std::string& text, std::size_t at, Is is)
{
    while (at < text.size() && is(text[at]))
        ++at;
    return at;
}

std::size_t SkipLine(const std::string& text, std::size_t at)
{
    return SkipWhile(text, at, [](char c) { return c != '\n'; });
}

[[noreturn]] void ThrowMalformedNumber(const std::string& text, std::size_t begin)
{
    const std::size_t end = SkipWhile(text, begin, [](char c) { return IsNamePart(c) || c == '.'; });
    throw TextError{"Malformed number " + Shown(text, {TOKEN_INTEGER, begin, end}), begin};
}

Token ScanHexInteger(const std::string& text, std::size_t begin)
{
    const std::size_t end = SkipWhile(text, begin + 2, IsHexDigit);
    if (end == begin + 2)
        ThrowMalformedNumber(text, begin);
    return {TOKEN_HEX_INTEGER, begin, end};
}

Token ScanDecimal(const std::string& text, std::size_t begin)
{
    Token token{TOKEN_INTEGER, begin, SkipWhile(text, begin, IsDigit)};
    if (token.m_end < text.size() && text[token.m_end] == '.')
        token = {TOKEN_FLOAT, begin, SkipWhile(text, token.m_end + 1, IsDigit)};
    std::size_t at = token.m_end;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E'))
    {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const std::size_t end = SkipWhile(text, at, IsDigit);
        if (end > at)
            token = {TOKEN_FLOAT, begin, end};
    }
    return token;
}

Token ScanNumber(const std::string& text, std::size_t begin)
{
    const bool isHex = StandsAt(text, begin, "0x") || StandsAt(text, begin, "0X");
    const Token token = isHex ? ScanHexInteger(text, begin) : ScanDecimal(text, begin);
    if (token.m_end < text.size() && IsNamePart(text[token.m_end]))
        ThrowMalformedNumber(text, begin);
    return token;
}

Token ScanQuoted(const std::string& text, std::size_t begin)
{
    const char quote = text[begin];
    for (std::size_t at = begin + 1; at < text.size() && text[at] != '\n'; ++at)
    {
        if (text[at] == quote)
            return {quote == '\'' ? TOKEN_SINGLE_QUOTED_STRING : TOKEN_DOUBLE_QUOTED_STRING, begin, at + 1};
        if (text[at] == '\\')
        {
            ++at; // whatever it is, it does not end the literal, unless it ends the line
            if (at < text.size() && text[at] == '\n')
                break;
        }
    }
    throw TextError{"Unterminated string literal", begin};
}

Token ScanBlockComment(const std::string& text, std::size_t begin)
{
    for (std::size_t at = begin + 2; at + 1 < text.size(); ++at)
        if (text[at] == '*' && text[at + 1] == '/')
            return {TOKEN_COMMENT, begin, at + 2};
    throw TextError{"Unterminated comment", begin};
}

// The longest that fits.
Token ScanOperator(const std::string& text, std::size_t begin)
{
    Token token{TOKEN_UNDEF, begin, begin};
    for (std::size_t i = 0; i < std::size(s_spellings); ++i)
        if (StandsAt(text, begin, s_spellings[i]) && s_spellings[i].size() > token.m_end - begin)
            token = {static_cast<EToken>(TOKEN_LESS + static_cast<int>(i)), begin, begin + s_spellings[i].size()};
    return token;
}

} // namespace

bool IsDigit(char c)
{
    return '0' <= c && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || ('a' <= c && c <= 'f') || ('A' <= c && c <= 'F');
}

bool IsNameStart(char c)
{
    return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || c == '_';
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || IsDigit(c);
}

bool IsUtf8Continuation(char c)
{
    return (c & 0xc0) == 0x80;
}

Token ScanToken(const std::string& text, std::size_t from, bool atLineStart)
{
    const std::size_t begin = SkipWhile(text, from, IsSpace);
    if (begin == text.size())
        return {TOKEN_END, begin, begin};
    const char c = text[begin];
    if (IsNameStart(c))
        return {TOKEN_IDENTIFIER, begin, SkipWhile(text, begin, IsNamePart)};
    if (IsDigit(c) || (c == '.' && begin + 1 < text.size() && IsDigit(text[begin + 1])))
        return ScanNumber(text, begin);
    if (c == '\'' || c == '"')
        return ScanQuoted(text, begin);
    if (StandsAt(text, begin, "//"))
        return {TOKEN_COMMENT, begin, SkipLine(text, begin)};
    if (StandsAt(text, begin, "/*"))
        return ScanBlockComment(text, begin);
    if (c == '#' && (begin == from ? atLineStart : text[begin - 1] == '\n'))
        return {TOKEN_PREPROC_COMMENT, begin, SkipLine(text, begin)};
    const Token token = ScanOperator(text, begin);
    if (token.m_kind != TOKEN_UNDEF)
        return token;
    char message[64];
    std::snprintf(message, sizeof message, "Illegal character 0x%02X outside quotes",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    throw TextError{message, begin};
}

int64 GetLine(const std::string& text, std::size_t place)
{
    return 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(std::min(place, text.size())), '\n');
}

std::string TextOf(const std::string& text, const Token& token)
{
    return text.substr(token.m_begin, token.m_end - token.m_begin);
}

std::string Shown(const std::string& text, const Token& token)
{
    if (token.m_kind == TOKEN_END)
        return "end of text";
    if (token.m_kind == TOKEN_UNDEF)
        return "start of text";
    const std::string whole = TextOf(text, token);
    if (whole.size() <= 80)
        return whole;
    std::size_t cut = 80; // not within a character of UTF-8, which has three continuation bytes at most
    while (cut > 77 && IsUtf8Continuation(whole[cut]))
        --cut;
    return whole.substr(0, cut) + "...";
}

void Stream::Init()
{
    m_token = m_prevToken = Token();
    m_rest = 0;
    Read(true);
}

void Stream::ReadNextToken()
{
    m_prevToken = m_token;
    Read(false);
}

// An error leaves the current token and the rest as they were.
void Stream::Read(bool atLineStart)
{
    Token token = ScanToken(m_text, m_rest, atLineStart);
    while (token.m_kind == TOKEN_COMMENT || token.m_kind == TOKEN_PREPROC_COMMENT)
        token = ScanToken(m_text, token.m_end, false);
    m_token = token;
    m_rest = token.m_end;
}

void Stream::ParseGivenToken(EToken kind, const std::string& spelling)
{
    if (m_token.m_kind != kind)
        ThrowExpected(spelling);
    ReadNextToken();
}

std::string Stream::ParseIdentifier()
{
    if (m_token.m_kind != TOKEN_IDENTIFIER)
        ThrowExpected("identifier");
    const std::string name = CurrentText();
    ReadNextToken();
    return name;
}

std::string Stream::ParsePath()
{
    std::string path = ParseIdentifier();
    while (m_token.m_kind == TOKEN_COLON_COLON || m_token.m_kind == TOKEN_DOT)
    {
        ReadNextToken();
        path += "::" + ParseIdentifier();
    }
    return path;
}

void Stream::Throw(const std::string& message) const
{
    throw TextError{message, m_token.m_begin};
}

void Stream::ThrowExpected(const std::string& what) const
{
    Throw("Expected " + what + " when read " + ShownCurrent());
}

} // namespace kelm::reference
