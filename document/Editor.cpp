#include <kelmDocument/Editor.h>

#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/Locate.h>

#include <kelm/private/ErrorOf.h>
#include <kelm/private/Variable.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace kelm
{

namespace editing
{

namespace
{

using evaluation::Variable;

class StringOutput : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

    std::string m_text;
};

// What `write` writes; nothing where it cannot be written.
template <class F>
std::optional<std::string> WrittenBy(const F& write)
{
    StringOutput os;
    try
    {
        write(os);
    }
    catch (const WriteException&)
    {
        return std::nullopt;
    }
    return std::move(os.m_text);
}

std::optional<std::string> Written(const ReflectionByteCode& type, const void* data)
{
    return WrittenBy([&](xostream& os) { WriteVariable(os, type, data); });
}

std::optional<std::string> Written(const ptr<IObject>& object)
{
    return WrittenBy([&](xostream& os) { WriteObject(os, object); });
}

void Read(const Document& document, GcRoot& object)
{
    const SourceText source{s_textName, WithoutByteOrderMark(document.GetText())};
    *Attempt(source, {},
             [&]
             {
                 ExpressionParser parser;
                 parser.Init(source.View());
                 object = ParseDataSource(parser);
             });
}

// From its first token to its last.
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

// Whether a value says all of a variable of that type, whatever the variable was before.
bool IsSaidWhole(const Spot& spot)
{
    switch (spot.GetVariableKind())
    {
    case VK_CLASS:
    case VK_ARRAY:
    case VK_VECTOR:
    case VK_MAP: return false;
    default: return true;
    }
}

// Bytes may be moved.
void Exchange(void* a, void* b, ssize_t size)
{
    std::swap_ranges(static_cast<char*>(a), static_cast<char*>(a) + size, static_cast<char*>(b));
}

void MoveBytes(char* first, ssize_t from, ssize_t to, ssize_t size)
{
    if (from < to)
        std::rotate(first + from * size, first + (from + 1) * size, first + (to + 1) * size);
    else
        std::rotate(first + to * size, first + from * size, first + (from + 1) * size);
}

Part PartAt(const Document& document, std::size_t at)
{
    PartWalk walk(document, {at, document.GetText().size()});
    Part part{};
    walk.Next(part);
    return part;
}

constexpr char s_isMade[] = "it is not written: creation made it, and a text cannot change that";

} // namespace

// One edit of a copy.
class Edit
{
public:
    explicit Edit(const Document& document) : m_document(document), m_layout(m_document) { Read(m_document, m_object); }

    void Set(std::string_view path, std::string_view value);
    void Add(std::string_view path, std::string_view value);
    void Remove(std::string_view path);
    void Insert(std::string_view path, std::string_view value);
    void Rename(std::string_view path, std::string_view name);
    void Move(std::string_view from, std::string_view to);

    // The changed document, which reads as it was to.
    Document Take(std::string_view path)
    {
        GcRoot after;
        Read(m_document, after);
        if (m_check && !m_check(after.get()))
            Refuse(path, 0, "no text can say this here: reading would give another value");
        return std::move(m_document);
    }

private:
    std::vector<Spot> Find(std::string_view path, Purpose purpose) const
    {
        return Locate(m_document, m_object.get(), path, purpose);
    }

    // That the object is in the end what this one is made to be now.
    void ExpectObject()
    {
        if (std::optional<std::string> expected = Written(m_object.get()))
            m_check = [expected = std::move(*expected)](const ptr<IObject>& after)
            { return Written(after).value_or(expected) == expected; };
    }
    // That what is there has that value.
    void ExpectValue(std::string_view path, std::optional<std::string> expected)
    {
        if (expected)
            m_check = [this, path = std::string(path), expected = std::move(*expected)](const ptr<IObject>& after)
            {
                const Spot spot = Locate(m_document, after, path, Purpose::Find).back();
                return spot.m_data == nullptr || Written(spot.m_type, spot.m_data).value_or(expected) == expected;
            };
    }

    void AddParts(std::string_view path, const Spot& target, const std::string& text);
    void SetComposite(std::string_view path, const std::string& text);
    void SetText(std::string_view path, const std::vector<Spot>& spots, std::size_t i, const std::string& text);
    void WriteOut(std::string_view path, const std::vector<Spot>& spots, std::size_t i);
    void PutMember(const Spot& outer, const std::string& name, const std::string& text);
    bool NameIfPositional(const Spot& outer, const Mention& mention);
    void RemoveMention(const Spot& outer, const Spot& spot, const Mention& mention);
    void WriteOutNextKey(const Spot& map, const Mention& removed);
    void ExpectWithout(std::string_view path, const std::vector<Spot>& spots);

    Document m_document;
    Layout m_layout;
    GcRoot m_object; // what the document was read as, and is made to be what is expected
    bool m_isMade = false;
    std::function<bool(const ptr<IObject>&)> m_check;
};

// --- Set -------------------------------------------------------------------------------------------------------------

void Edit::Set(std::string_view path, std::string_view value)
{
    std::vector<Spot> spots = Find(path, Purpose::Set);
    std::string text(WithoutMargins(value));
    if (spots.back().m_kind == SpotKind::Whole)
        Refuse(path, path.size(), "the object itself cannot be set: name a member");
    if (!spots.back().m_former.empty()) // another alternative
    {
        const Variable fresh(spots.back().m_type);
        ReadAll("<value>", text, spots.back().m_type, fresh.Get());
        text = spots.back().m_name + " " + text;
        spots.pop_back();
    }
    const Spot& target = spots.back();
    if (target.GetVariableKind() == VK_PREF && text == "null")
        return Remove(path);
    if (!IsSaidWhole(target))
        return SetComposite(path, text);
    if (target.m_data == nullptr)
    {
        const Variable fresh(target.m_type);
        ReadAll("<value>", text, target.m_type, fresh.Get());
        return SetText(path, spots, spots.size() - 1, text);
    }
    const std::optional<std::string> before = Written(target.m_type, target.m_data);
    if (target.GetVariableKind() == VK_VARIANT) // never keeps what it held
    {
        const Variable fresh(target.m_type);
        ReadAll("<value>", text, target.m_type, fresh.Get());
        Exchange(fresh.Get(), target.m_data, target.m_type.GetTypeSize());
    }
    else
        ReadAll("<value>", text, target.m_type, target.m_data);
    const bool isNewKey = target.m_kind == SpotKind::Payload && target.m_mentions.empty();
    if (!isNewKey && before && Written(target.m_type, target.m_data) == before)
        return;
    m_isMade = true;
    ExpectObject();
    SetText(path, spots, spots.size() - 1, text);
}

// Of a class, list or map that is none of the standard library's, which take what is read in addition to what they
// have.
void Edit::SetComposite(std::string_view path, const std::string& text)
{
    std::vector<Spot> spots = Find(path, Purpose::Set);
    const ReflectionByteCode type = spots.back().m_type;
    const Variable fresh(type);
    ReadAll("<value>", text, type, fresh.Get());
    const std::optional<std::string> wanted = Written(type, fresh.Get());
    const EVariableKind kind = spots.back().GetVariableKind();
    const bool isAll = kind == VK_VECTOR || kind == VK_MAP; // which is new with the value
    const bool isNewKey = spots.back().m_kind == SpotKind::Payload && spots.back().m_mentions.empty();
    if (isAll && !isNewKey && wanted && Written(type, spots.back().m_data) == wanted)
        return;
    if (spots.back().m_mentions.size() == 1 && spots.back().m_mentions[0].m_value.In(m_document.GetText()) == text)
        return;
    while (spots.back().m_mentions.size() > 1)
    {
        if (!NameIfPositional(spots[spots.size() - 2], spots.back().m_mentions.front()))
            RemoveMention(spots[spots.size() - 2], spots.back(), spots.back().m_mentions.front());
        Read(m_document, m_object);
        spots = Find(path, Purpose::Set);
    }
    if (isAll)
        ExpectValue(path, wanted);
    SetText(path, spots, spots.size() - 1, text);
}

// Gives the i-th spot that value, by whatever has to be written around it.
void Edit::SetText(std::string_view path, const std::vector<Spot>& spots, std::size_t i, const std::string& text)
{
    const Spot& spot = spots[i];
    if (!spot.m_mentions.empty())
        return m_layout.ReplaceValue(spot.m_mentions.back().m_value, text);
    const Spot& outer = spots[i - 1];
    const bool isOuterWritten = !outer.m_mentions.empty();
    switch (spot.m_kind)
    {
    case SpotKind::Whole: return;
    case SpotKind::Member:
        if (isOuterWritten)
            return PutMember(outer, spot.m_name, text);
        return SetText(path, spots, i - 1, "{ " + spot.m_name + " = " + text + " }");
    case SpotKind::Payload:
    {
        if (outer.IsSet())
            Refuse(path, spot.m_step, s_isMade);
        const std::string entry = spot.m_name + " -> " + text;
        if (isOuterWritten)
        {
            const Part brackets = *BracketsOf(m_document, outer.m_mentions.back().m_value);
            std::size_t count = 0;
            ItemWalk walk(m_document, brackets);
            for (Item item; walk.Next(item);)
                ++count;
            return m_layout.InsertItem(brackets, count, {.m_text = entry});
        }
        // One of the standard library's is new with what is read.
        const bool isAdded =
            outer.GetVariableKind() == VK_MAP || outer.m_type.GetForeignType().m_map->Count(outer.m_data) <= 1;
        if (isAdded)
            return SetText(path, spots, i - 1, "[" + entry + "]");
        return WriteOut(path, spots, i - 1);
    }
    case SpotKind::Element:
        if (outer.GetVariableKind() == VK_VECTOR)
            Refuse(path, spot.m_step, s_isMade);
        return WriteOut(path, spots, i - 1);
    case SpotKind::Alternative: return WriteOut(path, spots, i - 1);
    case SpotKind::Target:
        if (!outer.IsForeign(FF_CHOICE))
            Refuse(path, spot.m_step, s_isMade);
        return WriteOut(path, spots, i - 1);
    }
}

// What is not written yet, and can only be written whole.
void Edit::WriteOut(std::string_view path, const std::vector<Spot>& spots, std::size_t i)
{
    const std::optional<std::string> text =
        m_isMade && spots[i].m_data != nullptr ? Written(spots[i].m_type, spots[i].m_data) : std::nullopt;
    if (!text)
        Refuse(path, spots[i].m_step, s_isMade);
    SetText(path, spots, i, *text);
}

// Where the declaration has it: behind the nearest one before it, or before the first.
void Edit::PutMember(const Spot& outer, const std::string& name, const std::string& text)
{
    const Span value = outer.m_mentions.back().m_value;
    const std::optional<Part> brackets = BracketsOf(m_document, value);
    if (!brackets)
        return m_document.Edit({value.m_end, value.m_end}, " { " + name + " = " + text + " }");
    const std::vector<MemberField> members = MembersOf(*outer.GetClass());
    const auto indexOf = [&](std::string_view member)
    {
        return std::find_if(members.begin(), members.end(),
                            [&](const MemberField& candidate) { return candidate.m_name == member; }) -
               members.begin();
    };
    const std::ptrdiff_t index = indexOf(name);
    std::ptrdiff_t former = -1;
    std::size_t place = 0;
    std::size_t count = 0;
    ItemWalk walk(m_document, *brackets);
    for (Item item; walk.Next(item);)
    {
        ++count;
        const std::ptrdiff_t other = indexOf(item.m_name.In(m_document.GetText()));
        if (other < index && other >= former)
        {
            former = other;
            place = count;
        }
    }
    m_layout.InsertItem(*brackets, place, {.m_name = name, .m_text = text});
}

// --- Add -------------------------------------------------------------------------------------------------------------

void Edit::Add(std::string_view path, std::string_view value)
{
    const std::vector<Spot> spots = Find(path, Purpose::Set);
    const Spot& target = spots.back();
    if (target.m_kind == SpotKind::Whole || !target.m_former.empty() || IsSaidWhole(target))
        return Set(path, value);
    const std::string text(WithoutMargins(value));
    const Variable alone(target.m_type); // what is wrong with the value shows before anything is changed
    ReadAll("<value>", text, target.m_type, alone.Get());
    ReadAll("<value>", text, target.m_type, target.m_data);
    ExpectObject();
    AddParts(path, target, text);
}

// Each by an edit of its own, but for the elements of a list.
void Edit::AddParts(std::string_view path, const Spot& target, const std::string& text)
{
    const Document value = Document::Parse(text);
    const Part brackets = *BracketsOf(value, {0, text.size()});
    std::vector<Item> items;
    ItemWalk walk(value, brackets);
    for (Item item; walk.Next(item);)
        items.push_back(item);
    if (items.empty())
        return;
    if (target.GetVariableKind() == VK_VECTOR)
    {
        if (target.m_mentions.empty())
        {
            const std::vector<Spot> spots = Find(path, Purpose::Set);
            return SetText(path, spots, spots.size() - 1, text);
        }
        const Part list = *BracketsOf(m_document, target.m_mentions.back().m_value);
        std::size_t count = 0;
        ItemWalk written(m_document, list);
        for (Item item; written.Next(item);)
            ++count;
        const Span all{items.front().m_span.m_begin, items.back().m_span.m_end};
        return m_layout.InsertItem(list, count, {.m_text = std::string(all.In(text))});
    }
    std::vector<MemberField> members;
    if (target.GetVariableKind() == VK_CLASS)
        members = MembersOf(*target.GetClass());
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        std::string part(path);
        if (target.GetVariableKind() == VK_CLASS)
            part.append(".").append(items[i].m_name.IsEmpty() ? members[i].m_name : items[i].m_name.In(text));
        else
            part.append("[")
                .append(items[i].m_key.IsEmpty() ? std::to_string(i) : std::string(items[i].m_key.In(text)))
                .append("]");
        Edit edit(m_document);
        edit.Add(part, items[i].m_value.In(text));
        m_document = edit.Take(part);
    }
}

