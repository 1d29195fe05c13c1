#include <kelmDocument/private/Updater.h>

#include <kelmDocument/private/Locate.h>
#include <kelmDocument/private/Matching.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/values/Variable.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/StackSegment.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

// Items that are put in or taken out make the text behind them move: where it would be more octets, a list or map is
// written anew.
constexpr std::size_t s_mostOctets = std::size_t{1} << 33;

// A value that is longer is laid out over several lines.
constexpr std::size_t s_longestLine = 100;

Spot SpotOf(const ReflectionByteCode& type, void* data)
{
    return {.m_kind = SpotKind::Target, .m_type = Underlying(type), .m_data = data, .m_isRuled = true};
}

// Of a list of a fixed size.
ReflectionByteCode TypeOfElement(const Spot& list, ssize_t index)
{
    return list.GetVariableKind() == VK_FOREIGN ? list.m_type.GetForeignType().GetElementType(index)
                                                : list.GetElementType();
}

bool IsRequired(const ReflectedClass& rc, std::string_view name)
{
    const ClassModel model = FindClassModel(rc);
    if (model.m_class == nullptr || model.m_class->m_rules == nullptr)
        return false;
    for (ssize_t i = 0; i < GetModelFieldCount(*model.m_class); ++i)
        if (model.m_class->m_modelFields[i].m_name == name)
            return model.m_class->m_rules[i].m_isRequired;
    return false;
}

int32 IndexOf(const void* variant)
{
    int32 index = 0;
    std::memcpy(&index, variant, sizeof index);
    return index;
}

// The object of a handle or a persistent reference.
ptr<IObject> ObjectOf(const Spot& spot)
{
    return spot.GetVariableKind() == VK_PREF ? ptr<IObject>(static_cast<const prefbase*>(spot.m_data)->Get())
                                             : *static_cast<const ptr<IObject>*>(spot.m_data);
}

// Behind an item that has been put behind the others.
ItemPlace NextPlace(const Document& document, std::size_t begin, const ItemPlace& place)
{
    const std::size_t index = place.m_index + 1;
    if (index < ItemPlace::s_numBefore)
        return index;
    const Part brackets = PartAt(document, begin);
    ItemWalk walk = place.m_lead != 0 ? ItemWalk(document, brackets, place.m_lead) : ItemWalk(document, brackets);
    Item item;
    walk.Next(item);
    if (place.m_lead != 0)
        walk.Next(item);
    return {index, item.m_span.m_begin};
}

// Members that tell an element from others.
bool IsName(std::string_view member)
{
    constexpr std::string_view names[] = {"id", "key", "name", "uuid"};
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view name)
                       {
                           return std::equal(member.begin(), member.end(), name.begin(), name.end(),
                                             [](char a, char b) { return (a | ('a' ^ 'A')) == b; });
                       });
}

// The members of elements, to be compared.
class ElementMembers
{
public:
    explicit ElementMembers(std::span<const std::string_view> elements)
        : m_elements(elements), m_members(elements.size())
    {
    }

    // What tells it from others: its class with a member that is called so, or else with the first one, if that is no
    // class, list or map.
    std::string_view IdentityOf(std::size_t i) { return Of(i).m_identity; }

    std::size_t CountCommon(std::size_t i, ElementMembers& others, std::size_t j)
    {
        const std::set<std::string_view>& other = others.Of(j).m_written;
        const std::set<std::string_view>& own = Of(i).m_written;
        return static_cast<std::size_t>(
            std::count_if(own.begin(), own.end(), [&](std::string_view member) { return other.contains(member); }));
    }

private:
    struct Members
    {
        std::set<std::string_view> m_written;
        std::string m_identity;
    };

