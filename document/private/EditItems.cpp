// Edits of what stands in brackets: Remove, Insert, Rename, Move.

#include <kelmDocument/private/Edit.h>

#include <kelm/Error.h>
#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/VectorOfByte.h>

#include <algorithm>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

void MoveBytes(char* first, ssize_t from, ssize_t to, ssize_t size)
{
    if (from < to)
        std::rotate(first + from * size, first + (from + 1) * size, first + (to + 1) * size);
    else
        std::rotate(first + to * size, first + from * size, first + (from + 1) * size);
}

} // namespace

// --- Remove ----------------------------------------------------------------------------------------------------------

void Edit::Remove(std::string_view path)
{
    Spots spots = Find(path, Purpose::Find);
    const SpotKind kind = spots.back().m_kind;
    if (kind == SpotKind::Whole || kind == SpotKind::Alternative)
        Refuse(path, spots.back().m_step, "only members, elements and keys can be removed");
    const Spot& outer = spots[spots.size() - 2];
    if (kind == SpotKind::Element && outer.IsFixedList())
        Refuse(path, spots.back().m_step, "the list has a fixed number of elements");
    if (kind != SpotKind::Member && spots.back().m_mentions.empty())
        Refuse(path, spots.back().m_step, s_isMade);
    ExpectWithout(path, spots);
    RemoveMentions(path, spots, 0);
}