// --- Remove ----------------------------------------------------------------------------------------------------------

void Edit::Remove(std::string_view path)
{
    std::vector<Spot> spots = Find(path, Purpose::Find);
    const SpotKind kind = spots.back().m_kind;
    if (kind == SpotKind::Whole || kind == SpotKind::Alternative)
        Refuse(path, spots.back().m_step, "only members, elements and keys can be removed");
    const Spot& outer = spots[spots.size() - 2];
    if (kind == SpotKind::Element && outer.IsFixedList())
        Refuse(path, spots.back().m_step, "the list has a fixed number of elements");
    if (kind != SpotKind::Member && spots.back().m_mentions.empty())
        Refuse(path, spots.back().m_step, s_isMade);
    ExpectWithout(path, spots);
    while (!spots.back().m_mentions.empty())
    {
        // From the last one, so that places before it stay.
        Mention mention = spots.back().m_mentions.back();
        mention.m_brackets = PartAt(m_document, mention.m_brackets.m_span.m_begin);
        const bool isNamedNow = kind == SpotKind::Member && NameIfPositional(spots[spots.size() - 2], mention);
        if (isNamedNow)
        {
            Read(m_document, m_object);
            spots = Find(path, Purpose::Find);
            continue;
        }
        RemoveMention(spots[spots.size() - 2], spots.back(), mention);
        spots.back().m_mentions.pop_back();
    }
}

