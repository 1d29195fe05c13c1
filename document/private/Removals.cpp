#include <kelmDocument/private/Removals.h>

#include <string>
#include <utility>

namespace kelm::editing
{

bool Removals::TryAdd(std::string_view path)
{
    OncePlaces::Place place{};
    if (!m_places.TryFind(path, place) || place.m_contents == nullptr || !place.m_isApart)
        return false;
    const Span item = place.GetItems()[place.m_index].m_span;
    const auto within = m_leavings.lower_bound(item.m_begin);
    if (within != m_leavings.end() && within->first < item.m_end)
        return false;
    m_leavings.try_emplace(place.GetBrackets().m_span.m_begin, m_document).first->second.Remove(place);
    place.TakeOut();
    return true;
}

std::optional<Document> Removals::TryTake() const
{
    std::map<std::size_t, std::pair<std::size_t, std::string_view>> changes; // by where they begin
    for (const auto& [brackets, leavings] : m_leavings)
        leavings.ForEachChange([&](Span span, std::string_view text)
                               { changes.try_emplace(span.m_begin, span.m_end, text); });
    const std::string_view before = m_document.GetText();
    std::string text;
    std::size_t at = 0;
    for (const auto& [begin, change] : changes)
    {
        text += before.substr(at, begin - at);
        text += change.second;
        at = change.first;
    }
    text += before.substr(at);
    Document changed = Document::Parse(std::move(text));
    const Subject after(m_places.GetReading(), changed);
    return changed;
}

} // namespace kelm::editing