    const Members& Of(std::size_t i)
    {
        if (m_members[i])
            return *m_members[i];
        Members& members = m_members[i].emplace();
        const std::string_view element = m_elements[i];
        const Document document = Document::Parse(std::string(element));
        const std::optional<Part> brackets = BracketsOf(document, {0, element.size()});
        if (!brackets)
            return members;
        const std::vector<Item> items = ItemsOf(document, *brackets);
        for (const Item& item : items)
            members.m_written.insert(item.m_span.In(element));
        auto named =
            std::find_if(items.begin(), items.end(), [&](const Item& item) { return IsName(item.m_name.In(element)); });
        if (named == items.end())
            named = items.begin();
        if (named != items.end() && !named->m_name.IsEmpty() && !BracketsOf(document, named->m_value))
            members.m_identity =
                std::string(element.substr(0, brackets->m_span.m_begin + 1)).append(named->m_span.In(element));
        return members;
    }

    std::span<const std::string_view> m_elements;
    std::vector<std::optional<Members>> m_members; // of those that were asked for
};

} // namespace

bool Updater::AreEqual(const ReflectionByteCode& type, const void* a, const void* b) const
{
    const std::optional<std::string> written = m_reading.Written(type, a);
    const std::optional<std::string> other = m_reading.Written(type, b);
    return written == other;
}

Updater::Pieces Updater::PiecesOf(const ReflectionByteCode& type, const void* data) const
{
    Pieces pieces{m_reading.Written(type, data).value_or("[]"), {}};
    const Document document = Document::Parse(pieces.m_text);
    pieces.m_items = ItemsOf(document, PartAt(document, 0));
    return pieces;
}

// The brackets of a value that has some.
Part Updater::Brackets(Span value) const
{
    return *BracketsOf(m_document, value);
}

// --- Values ----------------------------------------------------------------------------------------------------------

void Updater::Update(Span value, const ReflectionByteCode& type, void* before, void* after)
{
    if (IsStackLow()) // objects hold objects
        return CallOnFreshSegment([&] { Update(value, type, before, after); });
    if (AreEqual(type, before, after))
        return;
    const Spot from = SpotOf(type, before);
    const Spot to = SpotOf(type, after);
    switch (from.GetVariableKind())
    {
    case VK_CLASS: return UpdateBody(value, *from.GetClass(), static_cast<char*>(before), static_cast<char*>(after));
    case VK_ARRAY: return UpdateFixedList(value, from, to);
    case VK_VECTOR: return UpdateList(value, from, to);
    case VK_MAP: return UpdateMap(value, from, to);
    case VK_VARIANT: return UpdateVariant(value, from, to);
    case VK_HANDLE:
    case VK_PREF: return UpdateObject(value, ObjectOf(from), ObjectOf(to));
    case VK_FOREIGN: break;
    default: return Replace(value, type, after);
    }
    switch (from.m_type.GetForeignType().GetForm())
    {
    case FF_TEXT: return Replace(value, type, after);
    case FF_LIST: return from.IsFixedList() ? UpdateFixedList(value, from, to) : UpdateList(value, from, to);
    case FF_MAP: return UpdateMap(value, from, to);
    case FF_CHOICE: return UpdateChoice(value, from, to);
    }
}

void Updater::UpdateObject(Span value, const ptr<IObject>& before, const ptr<IObject>& after)
{
    if (before && after && before.GetReflectedClass() == after.GetReflectedClass())
        return UpdateBody(value, *after.GetReflectedClass(), static_cast<char*>(before.self()),
                          static_cast<char*>(after.self()));
    m_layout.ReplaceValue(value, LaidOut(NewObject(after), value.m_begin, false));
}

