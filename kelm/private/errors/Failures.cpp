#include <kelm/private/errors/Failures.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/errors/Source.h>
#include <kelm/private/errors/Suggest.h>
#include <klUtils/MessageOf.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/private/Scan.h>

#include <utility>
#include <vector>

namespace kelm::evaluation
{

void ThrowAt(ErrorKind kind, std::string_view message, std::size_t place)
{
    Rejected rejected{{}, place};
    Fail(rejected.m_failure, kind, message);
    throw std::move(rejected);
}

void ThrowUnknown(std::string_view name, std::size_t place, std::vector<std::string> existing)
{
    Rejected rejected{{}, place};
    FailUnknown(rejected.m_failure, UnknownMessage(name), name, std::move(existing));
    throw std::move(rejected);
}

std::string UnknownMessage(std::string_view name)
{
    return std::string(std::string_view(MessageOf("Unknown name ", LSToken(TOKEN_IDENTIFIER, name))));
}

std::string CountMessage(std::string_view name, std::size_t count, int32 min, int32 max)
{
    std::string message(name);
    message += "() takes ";
    if (max < 0)
        message += "at least ";
    message += min == 0 && max == 0 ? "no" : std::to_string(min);
    if (max > min)
        message += " to " + std::to_string(max);
    message += min == 1 && max <= 1 ? " argument" : " arguments";
    return message + ", not " + std::to_string(count);
}

std::size_t PlaceOfArgument(std::string_view text, std::size_t function, std::size_t index)
{
    const char* p = text.data() + function;
    const char* const end = text.data() + text.size();
    text::Lexeme token;
    int64 depth = 0;
    while (text::ScanToken(p, end, false, token) && token.m_kind != TOKEN_END)
    {
        if (depth == 1 && index == 0 && token.m_kind != TOKEN_COMMA)
            return static_cast<std::size_t>(token.m_start - text.data());
        switch (static_cast<int>(token.m_kind))
        {
        case TOKEN_LEFT_PAREN:
        case TOKEN_LEFT_SQUARE: ++depth; break;
        case TOKEN_RIGHT_PAREN:
        case TOKEN_RIGHT_SQUARE: --depth; break;
        case TOKEN_COMMA: index -= depth == 1; break;
        default: break;
        }
        p = token.m_past;
    }
    return function;
}

namespace
{

// The tokens of a text up to its end, which has a token too.
std::vector<text::Lexeme> TokensOf(std::string_view text)
{
    std::vector<text::Lexeme> tokens(1);
    const char* const end = text.data() + text.size();
    const char* p = text.data();
    while (text::ScanToken(p, end, p == text.data(), tokens.back()) && tokens.back().m_kind != TOKEN_END)
    {
        p = tokens.back().m_past;
        tokens.emplace_back();
    }
    tokens.back().m_kind = TOKEN_END;
    return tokens;
}

// The bracket that closes the one at `i`, or opens it: the steps lead there.
std::size_t FindOtherBracket(const std::vector<text::Lexeme>& tokens, std::size_t i, int step)
{
    int64 depth = 0;
    for (; i < tokens.size(); i += static_cast<std::size_t>(step))
    {
        const EToken kind = tokens[i].m_kind;
        depth += kind == TOKEN_LEFT_PAREN || kind == TOKEN_LEFT_SQUARE;
        depth -= kind == TOKEN_RIGHT_PAREN || kind == TOKEN_RIGHT_SQUARE;
        if (depth == 0)
            return i;
    }
    return tokens.size() - 1;
}

struct WrittenPath
{
    std::size_t m_last; // its last name or bracket
    std::size_t m_past; // what follows
};

// The path that begins there, in brackets or not; of no tokens where there is none.
WrittenPath FindPath(const std::vector<text::Lexeme>& tokens, std::size_t i)
{
    const std::size_t begin = i;
    while (tokens[i].m_kind == TOKEN_LEFT_PAREN)
        ++i;
    std::size_t numOpen = i - begin;
    if (tokens[i].m_kind != TOKEN_IDENTIFIER)
        return {begin, begin};
    std::size_t last = i++;
    while (true)
    {
        const EToken kind = tokens[i].m_kind;
        if (kind == TOKEN_DOT && tokens[i + 1].m_kind == TOKEN_IDENTIFIER)
            last = ++i;
        else if (kind == TOKEN_LEFT_SQUARE)
            last = i = FindOtherBracket(tokens, i, 1);
        else if (kind == TOKEN_LEFT_PAREN)
            i = FindOtherBracket(tokens, i, 1);
        else if (kind == TOKEN_RIGHT_PAREN && numOpen > 0)
            --numOpen;
        else
            break;
        if (tokens[i].m_kind == TOKEN_END)
            break;
        ++i;
    }
    return numOpen == 0 ? WrittenPath{last, i} : WrittenPath{begin, begin};
}

} // namespace

std::size_t PlaceOfOperand(std::string_view text, std::size_t op, bool isRight)
{
    const std::vector<text::Lexeme> tokens = TokensOf(text);
    std::size_t i = 0;
    while (tokens[i].m_kind != TOKEN_END && tokens[i].m_start < text.data() + op)
        ++i;
    const auto placeOf = [&](std::size_t token)
    { return static_cast<std::size_t>(tokens[token].m_start - text.data()); };
    if (isRight)
    {
        const WrittenPath path = tokens[i].m_kind != TOKEN_END ? FindPath(tokens, i + 1) : WrittenPath{i, i};
        return path.m_past > i + 1 ? placeOf(path.m_last) : op;
    }
    if (i == 0)
        return op;
    if (tokens[i - 1].m_kind == TOKEN_IDENTIFIER || tokens[i - 1].m_kind == TOKEN_RIGHT_SQUARE)
        return placeOf(i - 1);
    if (tokens[i - 1].m_kind != TOKEN_RIGHT_PAREN)
        return op;
    const std::size_t open = FindOtherBracket(tokens, i - 1, -1);
    if (open > 0 && open < i && tokens[open - 1].m_kind == TOKEN_IDENTIFIER)
        return placeOf(open - 1);
    const WrittenPath path = FindPath(tokens, open);
    return path.m_past == i ? placeOf(path.m_last) : op;
}

Error MakeError(std::string_view text, const Failure& failure, std::size_t place, std::string fieldPath)
{
    const Failure::Details& details = *failure.m_details;
    const SourceText source{s_textName, text};
    text::Lexeme token;
    std::size_t size = 0;
    if (place < text.size() && text::Scan(text.data() + place, text.data() + text.size(), false, token))
    {
        place = static_cast<std::size_t>(token.m_start - text.data());
        size = static_cast<std::size_t>(token.m_past - token.m_start);
    }
    const Place at = PlaceOf(source, place);
    const Excerpt excerpt = ExcerptAt(source, place, size);
    return Error({.m_kind = details.m_kind,
                  .m_message = details.m_message,
                  .m_source = std::string(s_textName),
                  .m_line = at.m_line,
                  .m_column = at.m_column,
                  .m_excerpt = excerpt.m_line + "\n" + excerpt.m_blanks + excerpt.m_caret,
                  .m_fieldPath = std::move(fieldPath),
                  .m_suggestions = NearestNames(details.m_unknown, details.m_existing)});
}

} // namespace kelm::evaluation