// All but the last ones. From the last of them, so that places before it stay; the spots are found anew where it needs
// to be.
void Edit::RemoveMentions(std::string_view path, Spots& spots, std::size_t numKept)
{
    while (spots.back().m_mentions.size() > numKept)
    {
        std::vector<Mention>& mentions = spots.back().m_mentions;
        const std::size_t i = mentions.size() - 1 - numKept;
        mentions[i].m_brackets = PartAt(m_document, mentions[i].m_brackets.m_span.m_begin);
        const Spot& outer = spots[spots.size() - 2];
        if (spots.back().m_kind == SpotKind::Member && NameIfPositional(outer, mentions[i]))
        {
            ReadAgain();
            spots = Find(path, Purpose::Find);
            continue;
        }
        RemoveMention(outer, spots.back(), mentions[i]);
        mentions.erase(mentions.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

// That the others are as they were.
void Edit::ExpectWithout(std::string_view path, const Spots& spots)
{
    const Spot& outer = spots[spots.size() - 2];
    const Spot& spot = spots.back();
    if (spot.m_kind == SpotKind::Element && outer.GetVariableKind() == VK_VECTOR)
    {
        auto& vector = *static_cast<VectorOfByte*>(outer.m_data);
        const ssize_t size = outer.GetElementType().GetTypeSize();
        MoveBytes(vector.data(), spot.m_index, outer.m_count - 1, size);
        DestructReflectedVariable(outer.GetElementType(), vector.data() + (outer.m_count - 1) * size);
        vector.resize((outer.m_count - 1) * size);
        m_isWholeExpected = true;
    }
    else if (spot.m_kind == SpotKind::Payload && !outer.IsSet())
    {
        const auto erase = [&](const Spot& map)
        {
            const Variable key(map.GetKeyType());
            m_reading.ReadValue("<key>", spot.m_name, map.GetKeyType(), key.Get());
            map.EraseKey(map.m_data, key.Get());
        };
        erase(outer);
        const std::optional<std::string> expected = m_reading.Written(outer.m_type, outer.m_data);
        if (expected)
            m_checks.emplace_back(
                [this, path = std::string(path), expected = *expected, name = spot.m_name](const Subject& after)
                {
                    const Spots chain = Locate(m_document, after, path, Purpose::Set);
                    const Spot& map = chain[chain.size() - 2];
                    const Variable key(map.GetKeyType());
                    m_reading.ReadValue("<key>", name, map.GetKeyType(), key.Get());
                    map.EraseKey(map.m_data, key.Get());
                    return m_reading.Written(map.m_type, map.m_data).value_or(expected) == expected;
                });
    }
}

// Of a class. True where it was positional, and is named now.
bool Edit::NameIfPositional(const Spot& outer, const Mention& mention)
{
    if (mention.m_brackets.m_token != TOKEN_LEFT_PAREN || outer.GetVariableKind() != VK_CLASS)
        return false;
    m_layout.NameItems(mention.m_brackets, NamesOf(MembersOf(*outer.GetClass())));
    return true;
}

void Edit::RemoveMention(const Spot& outer, const Spot& spot, const Mention& mention)
{
    if (spot.m_kind == SpotKind::Payload && !outer.IsRenewed())
        WriteOutNextKey(outer, mention);
    m_layout.RemoveItem(mention.m_brackets, mention.m_place);
}

// The keys of one map are read into one variable: what a key does not mention, it has from the one before.
void Edit::WriteOutNextKey(const Spot& map, const Mention& removed)
{
    const ReflectionByteCode keyType = map.GetKeyType();
    if (!Accumulates(keyType))
        return;
    const Variable with(keyType);
    const Variable without(keyType);
    ItemWalk walk(m_document, removed.m_brackets);
    Item item;
    for (std::size_t i = 0; walk.Next(item); ++i)
    {
        const std::string_view key = item.m_key.In(m_document.GetText());
        m_reading.ReadValue(s_textName, key, keyType, with.Get());
        if (i != removed.m_place.m_index)
            m_reading.ReadValue(s_textName, key, keyType, without.Get());
        if (i <= removed.m_place.m_index)
            continue;
        const std::optional<std::string> text = m_reading.Written(keyType, with.Get());
        if (text && text != m_reading.Written(keyType, without.Get()))
            m_document.Edit(item.m_key, Spaced(*text));
        return;
    }
}

// --- Insert ----------------------------------------------------------------------------------------------------------

void Edit::Insert(std::string_view path, std::string_view value)
{
    const std::string text(WithoutMargins(value));
    const Spots spots = Find(path, Purpose::Insert);
    const Spot& spot = spots.back();
    const bool isEmptyOptional = spot.IsForeign(FF_CHOICE) && spot.m_type.GetForeignType().IsOptional();
    const bool isNewKey =
        spot.m_kind == SpotKind::Payload && spot.m_data == nullptr && !spots[spots.size() - 2].IsSet();
    if (isEmptyOptional || isNewKey)
    {
        // Where a list or set will be, the value is its first element if it can be one.
        const Spot held{.m_kind = SpotKind::Target,
                        .m_type =
                            isEmptyOptional ? Underlying(spot.m_type.GetForeignType().GetPartType(0)) : spot.m_type};
        const bool isList = held.IsList() && !held.IsFixedList();
        if (isList ? CanRead(text, held.GetElementType()) : held.IsSet() && CanRead(text, held.GetKeyType()))
            return Set(path, "[" + text + "]");
        if (isNewKey)
            return Set(path, value);
    }
    if (spot.m_kind == SpotKind::Payload && spot.m_data == nullptr)
        Refuse(path, spot.m_step, s_isMade);
    if (spot.m_kind != SpotKind::Element && spot.IsList())
        return Insert(std::string(path) + "[" + std::to_string(spot.CountElements()) + "]", value);
    const bool isSet = spot.m_kind != SpotKind::Element && spot.IsSet();
    if (spot.m_kind != SpotKind::Element && !isSet)
        Refuse(path, spot.m_kind == SpotKind::Payload ? spot.m_step : path.size(),
               spot.IsMap()                       ? "name the key: [key]"
               : spot.m_kind == SpotKind::Payload ? "the key is there already"
                                                  : "only lists, sets and maps can be added to");
    InsertInto(path, spots, spots.size() - (isSet ? 1 : 2), text);
}

// Into the list or set that is the i-th spot.
void Edit::InsertInto(std::string_view path, const Spots& spots, std::size_t i, const std::string& text)
{
    const Spot& spot = spots.back();
    const Spot& list = spots[i];
    const bool isSet = list.IsSet();
    if (!isSet && list.IsFixedList())
        Refuse(path, spot.m_step, "the list has a fixed number of elements");
    const ReflectionByteCode type = isSet ? list.GetKeyType() : list.GetElementType();
    const Variable fresh(type);
    ReadValue(text, type, fresh.Get());
    if (isSet && list.FindPayload(list.m_data, fresh.Get()) != nullptr)
        Refuse(path, path.size(), "the set has it already");
    ssize_t place = isSet ? 0 : spot.m_index - (list.m_count - list.m_written);
    if (list.m_mentions.empty())
    {
        if (list.IsRenewed() && (isSet ? list.CountEntries() : list.m_count) > 0) // new with what is read
        {
            m_isMade = true;
            WriteOut(path, spots, i);
            ReadAgain();
            return InsertInto(path, Find(path, Purpose::Insert), i, text);
        }
        if (place < 0)
            Refuse(path, spot.m_step, s_isMade);
    }
    if (list.GetVariableKind() == VK_VECTOR)
    {
        if (place < 0)
            Refuse(path, spot.m_step, s_isMade);
        auto& vector = *static_cast<VectorOfByte*>(list.m_data);
        ReadValue(text, type, PushBackDefaultConstructedElementOntoReflectedVector(type, &vector));
        MoveBytes(vector.data(), list.m_count, spot.m_index, type.GetTypeSize());
        m_isWholeExpected = true;
    }
    if (list.m_mentions.empty())
        return SetText(path, spots, i, "[" + text + "]");
    const std::size_t first = list.IsRenewed() ? list.m_mentions.size() - 1 : 0;
    for (std::size_t mention = first; mention < list.m_mentions.size(); ++mention)
    {
        const Part brackets = *BracketsOf(m_document, list.m_mentions[mention].m_value);
        const auto count = static_cast<ssize_t>(ItemsOf(m_document, brackets).size());
        const bool isLast = mention + 1 == list.m_mentions.size();
        if (isSet || place < count || isLast)
            return m_layout.InsertItem(brackets, static_cast<std::size_t>(isSet ? count : place), {.m_text = text});
        place -= count;
    }
}

// --- Rename, Move ----------------------------------------------------------------------------------------------------

void Edit::Rename(std::string_view path, std::string_view name)
{
    const std::string text(WithoutMargins(name));
    RenameTo(path, Find(path, Purpose::Find), text, text, 0);
}

// What cannot be read is the fault of what was said at a place.
void Edit::ReadFor(std::string_view said, std::size_t place, std::string_view text, const ReflectionByteCode& type,
                   void* data) const
{
    try
    {
        ReadValue(text, type, data);
    }
    catch (const Error& e)
    {
        Refuse(said, place, e.GetMessage());
    }
}

// To a name that stands at a place of what was said.
void Edit::RenameTo(std::string_view path, const Spots& spots, const std::string& text, std::string_view said,
                    std::size_t place)
{
    const Spot& spot = spots.back();
    if (spot.m_kind != SpotKind::Payload && spot.m_kind != SpotKind::Member)
        Refuse(path, spot.m_step, "only members and keys can be renamed");
    const Spot& outer = spots[spots.size() - 2];
    if (spot.m_mentions.empty())
        Refuse(path, spot.m_step, s_isMade);
    const bool isKey = spot.m_kind == SpotKind::Payload;
    if (isKey)
    {
        const ReflectionByteCode keyType = outer.GetKeyType();
        if (!outer.IsRenewed() && Accumulates(keyType))
            Refuse(path, spot.m_step, "other keys may depend on this one");
        const Variable key(keyType);
        ReadFor(said, place, text, keyType, key.Get());
        if (outer.FindPayload(outer.m_data, key.Get()) != nullptr)
            Refuse(said, place, "the key " + text + " is there already");
    }
    else
    {
        const std::string other = std::string(path.substr(0, spot.m_step)) + text;
        const Spot target = Find(other, Purpose::Find).back();
        if (target.m_kind != SpotKind::Member || other.find_first_of(".[", spot.m_step) != std::string::npos)
            Refuse(said, place, "a member's name is expected");
        if (!target.m_mentions.empty())
            Refuse(said, place, "the member " + text + " is written already");
        for (const Mention& mention : spot.m_mentions)
        {
            if (mention.m_item.m_name.IsEmpty())
                Refuse(path, spot.m_step, "the member's name is not written");
            const Variable fresh(target.m_type);
            ReadFor(said, place, mention.m_value.In(m_document.GetText()), target.m_type, fresh.Get());
        }
    }
    if (isKey && spot.m_data != nullptr)
        ExpectValue(std::string(path.substr(0, spot.m_step)) + text + "]", m_reading.Written(spot.m_type, spot.m_data));
    for (std::size_t i = spot.m_mentions.size(); i-- > 0;)
    {
        const Item& item = spot.m_mentions[i].m_item;
        m_document.Edit(!isKey ? item.m_name : outer.IsSet() ? item.m_value : item.m_key, text);
    }
}

void Edit::Move(std::string_view from, std::string_view to)
{
    const Spots spots = Find(from, Purpose::Find);
    if (const std::string_view same = from.substr(0, spots.back().m_step);
        spots.back().m_kind != SpotKind::Element && to.starts_with(same))
    {
        std::string_view name = to.substr(same.size());
        if (spots.back().m_kind == SpotKind::Payload && name.ends_with(']'))
            name.remove_suffix(1);
        return RenameTo(from, spots, std::string(WithoutMargins(name)), to, same.size());
    }
    const Spots others = Find(to, Purpose::Find);
    const Spot& spot = spots.back();
    const Spot& other = others.back();
    if (spot.m_kind != SpotKind::Element)
        Refuse(from, spot.m_step, "only elements of lists can be moved");
    const Spot& list = spots[spots.size() - 2];
    if (other.m_kind != SpotKind::Element || others[others.size() - 2].m_data != list.m_data)
        Refuse(to, other.m_step, "an element moves within its list");
    if (spot.m_mentions.empty() || other.m_mentions.empty())
        Refuse(from, spot.m_step, s_isMade);
    const Mention& source = spot.m_mentions.back();
    const Mention& target = other.m_mentions.back();
    if (spot.m_mentions.size() > 1 || source.m_brackets.m_span != target.m_brackets.m_span)
        Refuse(from, spot.m_step, "the list is written several times");
    if (spot.m_index == other.m_index)
        return;
    if (list.GetVariableKind() != VK_FOREIGN)
    {
        char* const first = list.GetVariableKind() == VK_ARRAY ? static_cast<char*>(list.m_data)
                                                               : static_cast<VectorOfByte*>(list.m_data)->data();
        MoveBytes(first, spot.m_index, other.m_index, list.GetElementType().GetTypeSize());
        m_isWholeExpected = true;
    }
    const NewItem item = m_layout.GetItem(source.m_brackets, source.m_place);
    m_layout.RemoveItem(source.m_brackets, source.m_place);
    m_layout.InsertItem(PartAt(m_document, source.m_brackets.m_span.m_begin), target.m_place.m_index, item);
}

} // namespace kelm::editing