// A class's members: those that are written, from the last one, and then others that differ from what creation gives.
void Updater::UpdateBody(Span value, const ReflectedClass& rc, char* before, char* after)
{
    const std::vector<MemberField> members = MembersOf(rc);
    const std::vector<std::string_view> names = NamesOf(members);
    // A persistent reference that becomes none is left out, since no text says that.
    const auto isLeftOut = [&](const MemberField& member)
    {
        const Spot from = SpotOf(member.m_type, before + member.m_offset);
        const Spot to = SpotOf(member.m_type, after + member.m_offset);
        return from.GetVariableKind() == VK_PREF && !ObjectOf(to) && ObjectOf(from);
    };
    std::vector<bool> isWritten(members.size(), false);
    const std::size_t size = m_document.GetText().size();
    if (std::optional<Part> brackets = BracketsOf(m_document, value))
    {
        if (brackets->m_token == TOKEN_LEFT_PAREN && std::any_of(members.begin(), members.end(), isLeftOut))
        {
            m_layout.NameItems(*brackets, names);
            brackets = PartAt(m_document, brackets->m_span.m_begin);
        }
        const std::vector<Item> items = ItemsOf(m_document, *brackets);
        for (std::size_t i = items.size(); i-- > 0;)
        {
            const std::string_view name = items[i].m_name.In(m_document.GetText());
            const auto found = brackets->m_token == TOKEN_LEFT_PAREN ? names.begin() + static_cast<std::ptrdiff_t>(i)
                                                                     : std::find(names.begin(), names.end(), name);
            if (found == names.end()) // a member that was passed over
                continue;
            const auto index = static_cast<std::size_t>(found - names.begin());
            const MemberField& member = members[index];
            isWritten[index] = true;
            if (isLeftOut(member))
                m_layout.RemoveItem(PartAt(m_document, brackets->m_span.m_begin), i);
            else
                Update(items[i].m_value, member.m_type, before + member.m_offset, after + member.m_offset);
        }
    }
    for (std::size_t i = 0; i < members.size(); ++i)
    {
        const MemberField& member = members[i];
        if (isWritten[i] || AreEqual(member.m_type, before + member.m_offset, after + member.m_offset))
            continue;
        const std::size_t grown = m_document.GetText().size() - size; // or shrunk, which wraps as it should
        const std::string text = NewText(member.m_type, before + member.m_offset, after + member.m_offset);
        m_layout.InsertMember({value.m_begin, value.m_end + grown}, names,
                              {.m_name = std::string(member.m_name), .m_text = LaidOut(text, value.m_begin, true)});
    }
}

void Updater::UpdateFixedList(Span value, const Spot& before, const Spot& after)
{
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    for (std::size_t i = items.size(); i-- > 0;)
    {
        const auto index = static_cast<ssize_t>(i);
        Update(items[i].m_value, TypeOfElement(before, index), before.GetElement(index), after.GetElement(index));
    }
}

// --- Lists and maps --------------------------------------------------------------------------------------------------

bool Updater::IsTooMuch(std::size_t numMoved) const
{
    return numMoved > s_mostOctets / (m_document.GetText().size() + 1);
}

