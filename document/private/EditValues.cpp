// Edits of values: Set, Add, and what both need.

#include <kelmDocument/private/Edit.h>

#include <kelm/Error.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/StableSort.h>
#include <klUtils/StackSegment.h>

#include <algorithm>
#include <map>
#include <utility>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

// Whether a value says all of a variable of that type, whatever the variable was before.
bool IsSaidWhole(const Spot& spot)
{
    switch (spot.GetVariableKind())
    {
    case VK_CLASS:
    case VK_ARRAY: return false;
    case VK_VECTOR:
    case VK_MAP: return spot.IsRenewed();
    default: return true;
    }
}

} // namespace

std::string_view WithoutMargins(std::string_view text)
{
    std::size_t begin = text.size();
    std::size_t end = 0;
    for (std::size_t at = 0; at < text.size();)
    {
        const Part part = ScanPart(text, at);
        at = part.m_span.m_end;
        if (part.IsPassed())
            continue;
        begin = std::min(begin, part.m_span.m_begin);
        end = at;
    }
    return begin < end ? text.substr(begin, end - begin) : std::string_view();
}

Edit::Edit(const Document& document, const Reading& reading, std::string_view said)
    : m_document(document), m_said(said), m_saidAlone(WithoutMargins(said)), m_layout(m_document), m_reading(reading)
{
    ReadAgain();
}

Document Edit::Take(std::string_view path)
{
    const Subject after(m_reading, m_document);
    bool isSo = std::all_of(m_checks.begin(), m_checks.end(), [&](const auto& check) { return check(after); });
    if (m_isWholeExpected)
        if (const std::optional<std::string> expected = m_subject->Written())
            isSo = isSo && after.Written().value_or(*expected) == *expected;
    if (!isSo)
        Refuse(path, 0, "no text can say this here: reading would give another value");
    return std::move(m_document);
}

bool Edit::CanRead(std::string_view text, const ReflectionByteCode& type) const
{
    return m_reading.TryReadValue(text, type, Variable(type).Get());
}

// That what is there has that value.
void Edit::ExpectValue(std::string_view path, std::optional<std::string> expected)
{
    if (!expected)
        return;
    m_checks.emplace_back(
        [this, path = std::string(path), expected = std::move(*expected)](const Subject& after)
        {
            const Spot spot = Locate(m_document, after, path, Purpose::Find).back();
            return spot.m_data == nullptr || m_reading.Written(spot.m_type, spot.m_data).value_or(expected) == expected;
        });
}

// That the lists and maps in a class's value are what it says, and hold nothing else that creation gave them.
void Edit::ExpectListsOf(const std::string& path, const Spot& spot, const std::string& text)
{
    const Document value = Document::Parse(text);
    const std::optional<Part> brackets = BracketsOf(value, {0, text.size()});
    if (!brackets || !m_reading.IsExact())
        return;
    const std::vector<MemberField> members = MembersOf(*spot.GetClass());
    const std::vector<Item> items = ItemsOf(value, *brackets);
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        const std::string_view name = items[i].m_name.IsEmpty() ? members[i].m_name : items[i].m_name.In(text);
        const auto member = std::find_if(members.begin(), members.end(),
                                         [&](const MemberField& candidate) { return candidate.m_name == name; });
        const Spot part{.m_kind = SpotKind::Member, .m_type = Underlying(member->m_type)};
        const std::string partPath = path + "." + std::string(name);
        const std::string partText(items[i].m_value.In(text));
        if (part.GetVariableKind() == VK_CLASS)
            ExpectListsOf(partPath, part, partText);
        else if (part.GetVariableKind() == VK_VECTOR || part.GetVariableKind() == VK_MAP)
        {
            const Variable alone(part.m_type);
            ReadValue(partText, part.m_type, alone.Get());
            ExpectValue(partPath, m_reading.Written(part.m_type, alone.Get()));
        }
    }
}

// --- Set -------------------------------------------------------------------------------------------------------------

void Edit::Set(std::string_view path, std::string_view value)
{
    Spots spots = Find(path, Purpose::Set);
    std::string text(WithoutMargins(value));
    const Spot& target = spots.back();
    if (target.m_kind == SpotKind::Whole)
        Refuse(path, path.size(), "the object itself cannot be set: name a member");
    if (target.GetVariableKind() == VK_PREF && text == "null")
        return Remove(path);
    if (target.m_former.empty() && !IsSaidWhole(target))
        return SetComposite(path, text);
    SetWhole(path, std::move(spots), std::move(text));
}