// That the others are as they were.
void Edit::ExpectWithout(std::string_view path, const std::vector<Spot>& spots)
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
        ExpectObject();
    }
    else if (spot.m_kind == SpotKind::Payload && !outer.IsSet())
    {
        const auto erase = [&](const Spot& map)
        {
            const Variable key(map.GetKeyType());
            ReadAll("<key>", spot.m_name, map.GetKeyType(), key.Get());
            map.EraseKey(map.m_data, key.Get());
        };
        erase(outer);
        const std::optional<std::string> expected = Written(outer.m_type, outer.m_data);
        if (expected)
            m_check =
                [this, path = std::string(path), expected = *expected, name = spot.m_name](const ptr<IObject>& after)
            {
                const std::vector<Spot> chain = Locate(m_document, after, path, Purpose::Set);
                const Spot& map = chain[chain.size() - 2];
                const Variable key(map.GetKeyType());
                ReadAll("<key>", name, map.GetKeyType(), key.Get());
                map.EraseKey(map.m_data, key.Get());
                return Written(map.m_type, map.m_data).value_or(expected) == expected;
            };
    }
}

// Of a class. True where it was positional, and is named now.
bool Edit::NameIfPositional(const Spot& outer, const Mention& mention)
{
    if (mention.m_brackets.m_token != TOKEN_LEFT_PAREN || outer.GetVariableKind() != VK_CLASS)
        return false;
    std::vector<std::string_view> names;
    for (const MemberField& member : MembersOf(*outer.GetClass()))
        names.push_back(member.m_name);
    m_layout.NameItems(mention.m_brackets, names);
    return true;
}