// What goes, and what changes where it is, from the last element on; and then what comes.
void Updater::UpdateList(Span value, const Spot& before, const Spot& after)
{
    const Pieces from = PiecesOf(before.m_type, before.m_data);
    const Pieces to = PiecesOf(after.m_type, after.m_data);
    const std::size_t begin = Brackets(value).m_span.m_begin;
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    const std::vector<std::string_view> a = from.Elements();
    const std::vector<std::string_view> b = to.Elements();
    if (items.size() != a.size())
        return Replace(value, after.m_type, after.m_data);
    ElementMembers membersOfA(a);
    ElementMembers membersOfB(b);
    const auto likeness = [&](std::size_t i, std::size_t j) { return membersOfA.CountCommon(i, membersOfB, j); };
    const auto identity = [&](Side side, std::size_t i)
    { return (side == Side::Before ? membersOfA : membersOfB).IdentityOf(i); };
    // What a person gave it: comments, another form of its value.
    const auto isMoved = [&](std::size_t i)
    {
        const NewItem item = m_layout.GetItem(Brackets(value), {i, items});
        return !item.m_above.empty() || !item.m_behind.empty() || item.m_text != a[i];
    };
    const std::vector<MatchStep> steps = Match(a, b, {likeness, identity, isMoved});
    const auto numMoved =
        std::count_if(steps.begin(), steps.end(),
                      [](const MatchStep& step) { return step.m_step != Step::Keep && step.m_step != Step::Change; });
    if (IsTooMuch(static_cast<std::size_t>(numMoved)))
        return Replace(value, after.m_type, after.m_data);

    const ReflectionByteCode type = before.GetElementType();
    std::map<std::size_t, NewItem> moved; // by where they are put
    std::size_t numLeft = 0;
    for (std::size_t n = steps.size(); n-- > 0;)
    {
        const MatchStep& step = steps[n];
        const auto i = static_cast<ssize_t>(step.m_before);
        switch (step.m_step)
        {
        case Step::Keep: ++numLeft; break;
        case Step::Change:
            ++numLeft;
            if (void* const element = before.GetElement(i))
                Update(items[step.m_before].m_value, type, element,
                       after.GetElement(static_cast<ssize_t>(step.m_after)));
            else
                m_layout.ReplaceValue(items[step.m_before].m_value, b[step.m_after]);
            break;
        case Step::Take:
            if (void* const element = before.GetElement(i); element != nullptr && a[step.m_before] != b[step.m_after])
                Update(items[step.m_before].m_value, type, element,
                       after.GetElement(static_cast<ssize_t>(step.m_after)));
            moved.emplace(step.m_after, m_layout.GetItem(PartAt(m_document, begin), {step.m_before, items}));
            [[fallthrough]];
        case Step::Remove: m_layout.RemoveItem(PartAt(m_document, begin), {step.m_before, items}); break;
        case Step::Put:
        case Step::Insert: break;
        }
    }
    const std::vector<Item> left = ItemsOf(m_document, PartAt(m_document, begin));
    for (std::size_t n = steps.size(); n-- > 0;)
    {
        const MatchStep& step = steps[n];
        const bool isMovedHere = step.m_step == Step::Put;
        if (step.m_step == Step::Keep || step.m_step == Step::Change)
            --numLeft;
        else if (isMovedHere || step.m_step == Step::Insert)
            m_layout.InsertItem(PartAt(m_document, begin), {numLeft, left},
                                isMovedHere
                                    ? moved[step.m_after]
                                    : NewItem{.m_text = LaidOut(ElementText(after, step.m_after, b[step.m_after]),
                                                                value.m_begin, true)});
    }
}

// Entries by their keys; of several with one key the last one holds. New ones come behind.
void Updater::UpdateMap(Span value, const Spot& before, const Spot& after)
{
    const std::size_t begin = Brackets(value).m_span.m_begin;
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    const Pieces to = PiecesOf(after.m_type, after.m_data);
    const bool isSet = before.IsSet();
    const ReflectionByteCode keyType = before.GetKeyType();
    std::vector<std::string> keys;
    std::size_t numMoved = 0;
    for (const Item& item : items)
    {
        const Variable key(keyType);
        ReadKey((isSet ? item.m_value : item.m_key).In(m_document.GetText()), keyType, key.Get());
        keys.push_back(m_reading.Written(keyType, key.Get()).value_or(std::string()));
        numMoved += after.FindPayload(after.m_data, key.Get()) == nullptr ? 1U : 0U;
    }
    std::set<std::string_view> written(keys.begin(), keys.end());
    std::vector<std::size_t> added;
    for (std::size_t i = 0; i < to.m_items.size(); ++i)
        if (!written.contains(isSet ? to.Element(i) : to.Key(i)))
            added.push_back(i);
    if (IsTooMuch(numMoved + added.size()))
        return Replace(value, after.m_type, after.m_data);

    for (std::size_t i = items.size(); i-- > 0;)
    {
        const Variable key(keyType);
        ReadKey(keys[i], keyType, key.Get());
        void* const payload = after.FindPayload(after.m_data, key.Get());
        if (payload == nullptr)
            m_layout.RemoveItem(PartAt(m_document, begin), {i, items});
        else if (written.erase(keys[i]) > 0 && !isSet)
            Update(items[i].m_value, before.GetPayloadType(), before.FindPayload(before.m_data, key.Get()), payload);
    }
    if (added.empty())
        return;
    const std::vector<Item> left = ItemsOf(m_document, PartAt(m_document, begin));
    ItemPlace place(left.size(), left);
    for (const std::size_t i : added)
    {
        const std::string text = isSet ? Spaced(std::string(to.Element(i))) : EntryText(after, to, i);
        m_layout.InsertItem(PartAt(m_document, begin), place, {.m_text = LaidOut(text, value.m_begin, true)});
        place = NextPlace(m_document, begin, place);
    }
}

