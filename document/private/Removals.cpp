#include <kelmDocument/private/Removals.h>

#include <iterator>

namespace kelm::editing
{

bool Removals::TryAdd(std::string_view path)
{
    OncePlaces::Place place{};
    if (!m_places.TryFind(path, place) || place.m_spot.m_kind != SpotKind::Member ||
        place.GetBrackets().m_token != TOKEN_LEFT_CURLY)
        return false;
    const Item& item = place.GetItems()[place.m_index];
    const Span removed = m_layout.SpanOfItem(place.GetBrackets(), {place.m_index, place.GetItems()});
    if (TouchesOthers(item.m_span, removed))
        return false;
    m_removed.emplace(removed.m_begin, removed);
    return true;
}

// How an item is taken out depends on its neighbours, unless it and they have lines of their own.
bool Removals::TouchesOthers(Span item, Span removed) const
{
    const auto isBetween = [&](std::size_t begin, std::size_t end)
    {
        PartWalk walk(m_document, {begin, end});
        Part part{};
        return walk.NextToken(part);
    };
    const auto next = m_removed.lower_bound(removed.m_begin);
    if (next != m_removed.end())
    {
        const Span& other = next->second;
        if (other.m_begin < removed.m_end || other.m_begin < item.m_end)
            return true;
        if (!(IsWholeLines(removed) && IsWholeLines(other)) && !isBetween(removed.m_end, other.m_begin))
            return true;
    }
    if (next == m_removed.begin())
        return false;
    const Span& other = std::prev(next)->second;
    return other.m_end > removed.m_begin ||
           (!(IsWholeLines(removed) && IsWholeLines(other)) && !isBetween(other.m_end, removed.m_begin));
}

bool Removals::IsWholeLines(Span removed) const
{
    const std::string_view text = m_document.GetText();
    return (removed.m_begin == 0 || text[removed.m_begin - 1] == '\n') && text[removed.m_end - 1] == '\n';
}

Document Removals::Take() const
{
    const std::string_view before = m_document.GetText();
    std::string text;
    std::size_t at = 0;
    for (const auto& [begin, removed] : m_removed)
    {
        text += before.substr(at, begin - at);
        at = removed.m_end;
        text += Apart(text, {}, before.substr(at));
    }
    text += before.substr(at);
    Document changed = Document::Parse(std::move(text));
    const Subject after(m_places.GetReading(), changed);
    return changed;
}

} // namespace kelm::editing