void Edit::RemoveMention(const Spot& outer, const Spot& spot, const Mention& mention)
{
    if (spot.m_kind == SpotKind::Payload && outer.GetVariableKind() == VK_MAP)
        WriteOutNextKey(outer, mention);
    m_layout.RemoveItem(mention.m_brackets, mention.m_index);
}

// The keys of one map are read into one variable: what a key does not mention, it has from the one before.
void Edit::WriteOutNextKey(const Spot& map, const Mention& removed)
{
    const ReflectionByteCode keyType = map.GetKeyType();
    if (GetTypeCode(keyType).m_kind != VK_CLASS && GetTypeCode(keyType).m_kind != VK_VECTOR)
        return;
    const Variable with(keyType);
    const Variable without(keyType);
    ItemWalk walk(m_document, removed.m_brackets);
    Item item;
    for (std::size_t i = 0; walk.Next(item); ++i)
    {
        const std::string_view key = item.m_key.In(m_document.GetText());
        ReadAll(s_textName, key, keyType, with.Get());
        if (i != removed.m_index)
            ReadAll(s_textName, key, keyType, without.Get());
        if (i <= removed.m_index)
            continue;
        const std::optional<std::string> text = Written(keyType, with.Get());
        if (text && text != Written(keyType, without.Get()))
            m_document.Edit(item.m_key, *text);
        return;
    }
}