void Updater::ReadKey(std::string_view text, const ReflectionByteCode& type, void* key) const
{
    m_reading.ReadValue(s_textName, text, type, key);
}

// --- Choices ---------------------------------------------------------------------------------------------------------

void Updater::UpdateChoice(Span value, const Spot& before, const Spot& after)
{
    const ForeignType& type = before.m_type.GetForeignType();
    const int32 index = type.m_choice->GetIndex(before.m_data);
    if (index < 0 || index != type.m_choice->GetIndex(after.m_data))
        return Replace(value, after.m_type, after.m_data);
    Update(type.IsOptional() ? value : BehindName(m_document, value), type.GetPartType(index),
           type.m_choice->GetValue(before.m_data), type.m_choice->GetValue(after.m_data));
}

void Updater::UpdateVariant(Span value, const Spot& before, const Spot& after)
{
    const ReflectedVariant& rv = *before.m_type.GetReflectedVariant();
    const int32 index = IndexOf(before.m_data);
    if (index != IndexOf(after.m_data))
        return Replace(value, after.m_type, after.m_data);
    const ReflectedField& field = rv.m_fields[index];
    Update(BehindName(m_document, value), {field.m_bc, rv.m_stringTable, nullptr},
           static_cast<char*>(before.m_data) + field.m_offset, static_cast<char*>(after.m_data) + field.m_offset);
}

// --- New texts -------------------------------------------------------------------------------------------------------

void Updater::Replace(Span value, const ReflectionByteCode& type, void* after)
{
    const Variable fresh(type);
    m_layout.ReplaceValue(value, LaidOut(NewText(type, fresh.Get(), after), value.m_begin, false));
}

std::string Updater::ElementText(const Spot& list, std::size_t index, std::string_view written) const
{
    void* const element = list.GetElement(static_cast<ssize_t>(index));
    if (element == nullptr)
        return std::string(written);
    const Variable fresh(list.GetElementType());
    return NewText(list.GetElementType(), fresh.Get(), element);
}

// Which is read over what is there.
std::string Updater::FixedElementText(const Spot& fresh, const Spot& list, std::size_t index) const
{
    const auto i = static_cast<ssize_t>(index);
    return NewText(TypeOfElement(list, i), fresh.GetElement(i), list.GetElement(i));
}

// A key and what is under it, which is read into what is new.
std::string Updater::EntryText(const Spot& map, const Pieces& pieces, std::size_t index) const
{
    const Variable key(map.GetKeyType());
    ReadKey(pieces.Key(index), map.GetKeyType(), key.Get());
    const Variable fresh(map.GetPayloadType());
    return Spaced(std::string(pieces.Key(index))) + " -> " +
           NewText(map.GetPayloadType(), fresh.Get(), map.FindPayload(map.m_data, key.Get()));
}

// As short as people write it: of classes the members that differ from what is there before the text is read.
std::string Updater::NewText(const ReflectionByteCode& type, void* fresh, void* data) const
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return NewText(type, fresh, data); });
    const Spot spot = SpotOf(type, data);
    switch (spot.GetVariableKind())
    {
    case VK_CLASS: return NewBody(*spot.GetClass(), static_cast<char*>(fresh), static_cast<char*>(data));
    case VK_HANDLE:
    case VK_PREF: return NewObject(ObjectOf(spot));
    case VK_VARIANT:
    {
        const ReflectedVariant& rv = *spot.m_type.GetReflectedVariant();
        const ReflectedField& field = rv.m_fields[IndexOf(data)];
        return NewAlternative(spot, {field.m_bc, rv.m_stringTable, nullptr}, static_cast<char*>(data) + field.m_offset);
    }
    default: break;
    }
    if (spot.IsForeign(FF_CHOICE))
    {
        const ForeignType& foreign = spot.m_type.GetForeignType();
        if (const int32 index = foreign.m_choice->GetIndex(data); index >= 0)
            return NewAlternative(spot, foreign.GetPartType(index), foreign.m_choice->GetValue(data));
    }
    const bool isList = spot.IsList();
    if (!isList && !spot.IsMap())
        return Spaced(m_reading.Written(type, data).value_or(std::string()));
    const Pieces pieces = PiecesOf(type, data);
    const Spot made = SpotOf(type, fresh);
    std::string text = "[";
    for (std::size_t i = 0; i < pieces.m_items.size(); ++i)
    {
        text += i > 0 ? ", " : "";
        if (spot.IsFixedList())
            text += FixedElementText(made, spot, i);
        else if (isList)
            text += ElementText(spot, i, pieces.Element(i));
        else
            text += spot.IsSet() ? Spaced(std::string(pieces.Element(i))) : EntryText(spot, pieces, i);
    }
    return text + "]";
}