// What its value says all of.
void Edit::SetWhole(std::string_view path, Spots spots, std::string text)
{
    if (!spots.back().m_former.empty()) // another alternative
    {
        const Variable fresh(spots.back().m_type);
        ReadValue(text, spots.back().m_type, fresh.Get());
        text = spots.back().m_name + " " + text;
        spots.pop_back();
    }
    const Spot& target = spots.back();
    if (target.m_data == nullptr)
    {
        const Variable fresh(target.m_type);
        ReadValue(text, target.m_type, fresh.Get());
        return SetText(path, spots, spots.size() - 1, text);
    }
    const std::optional<std::string> before = m_reading.Written(target.m_type, target.m_data);
    if (target.GetVariableKind() == VK_VARIANT) // never keeps what it held
    {
        DestructReflectedVariable(target.m_type, target.m_data);
        ConstructReflectedVariable(target.m_type, target.m_data);
    }
    ReadValue(text, target.m_type, target.m_data);
    const bool isNewKey = target.m_kind == SpotKind::Payload && target.m_mentions.empty();
    if (!isNewKey && before && m_reading.Written(target.m_type, target.m_data) == before)
        return;
    m_isMade = true;
    m_isWholeExpected = true;
    SetText(path, spots, spots.size() - 1, text);
}

// Of a class, and of a list or map that takes what is read in addition to what it has.
void Edit::SetComposite(std::string_view path, const std::string& text)
{
    Spots spots = Find(path, Purpose::Set);
    const ReflectionByteCode type = spots.back().m_type;
    const Variable fresh(type);
    ReadValue(text, type, fresh.Get());
    const std::optional<std::string> wanted = m_reading.Written(type, fresh.Get());
    const EVariableKind kind = spots.back().GetVariableKind();
    const bool isNewKey = spots.back().m_kind == SpotKind::Payload && spots.back().m_mentions.empty();
    const bool isAll = kind == VK_VECTOR || kind == VK_MAP || isNewKey; // which is new with the value
    if (isAll && !isNewKey && wanted && m_reading.Written(type, spots.back().m_data) == wanted)
        return;
    if (spots.back().m_mentions.size() == 1 && spots.back().m_mentions[0].m_value.In(m_document.GetText()) == text)
        return;
    if (spots.back().m_mentions.size() > 1)
    {
        RemoveMentions(path, spots, 1);
        ReadAgain();
        spots = Find(path, Purpose::Set);
    }
    if (isAll)
        ExpectValue(path, wanted);
    else if (kind == VK_CLASS)
        ExpectListsOf(std::string(path), spots.back(), text);
    SetText(path, spots, spots.size() - 1, text);
}

// Gives the i-th spot that value, by whatever has to be written around it.
void Edit::SetText(std::string_view path, const Spots& spots, std::size_t i, const std::string& text)
{
    if (IsStackLow()) // paths have any number of steps
        return CallOnFreshSegment([&] { SetText(path, spots, i, text); });
    const Spot& spot = spots[i];
    if (!spot.m_mentions.empty())
        return m_layout.ReplaceValue(spot.m_mentions.back().m_value, text);
    const Spot& outer = spots[i - 1];
    switch (spot.m_kind)
    {
    case SpotKind::Whole: return;
    case SpotKind::Member:
        if (!outer.m_mentions.empty())
            return PutMember(outer, spot.m_name, text);
        return SetText(path, spots, i - 1, "{ " + spot.m_name + " = " + text + " }");
    case SpotKind::Payload:
        if (outer.IsSet())
            Refuse(path, spot.m_step, s_isMade);
        return PutEntries(path, spots, i - 1, KeyText(outer, spot) + " -> " + text);
    case SpotKind::Element:
        if (outer.GetVariableKind() == VK_VECTOR && !outer.IsRenewed())
            Refuse(path, spot.m_step, s_isMade);
        return WriteOut(path, spots, i - 1);
    case SpotKind::Alternative: return WriteOut(path, spots, i - 1);
    case SpotKind::Target:
        if (!outer.IsForeign(FF_CHOICE))
            Refuse(path, spot.m_step, s_isMade);
        return WriteOut(path, spots, i - 1);
    }
}

