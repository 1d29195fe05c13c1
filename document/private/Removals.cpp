#include <kelmDocument/private/Removals.h>

#include <iterator>

namespace kelm::editing
{

bool Removals::TryAdd(std::string_view path)
{
    OncePlaces::Place place{};
    if (!m_places.TryFind(path, place) || place.m_contents == nullptr || !place.m_isApart)
        return false;
    const Item& item = place.GetItems()[place.m_index];
    const Span removed = m_layout.SpanOfItem(place.GetBrackets(), {place.m_index, place.GetItems()});
    if (TouchesOthers(item.m_span, removed) || HasLostItsLine(place))
        return false;
    m_removed.emplace(removed.m_begin, removed);
    place.TakeOut();
    if (place.m_spot.m_kind != SpotKind::Member)
        m_lists.insert_or_assign(place.GetBrackets().m_span.m_begin, place);
    return true;
}

// A comment behind the comma is the item's, too. Of what is the last item by now, the comma has gone: then the comment
// is that of the comma's line.
bool Removals::HasLostItsLine(const OncePlaces::Place& place) const
{
    const Item& item = place.GetItems()[place.m_index];
    if (item.m_separator.IsEmpty() || place.GetLeft().FindLast() != place.m_index)
        return false;
    const Span between{item.m_span.m_end, item.m_separator.m_begin};
    return between.In(m_document.GetText()).find_first_not_of(" \t") != std::string_view::npos;
}

// Behind an item that is the last one now.
void Removals::RemoveCommaOf(const OncePlaces::Place& list)
{
    const Remaining& left = list.GetLeft();
    const std::vector<Item>& items = list.GetItems();
    if (left.Count() == 0 || left.Has(items.size() - 1))
        return;
    if (const Span comma = items[left.FindLast()].m_separator; !comma.IsEmpty())
        m_removed.emplace(comma.m_begin, comma);
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

Document Removals::Take()
{
    for (const auto& [begin, list] : m_lists)
        RemoveCommaOf(list);
    const std::string_view before = m_document.GetText();
    std::string text;
    std::size_t at = 0;
    for (const auto& [begin, removed] : m_removed)
    {
        text += before.substr(at, begin - at);
        at = removed.m_end;
        if (!m_removed.contains(at)) // where more is removed, that comes first
            text += Apart(text, {}, before.substr(at));
    }
    text += before.substr(at);
    Document changed = Document::Parse(std::move(text));
    const Subject after(m_places.GetReading(), changed);
    return changed;
}

} // namespace kelm::editing