// Of a variant, behind the alternative's name; of an optional, alone.
std::string Updater::NewAlternative(const Spot& choice, const ReflectionByteCode& type, void* value) const
{
    const Document written = Document::Parse(m_reading.Written(choice.m_type, choice.m_data).value_or(std::string()));
    const bool isOptional = choice.IsForeign(FF_CHOICE) && choice.m_type.GetForeignType().IsOptional();
    const Span all{0, written.GetText().size()};
    const std::string_view name = written.GetText().substr(0, isOptional ? 0 : BehindName(written, all).m_begin);
    const Variable fresh(type);
    const std::string text = NewText(type, fresh.Get(), value);
    return std::string(name) + (name.empty() || name.ends_with(' ') || text.empty() ? "" : " ") + text;
}

std::string Updater::NewObject(const ptr<IObject>& object) const
{
    const ReflectedClass* const rc = object ? object.GetReflectedClass() : nullptr;
    if (rc == nullptr || rc->m_createFn == nullptr)
        return Spaced(m_reading.Written(object).value_or("null"));
    const GcRoot fresh(rc->m_createFn());
    RegisterGcObject(fresh.get());
    const std::string body = NewBody(*rc, static_cast<char*>(fresh.get().self()), static_cast<char*>(object.self()));
    return rc->m_name + (body == "{}" ? std::string() : " " + body);
}

std::string Updater::NewBody(const ReflectedClass& rc, char* fresh, char* data) const
{
    std::string text = "{";
    for (const MemberField& member : MembersOf(rc))
    {
        char* const before = fresh + member.m_offset;
        char* const after = data + member.m_offset;
        if (IsRequired(rc, member.m_name) || !AreEqual(member.m_type, before, after))
            text += " " + std::string(member.m_name) + " = " + NewText(member.m_type, before, after);
    }
    return text + (text.size() > 1 ? " }" : "}");
}

namespace
{

// Items on lines of their own, where they are too long together.
std::string OverLines(const std::string& text, const std::string& indent, const std::string& newLine)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return OverLines(text, indent, newLine); });
    const Document document = Document::Parse(text);
    const std::optional<Part> brackets = BracketsOf(document, {0, text.size()});
    const std::vector<Item> items = brackets ? ItemsOf(document, *brackets) : std::vector<Item>();
    if (indent.size() + text.size() <= s_longestLine || items.empty())
        return text;
    const std::string inner = indent + "    ";
    std::string lines = text.substr(0, brackets->m_span.m_begin + 1);
    for (const Item& item : items)
        lines += newLine + inner + OverLines(std::string(item.m_span.In(text)), inner, newLine) +
                 (item.m_separator.IsEmpty() ? "" : ",");
    return lines + newLine + indent + text.substr(brackets->m_span.m_end - 1);
}

} // namespace

// For a place in a line, or as an item in the brackets of the value there.
std::string Updater::LaidOut(std::string text, std::size_t place, bool isItem) const
{
    if (text.size() <= s_longestLine / 2)
        return text;
    const std::string indent = m_layout.IndentAt(place) + (isItem ? "    " : "");
    return OverLines(text, indent, m_layout.NewLine());
}

} // namespace kelm::editing