// Behind the others of the map that is the i-th spot.
void Edit::PutEntries(std::string_view path, const Spots& spots, std::size_t i, const std::string& entries)
{
    const Spot& map = spots[i];
    if (!map.m_mentions.empty())
    {
        const Part brackets = *BracketsOf(m_document, map.m_mentions.back().m_value);
        return m_layout.InsertItem(brackets, ItemsOf(m_document, brackets).size(), {.m_text = entries});
    }
    // One that is new with what is read must be written with what creation gave it.
    if (!map.IsRenewed() || map.CountEntries() <= 1)
        return SetText(path, spots, i, "[" + entries + "]");
    return WriteOut(path, spots, i);
}

// A key as it is written behind the others of its map. Keys of one map may be read into one variable, where each keeps
// what it does not say itself: then it must say all.
std::string Edit::KeyText(const Spot& map, const Spot& payload) const
{
    const ReflectionByteCode type = map.GetKeyType();
    if (map.IsRenewed() || !Accumulates(type) || map.m_mentions.empty())
        return payload.m_name;
    const Variable wanted(type);
    ReadValue(payload.m_name, type, wanted.Get());
    const Variable key(type);
    const Part brackets = *BracketsOf(m_document, map.m_mentions.back().m_value);
    for (const Item& item : ItemsOf(m_document, brackets))
        ReadValue(item.m_key.In(m_document.GetText()), type, key.Get());
    ReadValue(payload.m_name, type, key.Get());
    const std::optional<std::string> text = m_reading.Written(type, wanted.Get());
    return !text || m_reading.Written(type, key.Get()) == text ? payload.m_name : Spaced(*text);
}

// What is not written yet, and can only be written whole.
void Edit::WriteOut(std::string_view path, const Spots& spots, std::size_t i)
{
    const std::optional<std::string> text =
        m_isMade && spots[i].m_data != nullptr ? m_reading.Written(spots[i].m_type, spots[i].m_data) : std::nullopt;
    if (!text)
        Refuse(path, spots[i].m_step, s_isMade);
    SetText(path, spots, i, Spaced(*text));
}

void Edit::PutMember(const Spot& outer, const std::string& name, const std::string& text)
{
    const std::vector<std::string_view> names = NamesOf(MembersOf(*outer.GetClass()));
    m_layout.InsertMember(outer.m_mentions.back().m_value, names, {.m_name = name, .m_text = text});
}

// --- Add -------------------------------------------------------------------------------------------------------------

void Edit::Add(std::string_view path, std::string_view value)
{
    const Spots spots = Find(path, Purpose::Set);
    const Spot& target = spots.back();
    if (target.m_kind == SpotKind::Whole || !target.m_former.empty() || IsSaidWhole(target))
        return Set(path, value);
    const std::string text(WithoutMargins(value));
    const Variable alone(target.m_type); // what is wrong with the value shows before anything is changed
    ReadValue(text, target.m_type, alone.Get());
    m_isMade = true;
    m_isWholeExpected = true;
    AddTo(std::string(path), text);
}

// Each part of the value to what is there. The object is made to be so, part by part, and is not read again.
void Edit::AddTo(const std::string& path, const std::string& text)
{
    if (IsStackLow()) // maps are within maps
        return CallOnFreshSegment([&] { AddTo(path, text); });
    Spots spots = Find(path, Purpose::Set);
    const Spot target = spots.back();
    if (!target.m_former.empty() || IsSaidWhole(target))
    {
        if (target.GetVariableKind() != VK_PREF || text != "null")
            return SetWhole(path, std::move(spots), text);
        Remove(path);
        DestructReflectedVariable(target.m_type, target.m_data);
        return ConstructReflectedVariable(target.m_type, target.m_data);
    }
    if (target.m_mentions.empty())
    {
        const std::optional<std::string> before = m_reading.Written(target.m_type, target.m_data);
        ReadValue(text, target.m_type, target.m_data);
        const bool isNewKey = target.m_kind == SpotKind::Payload;
        if (isNewKey || !before || m_reading.Written(target.m_type, target.m_data) != before)
            SetText(path, spots, spots.size() - 1, text);
        return;
    }
    if (target.GetVariableKind() == VK_VECTOR)
        return AddElements(spots, text);
    const Document value = Document::Parse(text);
    const std::vector<Item> items = ItemsOf(value, *BracketsOf(value, {0, text.size()}));
    if (target.GetVariableKind() == VK_MAP)
        return AddEntries(path, spots, value, items);
    const bool isArray = target.GetVariableKind() == VK_ARRAY;
    const std::vector<MemberField> members = isArray ? std::vector<MemberField>() : MembersOf(*target.GetClass());
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        const std::string part =
            isArray ? "[" + std::to_string(i) + "]"
                    : "." + std::string(items[i].m_name.IsEmpty() ? members[i].m_name : items[i].m_name.In(text));
        AddTo(path + part, std::string(items[i].m_value.In(text)));
    }
}

