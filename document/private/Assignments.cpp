#include <kelmDocument/private/Assignments.h>

#include <kelmDocument/private/Edit.h>

#include <kelm/private/values/Variable.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

bool IsPlain(const Spot& spot)
{
    constexpr EVariableKind kinds[] = {VK_SCALAR, VK_ENUM, VK_STRING8, VK_STRING16};
    return std::find(std::begin(kinds), std::end(kinds), spot.GetVariableKind()) != std::end(kinds) ||
           spot.IsForeign(FF_TEXT);
}

} // namespace

bool Assignments::TryAdd(std::string_view path, std::string_view value)
{
    const std::string_view text = WithoutMargins(value);
    OncePlaces::Place place{};
    if (text.empty() || !m_places.TryFind(path, place) || !IsPlain(place.m_spot) || place.m_spot.m_data == nullptr ||
        HasComments(place.m_value))
        return false;
    // What is replaced again depends on what it was replaced by.
    if (m_replacements.contains(place.m_value.m_begin))
        return false;
    const Reading& reading = m_places.GetReading();
    const Spot& spot = place.m_spot;
    const Variable fresh(spot.m_type); // what is wrong with the value shows before anything is changed
    if (!reading.TryReadValue(text, spot.m_type, fresh.Get()))
        return false;
    const std::optional<std::string> before = reading.Written(spot.m_type, spot.m_data);
    reading.ReadValue(s_textName, text, spot.m_type, spot.m_data);
    if (!before || reading.Written(spot.m_type, spot.m_data) != before)
        m_replacements.try_emplace(place.m_value.m_begin, Replacement{place.m_value, std::string(text)});
    return true;
}

std::optional<Document> Assignments::TryTake() const
{
    const std::string_view before = m_document.GetText();
    std::string text;
    std::size_t at = 0;
    for (const auto& [begin, replacement] : m_replacements)
    {
        text += before.substr(at, begin - at);
        at = replacement.m_value.m_end;
        text += Apart(text, replacement.m_text, before.substr(at));
    }
    text += before.substr(at);
    Document changed = Document::Parse(std::move(text));
    return m_places.ReadsSo(changed) ? std::optional(std::move(changed)) : std::nullopt;
}

// Comments within stay, which takes looking at each.
bool Assignments::HasComments(Span value) const
{
    PartWalk walk(m_document, value);
    for (Part part{}; walk.Next(part);)
        if (part.m_kind == PartKind::Comment)
            return true;
    return false;
}

} // namespace kelm::editing
