#include <kelmLanguage/Situation.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

bool Touches(Span span, std::size_t at)
{
    return span.m_begin <= at && at <= span.m_end;
}

class Locator : public SiteVisitor
{
public:
    Locator(const Document& document, TypedWalk& walk, std::size_t at)
        : m_text(document.GetText()), m_walk(walk), m_at(at)
    {
        Push({.m_kind = FrameKind::Whole});
    }

    bool Enters(const Frame& frame) override
    {
        if (m_at <= frame.m_opening)
            return false;
        const Part brackets = m_walk.FindBrackets();
        if (AreWhole(brackets, m_text) && m_at >= brackets.m_span.m_end)
            return false;
        Update();
        Push(frame);
        return true;
    }

    // Where others have no closing bracket, brackets may end before the place after all.
    void Leaves(const Frame& frame, Span closing) override
    {
        const bool isInnermost = m_walk.GetFrames().size() + 1 == m_found.m_frames.size();
        const bool isText = frame.m_kind == FrameKind::Whole; // which all places are in
        if (!m_isPast && !isText && isInnermost &&
            (closing.IsEmpty() ? m_at > m_walk.GetPlace() : m_at >= closing.m_end))
        {
            m_found.m_frames.pop_back();
            m_members.pop_back();
            return Update();
        }
        m_isPast = true;
        m_isOver |= isInnermost;
    }

    void Expects(const Expectation& expectation) override
    {
        Pass(expectation.m_gap.m_begin);
        if (m_isPast || m_isSettled)
            return;
        Update();
        const Span word = expectation.m_word;
        if (!word.IsEmpty() && Touches(word, m_at) && (m_at > word.m_begin || m_found.m_expectations.empty()))
        {
            m_found.m_expectations.assign(1, expectation);
            m_isSettled = true;
        }
        else if (Touches(expectation.m_gap, m_at))
        {
            m_found.m_expectations.push_back(expectation);
            // Behind the name of an object a body may follow, or what follows the object; all else must follow.
            const bool isOptional = expectation.m_wanted == Wanted::Body &&
                                    (expectation.m_type == nullptr || expectation.m_type->m_kind != TypeKind::Class);
            m_isSettled = !isOptional;
        }
    }

    void Meets(const NameSite& site) override
    {
        const std::size_t level = m_walk.GetFrames().size();
        const bool isHere = Touches(site.m_span, m_at);
        if (site.m_kind == NameKind::Member && site.m_isWhole && !isHere && level <= m_members.size())
            m_members[level - 1].push_back(site.m_span.In(m_text));
        Pass(site.m_span.m_begin);
        if (isHere && (!m_found.m_name || site.m_span.m_begin < m_at))
            m_found.m_name = site;
    }

    void MeetsScalar(Span span, const TypeNode* type) override
    {
        if (!Touches(span, m_at))
            return;
        m_found.m_scalar = span;
        m_found.m_scalarType = type;
    }

    bool IsDone() const override
    {
        return m_isOver ||
               (m_isPast && std::none_of(m_found.m_expectations.begin(), m_found.m_expectations.end(),
                                         [](const Expectation& e) { return e.m_wanted == Wanted::Member; }));
    }

    Situation Take()
    {
        m_found.m_siblings = std::move(m_members.back());
        return std::move(m_found);
    }

private:
    void Pass(std::size_t place) { m_isPast |= place > m_at; }

    void Push(const Frame& frame)
    {
        m_found.m_frames.push_back(frame);
        m_members.emplace_back();
    }

    // What is read of the innermost brackets changes, that of others does not.
    void Update()
    {
        if (m_walk.GetFrames().size() == m_found.m_frames.size())
            m_found.m_frames.back() = m_walk.GetFrames().back();
    }

    std::string_view m_text;
    TypedWalk& m_walk;
    std::size_t m_at;
    Situation m_found;
    std::vector<std::vector<std::string_view>> m_members; // that each of the brackets has
    bool m_isSettled = false;                             // what could stand at the place is known
    bool m_isPast = false;                                // what follows stands behind the place
    bool m_isOver = false;                                // so do the brackets
};

// Whether nothing that is written there means anything: the place is in a comment or a quoted text.
bool IsInPassedText(const Document& document, std::size_t from, std::size_t at)
{
    const std::string_view text = document.GetText();
    while (from < at && from < text.size())
    {
        const Part part = ScanPart(text, from);
        if (at < part.m_span.m_end || part.m_span.m_end == text.size())
        {
            if (part.m_kind == PartKind::Comment)
                return true;
            const char first = text[part.m_span.m_begin];
            return at < part.m_span.m_end && (first == '"' || first == '\'');
        }
        if (at == part.m_span.m_end) // only a comment to the end of its line goes on here
            return part.m_kind == PartKind::Comment && !part.m_span.In(text).ends_with("*/");
        from = part.m_span.m_end;
    }
    return false;
}

} // namespace

Situation SituationAt(const Document& document, const Types& types, std::size_t at)
{
    TypedWalk walk(document, types);
    Locator locator(document, walk, at);
    walk.Run(locator);
    Situation situation = locator.Take();
    // Before what could stand there, no part of the text goes on.
    std::size_t from = situation.m_frames.back().m_opening;
    for (const Expectation& expectation : situation.m_expectations)
        from = std::max(from, std::min(expectation.m_gap.m_begin, at));
    situation.m_isInPassed = IsInPassedText(document, from, at);
    return situation;
}

} // namespace kelm::language