// --- Insert, Rename, Move --------------------------------------------------------------------------------------------

void Edit::Insert(std::string_view path, std::string_view value)
{
    const std::string text(WithoutMargins(value));
    const std::vector<Spot> spots = Find(path, Purpose::Insert);
    const Spot& spot = spots.back();
    if (spot.m_kind == SpotKind::Payload && spot.m_data != nullptr)
        Refuse(path, spot.m_step, "the key is there already");
    if (spot.m_kind == SpotKind::Payload)
        return Set(path, value);
    if (spot.m_kind != SpotKind::Element && spot.IsList())
        return Insert(std::string(path) + "[" + std::to_string(spot.CountElements()) + "]", value);
    const bool isSet = spot.m_kind != SpotKind::Element && spot.IsSet();
    if (spot.m_kind != SpotKind::Element && !isSet)
        Refuse(path, path.size(), spot.IsMap() ? "name the key: [key]" : "only lists, sets and maps can be added to");
    const std::size_t i = spots.size() - (isSet ? 1 : 2);
    const Spot& list = spots[i];
    if (!isSet && list.IsFixedList())
        Refuse(path, spot.m_step, "the list has a fixed number of elements");
    const ReflectionByteCode type = isSet ? list.GetKeyType() : list.GetElementType();
    const Variable fresh(type);
    ReadAll("<value>", text, type, fresh.Get());
    if (isSet && list.FindPayload(list.m_data, fresh.Get()) != nullptr)
        Refuse(path, path.size(), "the set has it already");
    ssize_t place = isSet ? 0 : spot.m_index - (list.m_count - list.m_written);
    if (list.m_mentions.empty())
    {
        const ssize_t count = isSet ? list.m_type.GetForeignType().m_map->Count(list.m_data) : list.m_count;
        if (list.GetVariableKind() == VK_FOREIGN && count > 0) // which is new with what is read
        {
            m_isMade = true;
            WriteOut(path, spots, i);
            Read(m_document, m_object);
            return Insert(path, value);
        }
        if (place < 0)
            Refuse(path, spot.m_step, s_isMade);
    }
    if (list.GetVariableKind() == VK_VECTOR)
    {
        if (place < 0)
            Refuse(path, spot.m_step, s_isMade);
        auto& vector = *static_cast<VectorOfByte*>(list.m_data);
        ReadAll("<value>", text, type, PushBackDefaultConstructedElementOntoReflectedVector(type, &vector));
        MoveBytes(vector.data(), list.m_count, spot.m_index, type.GetTypeSize());
        ExpectObject();
    }
    if (list.m_mentions.empty())
        return SetText(path, spots, i, "[" + text + "]");
    const std::size_t first = list.GetVariableKind() == VK_FOREIGN ? list.m_mentions.size() - 1 : 0;
    for (std::size_t mention = first; mention < list.m_mentions.size(); ++mention)
    {
        const Part brackets = *BracketsOf(m_document, list.m_mentions[mention].m_value);
        ssize_t count = 0;
        ItemWalk walk(m_document, brackets);
        for (Item item; walk.Next(item);)
            ++count;
        const bool isLast = mention + 1 == list.m_mentions.size();
        if (isSet || place < count || isLast)
            return m_layout.InsertItem(brackets, static_cast<std::size_t>(isSet ? count : place), {.m_text = text});
        place -= count;
    }
}

