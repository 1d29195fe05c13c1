#pragma once

// Trees of documents as texts, and the texts that they are tried on.

#include <kelmDocument/Document.h>
#include <support/ReferenceTexts.h>
#include <support/ReferenceTokens.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{

inline std::string Named(PartKind kind, EToken token, std::size_t begin, std::size_t end)
{
    static constexpr const char* names[] = {"mark", "space", "comment", "token", "wrong", "brackets"};
    return std::string(names[static_cast<std::size_t>(kind)]) + "/" + std::to_string(token) + "[" +
           std::to_string(begin) + "," + std::to_string(end) + ")";
}

// A document's tree, read as its users read it.
inline std::string TreeOf(const Document& document)
{
    std::string told;
    std::vector<std::pair<PartWalk, Part>> levels{{PartWalk(document), Part{}}};
    while (!levels.empty())
    {
        Part part{};
        if (!levels.back().first.Next(part))
        {
            if (levels.size() > 1)
                told += levels.back().second.m_isClosed ? "} " : "{} ";
            levels.pop_back();
            continue;
        }
        told += Named(part.m_kind, part.m_token, part.m_span.m_begin, part.m_span.m_end) + " ";
        if (part.m_kind == PartKind::Brackets)
        {
            const PartWalk inside = levels.back().first.Inside(part);
            levels.emplace_back(inside, part);
        }
    }
    return told;
}

// The same from the reference's tokens.
inline std::string ReferenceTreeOf(const std::string& text)
{
    struct Flat
    {
        PartKind m_kind;
        EToken m_token;
        std::size_t m_begin;
        std::size_t m_end;
        std::size_t m_closing = 0; // of an opening bracket: the part that closes it
    };
    std::vector<Flat> parts;
    std::size_t at = 0;
    const bool hasMark = text.starts_with("\xEF\xBB\xBF");
    if (hasMark)
        parts.push_back({PartKind::Mark, TOKEN_UNDEF, 0, at = 3});
    while (at < text.size())
    {
        const bool atLineStart = at == (hasMark ? 3 : 0) || text[at - 1] == '\n';
        const std::size_t begin = std::min(text.find_first_not_of(" \t\n\v\f\r", at), text.size());
        if (begin != at)
        {
            parts.push_back({PartKind::Space, TOKEN_UNDEF, at, begin});
            at = begin;
            continue;
        }
        try
        {
            const reference::Token token = reference::ScanToken(text, at, atLineStart);
            const bool isComment = token.m_kind == TOKEN_COMMENT || token.m_kind == TOKEN_PREPROC_COMMENT;
            const bool isBeforeBreak = isComment && text.substr(token.m_end - 1, 2) == "\r\n";
            parts.push_back({isComment ? PartKind::Comment : PartKind::Token, isComment ? TOKEN_UNDEF : token.m_kind,
                             at, token.m_end - (isBeforeBreak ? 1 : 0)});
        }
        catch (const reference::TextError&)
        {
            const char c = text[at];
            std::size_t end = at;
            if (c == '"' || c == '\'')
                end = std::min(text.find('\n', at), text.size());
            else if (c == '/')
                end = text.size();
            else if (reference::IsDigit(c) || c == '.')
                while (end < text.size() && (reference::IsNamePart(text[end]) || text[end] == '.'))
                    ++end;
            else
                while (end < text.size() && static_cast<unsigned char>(text[end] - '!') >= 0x7f - '!' &&
                       std::string(" \t\n\v\f\r").find(text[end]) == std::string::npos)
                    ++end;
            parts.push_back({PartKind::Wrong, TOKEN_UNDEF, at, end});
        }
        at = parts.back().m_end;
    }
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        if (IsOpeningBracket(parts[i].m_token))
            open.push_back(i);
        else if (IsClosingBracket(parts[i].m_token) && !open.empty())
        {
            parts[open.back()].m_closing = i;
            open.pop_back();
        }
    }
    std::string told;
    std::vector<std::size_t> closings;
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        const Flat& part = parts[i];
        if (IsOpeningBracket(part.m_token))
        {
            const std::size_t end = part.m_closing != 0 ? parts[part.m_closing].m_end : text.size();
            told += Named(PartKind::Brackets, part.m_token, part.m_begin, end) + " ";
            closings.push_back(part.m_closing);
        }
        else if (!closings.empty() && closings.back() == i)
        {
            told += "} ";
            closings.pop_back();
        }
        else
            told += Named(part.m_kind, part.m_token, part.m_begin, part.m_end) + " ";
    }
    for (std::size_t i = 0; i < closings.size(); ++i)
        told += "{} ";
    return told;
}

inline const std::string s_opening[] = {"{", "[", "("};
inline const std::string s_breaks[] = {"\n", "\r\n", "\n#", ", ", "->", std::string(1, '\0')};
inline const std::string s_beginnings[] = {"/*", "*/", "//", "\"", "'", "1e", "+", "1e+5"};

// Any text: tokens, bytes, brackets that mostly fit, damage, marks, line ends of every kind.
inline std::string AnyText(reference::Random& random)
{
    std::string text;
    if (random.OneIn(8))
        text += random.OneIn(3) ? "\xEF\xBB" : "\xEF\xBB\xBF";
    std::string open;
    for (std::size_t n = random.Below(random.OneIn(20) ? 3000 : 60); n-- > 0;)
        switch (random.Below(10))
        {
        case 0:
            text += random.Of(s_opening);
            open += text.back() == '{' ? '}' : text.back() == '[' ? ']' : ')';
            break;
        case 1:
            if (!open.empty())
            {
                text += open.back();
                open.pop_back();
            }
            break;
        case 2: text += random.OneIn(4) ? reference::AnyBytes(random) : reference::AnyName(random) + " = "; break;
        case 3: text += random.Of(s_breaks); break;
        case 4: text += random.OneIn(6) ? random.Of(s_beginnings) : ","; break;
        default: text += reference::AnyToken(random) + reference::AnySpace(random);
        }
    while (!open.empty() && !random.OneIn(10))
    {
        text += open.back();
        open.pop_back();
    }
    if (random.OneIn(3))
        reference::Damage(random, text);
    return text;
}

} // namespace kelm