void Edit::AddElements(const Spots& spots, const std::string& text)
{
    const Spot& list = spots.back();
    const Document value = Document::Parse(text);
    const std::vector<Item> items = ItemsOf(value, *BracketsOf(value, {0, text.size()}));
    if (items.empty())
        return;
    ReadValue(text, list.m_type, list.m_data);
    const Part brackets = *BracketsOf(m_document, list.m_mentions.back().m_value);
    const Span all{items.front().m_span.m_begin, items.back().m_span.m_end};
    m_layout.InsertItem(brackets, ItemsOf(m_document, brackets).size(), {.m_text = std::string(all.In(text))});
}

// Those under keys that are written, to what is there; all others in one piece behind them.
void Edit::AddEntries(const std::string& path, const Spots& spots, const Document& value, std::span<const Item> items)
{
    const Spot& map = spots.back();
    const ReflectionByteCode keyType = map.GetKeyType();
    const auto readKey = [&](std::string_view text, const Variable& key)
    {
        m_reading.ReadValue("<key>", text, keyType, key.Get());
        return m_reading.Written(keyType, key.Get()).value_or(std::string());
    };
    std::map<std::string, Span> written; // the values of keys
    std::unique_ptr<Variable> last = std::make_unique<Variable>(keyType);
    for (const Mention& mention : map.m_mentions)
    {
        last = std::make_unique<Variable>(keyType);
        for (const Item& item : ItemsOf(m_document, *BracketsOf(m_document, mention.m_value)))
            written[readKey(item.m_key.In(m_document.GetText()), *last)] = item.m_value;
    }
    const Variable said(keyType);
    std::string added;
    std::string made; // the same with whole keys
    struct Change
    {
        Span m_place;
        std::string m_key;
        std::string m_value;
    };
    std::vector<Change> changed;
    for (const Item& item : items)
    {
        const std::string_view keyText = item.m_key.In(value.GetText());
        const std::string key = readKey(keyText, said);
        const std::string text(item.m_value.In(value.GetText()));
        if (const auto place = written.find(key); place != written.end())
        {
            changed.push_back({place->second, key, text});
            continue;
        }
        const bool isSame = readKey(keyText, *last) == key;
        if (!isSame)
            readKey(key, *last);
        const std::string_view separator = added.empty() ? "" : ", ";
        made.append(separator).append(key).append(" -> ").append(text);
        added.append(separator).append(isSame ? std::string(keyText) : Spaced(key)).append(" -> ").append(text);
    }
    if (!added.empty())
    {
        ReadValue("[" + made + "]", map.m_type, map.m_data);
        PutEntries(path, spots, spots.size() - 1, added);
    }
    // From the last one, so that places before it stay.
    StableSort(changed, [](const Change& a, const Change& b) { return a.m_place.m_begin > b.m_place.m_begin; });
    const Spot payload{.m_kind = SpotKind::Payload, .m_type = map.GetPayloadType()};
    for (const Change& change : changed)
    {
        if (!IsSaidWhole(payload))
        {
            AddTo(path + "[" + change.m_key + "]", change.m_value);
            continue;
        }
        const Variable key(keyType);
        readKey(change.m_key, key);
        void* const data = map.FindPayload(map.m_data, key.Get());
        const std::optional<std::string> before = m_reading.Written(payload.m_type, data);
        ReadValue(change.m_value, payload.m_type, data);
        if (!before || m_reading.Written(payload.m_type, data) != before)
            m_layout.ReplaceValue(change.m_place, change.m_value);
    }
}

} // namespace kelm::editing
