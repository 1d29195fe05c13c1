#include <kelmLanguage/Sites.h>

#include <utility>

namespace kelm::language
{

namespace
{

// Goes into the brackets that have a part in a range.
class RangeVisitor : public SiteVisitor
{
public:
    RangeVisitor(TypedWalk& walk, std::string_view text, Span range)
        : m_walk(walk), m_text(text), m_range(range), m_isAll(range == Span{0, text.size()})
    {
    }

    bool Enters(const Frame& frame) override
    {
        if (m_isAll)
            return true;
        if (frame.m_opening >= m_range.m_end)
            return false;
        if (frame.m_opening >= m_range.m_begin)
            return true;
        const Part brackets = m_walk.FindBrackets();
        return brackets.m_span.m_end > m_range.m_begin || !AreWhole(brackets, m_text);
    }
    bool IsDone() const override { return m_walk.GetPlace() > m_range.m_end; }

protected:
    bool IsInRange(Span span) const { return span.m_begin < m_range.m_end && span.m_end > m_range.m_begin; }

    TypedWalk& m_walk;
    std::string_view m_text;
    Span m_range;
    bool m_isAll;
};

class NameVisitor : public RangeVisitor
{
public:
    NameVisitor(TypedWalk& walk, std::string_view text, Span range, const std::function<void(const NameSite&)>& call)
        : RangeVisitor(walk, text, range), m_call(call)
    {
    }
    void Meets(const NameSite& site) override
    {
        if (IsInRange(site.m_span))
            m_call(site);
    }

private:
    const std::function<void(const NameSite&)>& m_call;
};

class HintVisitor : public RangeVisitor
{
public:
    using RangeVisitor::RangeVisitor;
    void BeginsItem(const Frame& frame) override
    {
        if (frame.m_kind == FrameKind::Positional && frame.m_class != nullptr &&
            frame.m_index < frame.m_class->m_members.size() && m_range.m_begin <= frame.m_value.m_begin &&
            frame.m_value.m_begin < m_range.m_end)
            m_hints.push_back({frame.m_value.m_begin, frame.m_class->m_members[frame.m_index].m_name + ":"});
    }

    std::vector<Hint> m_hints;
};

TokenKind KindOf(NameKind kind)
{
    switch (kind)
    {
    case NameKind::Class:
    case NameKind::Alternative: return TokenKind::Class;
    case NameKind::Member: return TokenKind::Member;
    case NameKind::Enumerator: return TokenKind::Enumerator;
    case NameKind::Word: return TokenKind::Keyword;
    }
    return TokenKind::Keyword;
}

// The kind that a token has by itself; false where it has none.
bool FindKind(const Part& part, TokenKind& kind)
{
    switch (part.m_token)
    {
    case TOKEN_INTEGER:
    case TOKEN_HEX_INTEGER:
    case TOKEN_FLOAT: kind = TokenKind::Number; return true;
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: kind = TokenKind::String; return true;
    default: kind = TokenKind::Comment; return part.m_kind == PartKind::Comment;
    }
}

} // namespace

void ForEachName(const Document& document, const Types& types, Span range,
                 const std::function<void(const NameSite&)>& call)
{
    TypedWalk walk(document, types);
    NameVisitor visitor(walk, document.GetText(), range, call);
    walk.Run(visitor);
}

std::vector<ColouredToken> TokensOf(const Document& document, const Types& types)
{
    const std::string_view text = document.GetText();
    std::vector<ColouredToken> tokens;
    std::size_t at = 0;
    const auto passTo = [&](std::size_t end) // what is between names
    {
        while (at < end)
        {
            const Part part = ScanPart(text, at);
            if (TokenKind kind; FindKind(part, kind))
                tokens.push_back({part.m_span, kind});
            at = part.m_span.m_end;
        }
    };
    ForEachName(document, types, {0, text.size()},
                [&](const NameSite& site)
                {
                    if (!site.IsKnown() || site.m_span.m_begin < at)
                        return;
                    passTo(site.m_span.m_begin);
                    const std::size_t first = tokens.size();
                    while (at < site.m_span.m_end)
                    {
                        const Part part = ScanPart(text, at);
                        TokenKind kind = TokenKind::Namespace;
                        if (part.Is(TOKEN_IDENTIFIER) || FindKind(part, kind))
                            tokens.push_back({part.m_span, kind});
                        at = part.m_span.m_end;
                    }
                    for (std::size_t i = tokens.size(); i-- > first;)
                        if (tokens[i].m_kind == TokenKind::Namespace)
                        {
                            tokens[i].m_kind = KindOf(site.m_kind);
                            break;
                        }
                });
    passTo(text.size());
    return tokens;
}

std::vector<Hint> HintsOf(const Document& document, const Types& types, Span range)
{
    TypedWalk walk(document, types);
    HintVisitor visitor(walk, document.GetText(), range);
    walk.Run(visitor);
    return std::move(visitor.m_hints);
}

} // namespace kelm::language
