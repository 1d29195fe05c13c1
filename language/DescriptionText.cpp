#include <kelmLanguage/DescriptionText.h>

#include <algorithm>
#include <vector>

namespace kelm::language
{

namespace
{

struct Description
{
    std::size_t m_begin = 0;
    std::vector<Part> m_tokens = {}; // between the brackets, but for what stands before the first comma: the type
};

std::optional<Description> DescriptionAt(std::string_view source, std::size_t line)
{
    Description description;
    std::size_t former = 0; // where the last token outside of brackets begins
    std::size_t lastLine = 0;
    std::size_t counted = 0;
    const auto lineOf = [&](std::size_t at)
    {
        lastLine += static_cast<std::size_t>(std::count(source.begin() + static_cast<std::ptrdiff_t>(counted),
                                                        source.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        counted = at;
        return lastLine;
    };
    int depth = 0;
    bool isBehindType = false;
    for (std::size_t at = 0; at < source.size();)
    {
        const Part part = ScanPart(source, at);
        at = part.m_span.m_end;
        if (part.IsPassed())
            continue;
        if (part.Is(TOKEN_RIGHT_PAREN) && depth > 0 && --depth == 0)
        {
            if (lineOf(part.m_span.m_begin) >= line)
                return description;
            description.m_tokens.clear();
            isBehindType = false;
        }
        else if (depth == 1 && part.Is(TOKEN_COMMA))
            isBehindType = true;
        else if (isBehindType)
            description.m_tokens.push_back(part);
        if (part.Is(TOKEN_LEFT_PAREN) && ++depth == 1)
        {
            if (lineOf(part.m_span.m_begin) > line)
                return std::nullopt;
            description.m_begin = former;
        }
        former = part.m_span.m_begin;
    }
    return std::nullopt;
}

} // namespace

std::optional<Span> FindInDescription(std::string_view source, std::size_t line, std::string_view name)
{
    const std::optional<Description> description = DescriptionAt(source, line);
    if (!description)
        return std::nullopt;
    if (name.empty())
        return Span{description->m_begin, description->m_begin};
    const std::vector<Part>& tokens = description->m_tokens;
    std::optional<Span> found;
    for (std::size_t i = 0; i < tokens.size(); ++i)
    {
        const std::string_view text = tokens[i].m_span.In(source);
        if (tokens[i].Is(TOKEN_DOUBLE_QUOTED_STRING) && text.substr(1, text.size() - 2) == name)
            return Span{tokens[i].m_span.m_begin + 1, tokens[i].m_span.m_end - 1};
        if (!tokens[i].Is(TOKEN_IDENTIFIER) || text != name)
            continue;
        // Alone in brackets it is what is described; elsewhere it may be.
        if (i > 0 && i + 1 < tokens.size() && tokens[i - 1].Is(TOKEN_LEFT_PAREN) && tokens[i + 1].Is(TOKEN_RIGHT_PAREN))
            return tokens[i].m_span;
        if (!found)
            found = tokens[i].m_span;
    }
    return found;
}

} // namespace kelm::language