void Edit::Rename(std::string_view path, std::string_view name)
{
    const std::string text(WithoutMargins(name));
    const std::vector<Spot> spots = Find(path, Purpose::Find);
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
        const EVariableKind kind = GetTypeCode(keyType).m_kind;
        if (outer.GetVariableKind() == VK_MAP && (kind == VK_CLASS || kind == VK_VECTOR))
            Refuse(path, spot.m_step, "other keys may depend on this one");
        const Variable key(keyType);
        ReadAll("<value>", text, keyType, key.Get());
        if (outer.FindPayload(outer.m_data, key.Get()) != nullptr)
            Refuse(path, spot.m_step, "the key " + text + " is there already");
    }
    else
    {
        const std::size_t step = spot.m_step;
        const Spot other = Find(std::string(path.substr(0, step)) + text, Purpose::Find).back();
        if (!other.m_mentions.empty())
            Refuse(path, step, "the member " + text + " is written already");
        if (std::any_of(spot.m_mentions.begin(), spot.m_mentions.end(),
                        [](const Mention& mention) { return mention.m_item.m_name.IsEmpty(); }))
            Refuse(path, step, "the member's name is not written");
    }
    if (isKey && spot.m_data != nullptr)
        ExpectValue(std::string(path.substr(0, spot.m_step)) + text + "]", Written(spot.m_type, spot.m_data));
    for (std::size_t i = spot.m_mentions.size(); i-- > 0;)
    {
        const Item& item = spot.m_mentions[i].m_item;
        m_document.Edit(!isKey ? item.m_name : outer.IsSet() ? item.m_value : item.m_key, text);
    }
}

void Edit::Move(std::string_view from, std::string_view to)
{
    const std::vector<Spot> spots = Find(from, Purpose::Find);
    if (const std::string_view same = from.substr(0, spots.back().m_step);
        spots.back().m_kind != SpotKind::Element && to.starts_with(same))
    {
        std::string_view name = to.substr(same.size());
        if (spots.back().m_kind == SpotKind::Payload && name.ends_with(']'))
            name.remove_suffix(1);
        return Rename(from, name);
    }
    const std::vector<Spot> others = Find(to, Purpose::Find);
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
        ExpectObject();
    }
    const NewItem item = m_layout.GetItem(source.m_brackets, source.m_index);
    m_layout.RemoveItem(source.m_brackets, source.m_index);
    m_layout.InsertItem(PartAt(m_document, source.m_brackets.m_span.m_begin), target.m_index, item);
}

} // namespace editing

namespace
{

template <class F>
Result<bool> Change(Document& document, std::string_view path, const F& change)
{
    return Attempt({s_textName, {}}, {},
                   [&]
                   {
                       editing::Edit edit(document);
                       change(edit);
                       Document changed = edit.Take(path);
                       const bool isChanged = changed.GetText() != document.GetText();
                       if (isChanged)
                           document = std::move(changed);
                       return isChanged;
                   });
}

} // namespace

Result<bool> DocumentEditor::Set(std::string_view path, std::string_view value)
{
    return Change(m_document, path, [&](editing::Edit& edit) { edit.Set(path, value); });
}

Result<bool> DocumentEditor::Add(std::string_view path, std::string_view value)
{
    return Change(m_document, path, [&](editing::Edit& edit) { edit.Add(path, value); });
}

Result<bool> DocumentEditor::Remove(std::string_view path)
{
    return Change(m_document, path, [&](editing::Edit& edit) { edit.Remove(path); });
}

Result<bool> DocumentEditor::Insert(std::string_view path, std::string_view value)
{
    return Change(m_document, path, [&](editing::Edit& edit) { edit.Insert(path, value); });
}

Result<bool> DocumentEditor::Rename(std::string_view path, std::string_view name)
{
    return Change(m_document, path, [&](editing::Edit& edit) { edit.Rename(path, name); });
}

Result<bool> DocumentEditor::Move(std::string_view from, std::string_view to)
{
    return Change(m_document, from, [&](editing::Edit& edit) { edit.Move(from, to); });
}

} // namespace kelm
