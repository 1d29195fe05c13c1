#include <kelmDocument/private/Additions.h>

#include <kelmDocument/private/Edit.h>
#include <kelmDocument/private/Layout.h>

#include <kelm/Error.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>

#include <algorithm>
#include <span>
#include <string>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

// Behind the others of the brackets that begin there. What is between two items has to do with the two before, so that
// behind these it is always the same.
void Append(Document& document, std::size_t begin, std::span<const std::string> texts)
{
    const std::size_t numLaidOut = std::min(texts.size(), ItemPlace::s_numBefore + 1);
    for (const std::string& text : texts.first(numLaidOut))
    {
        const Part brackets = PartAt(document, begin);
        const std::vector<Item> items = ItemsOf(document, brackets);
        Layout(document).InsertItem(brackets, {items.size(), items}, {.m_text = text});
    }
    if (numLaidOut == texts.size())
        return;
    const std::vector<Item> items = ItemsOf(document, PartAt(document, begin));
    const std::size_t end = items.back().m_span.m_end;
    const std::string gap(
        Span{items[items.size() - 2].m_span.m_end, items.back().m_span.m_begin}.In(document.GetText()));
    std::string rest;
    for (const std::string& text : texts.subspan(numLaidOut))
        rest += gap + text;
    document.Edit({end, end}, rest);
}

// Under a new key, such a value may be meant to be the first element of what will be there: that is another edit.
bool IsContainer(const Spot& spot)
{
    return spot.IsList() || spot.IsMap() || spot.IsForeign(FF_CHOICE);
}

} // namespace

bool Additions::TryAdd(std::string_view path, std::string_view value)
{
    const std::string_view text = WithoutMargins(value);
    std::string_view outer = path;
    const std::optional<std::string_view> last = OncePlaces::TakeLastBrackets(outer);
    OncePlaces::Place place{};
    std::string item(text);
    bool isPut = false;
    if (m_places.TryFind(path, place)) // before an element that is there, others are put one by one
        isPut = place.m_spot.m_kind != SpotKind::Element && m_places.HasBrackets(place) && TryPut(place.m_spot, text);
    else if (last && m_places.TryFind(outer, place) && m_places.HasBrackets(place))
    {
        const Spot& spot = place.m_spot;
        if (spot.IsList())
            isPut = *last == std::to_string(spot.CountElements()) && TryPut(spot, text);
        else if (spot.IsMap() && !spot.IsSet())
        {
            isPut = TryPutUnder(spot, *last, text);
            item = std::string(*last) + " -> " + item;
        }
    }
    if (isPut)
        m_items[m_places.NoteAdded(place)].push_back(std::move(item));
    return isPut;
}

// Into a list or set.
bool Additions::TryPut(const Spot& container, std::string_view value) const
{
    const bool isSet = container.IsSet();
    const bool isForeign = container.GetVariableKind() == VK_FOREIGN;
    if (container.m_data == nullptr || !(isSet || (container.IsList() && !container.IsFixedList())) ||
        (!isSet && isForeign && container.m_type.GetForeignType().m_list->Append == nullptr))
        return false;
    const Reading& reading = m_places.GetReading();
    const ReflectionByteCode type = isSet ? container.GetKeyType() : container.GetElementType();
    const Variable fresh(type); // what is wrong with the value shows before anything is changed
    if (!reading.TryReadValue(value, type, fresh.Get()))
        return false;
    if (isSet)
    {
        if (container.FindPayload(container.m_data, fresh.Get()) != nullptr)
            return false;
        container.InsertKey(container.m_data, fresh.Get());
        return true;
    }
    void* const element = isForeign ? container.m_type.GetForeignType().m_list->Append(container.m_data)
                                    : PushBackDefaultConstructedElementOntoReflectedVector(type, container.m_data);
    reading.ReadValue(s_textName, value, type, element);
    return true;
}

// Under a key that is new, and says all of itself.
bool Additions::TryPutUnder(const Spot& map, std::string_view key, std::string_view value) const
{
    const Reading& reading = m_places.GetReading();
    const ReflectionByteCode keyType = map.GetKeyType();
    const ReflectionByteCode type = map.GetPayloadType();
    const Variable sought(keyType);
    const Variable fresh(type);
    if (map.m_data == nullptr || WithoutMargins(key) != key ||
        IsContainer({.m_kind = SpotKind::Payload, .m_type = type}) || GetTypeCode(type).m_kind == VK_PREF ||
        (!map.IsRenewed() && Accumulates(keyType)) || !reading.TryReadValue(key, keyType, sought.Get()) ||
        !reading.TryReadValue(value, type, fresh.Get()) || map.FindPayload(map.m_data, sought.Get()) != nullptr)
        return false;
    reading.ReadValue(s_textName, value, type, map.InsertKey(map.m_data, sought.Get()));
    return true;
}

std::optional<Document> Additions::TryTake() const
{
    Document changed = m_document;
    for (const auto& [begin, texts] : m_items)
        Append(changed, begin, texts);
    return m_places.ReadsSo(changed) ? std::optional(std::move(changed)) : std::nullopt;
}

} // namespace kelm::editing
