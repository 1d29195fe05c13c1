#include <kelmDocument/private/Updater.h>

#include <kelmDocument/private/Locate.h>
#include <kelmDocument/private/Matching.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/StackSegment.h>

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

// Items that are put in or taken out make the text behind them move: where it would be more octets, a list or map is
// written anew.
constexpr std::size_t s_mostOctets = std::size_t{1} << 33;

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
    explicit ElementMembers(const Version& list) : m_list(list), m_members(list.Inside().size()) {}

    // What tells it from others: its class with a member that is called so, or else with the first one, if that is no
    // class, list or map.
    std::string_view IdentityOf(std::size_t i) { return Of(i).m_identity; }

    std::size_t CountCommon(std::size_t i, ElementMembers& others, std::size_t j)
    {
        const std::set<Member>& other = others.Of(j).m_written;
        const std::set<Member>& own = Of(i).m_written;
        return static_cast<std::size_t>(
            std::count_if(own.begin(), own.end(), [&](const Member& member) { return other.contains(member); }));
    }

private:
    using Member = std::pair<std::string_view, std::size_t>; // its name, or key, and its value's number
    struct Members
    {
        std::set<Member> m_written;
        std::string m_identity;
    };

    const Members& Of(std::size_t i)
    {
        if (m_members[i])
            return *m_members[i];
        Members& members = m_members[i].emplace();
        const std::string_view text = m_list.m_tree->GetText();
        const Piece& element = m_list.Inside()[i];
        const std::span<const Piece> items = m_list.m_tree->Inside(element);
        for (const Piece& item : items)
            members.m_written.emplace(item.m_head.In(text), item.m_number);
        const bool isClass = !items.empty() && text[element.m_brackets.m_begin] == '{';
        auto named = isClass ? std::find_if(items.begin(), items.end(),
                                            [&](const Piece& item) { return IsName(item.m_head.In(text)); })
                             : items.end();
        if (isClass && named == items.end())
            named = items.begin();
        if (named != items.end() && named->m_brackets.IsEmpty())
            members.m_identity = std::string(Span{element.m_span.m_begin, element.m_brackets.m_begin + 1}.In(text))
                                     .append(named->m_span.In(text));
        return members;
    }

    const Version& m_list;
    std::vector<std::optional<Members>> m_members; // of those that were asked for
};

std::vector<std::size_t> NumbersOf(std::span<const Piece> pieces)
{
    std::vector<std::size_t> numbers(pieces.size());
    std::transform(pieces.begin(), pieces.end(), numbers.begin(), [](const Piece& piece) { return piece.m_number; });
    return numbers;
}

// The key of an entry, the element of a set.
std::string_view KeyOf(const Version& map, std::size_t index)
{
    const Piece& piece = map.Inside()[index];
    return (piece.m_head.IsEmpty() ? piece.m_value : piece.m_head).In(map.m_tree->GetText());
}

std::unordered_map<std::string_view, std::size_t> PlacesOfKeys(const Version& map)
{
    std::unordered_map<std::string_view, std::size_t> places;
    for (std::size_t i = 0; i < map.Inside().size(); ++i)
        places.emplace(KeyOf(map, i), i);
    return places;
}

// What is under a key.
Version PayloadOf(const Version& map, void* payload, const std::unordered_map<std::string_view, std::size_t>& places,
                  std::string_view key)
{
    const ReflectionByteCode type = map.ToSpot().GetPayloadType();
    const auto place = places.find(key);
    return place != places.end() ? map.GetPart(type, payload, place->second) : Version{type, payload};
}

} // namespace

// The brackets of a value that has some.
Part Updater::Brackets(Span value) const
{
    return *BracketsOf(m_document, value);
}

// --- Values ----------------------------------------------------------------------------------------------------------

void Updater::Update(Span value, const ReflectionByteCode& type, void* before, void* after)
{
    PieceTree from;
    PieceTree to;
    UpdateValue(value, m_versions.Write(type, before, from), m_versions.Write(type, after, to));
}

void Updater::UpdateObject(Span value, const ptr<IObject>& before, const ptr<IObject>& after)
{
    PieceTree from;
    PieceTree to;
    UpdateTarget(value, {before, m_versions.Write(before, from)}, {after, m_versions.Write(after, to)});
}

void Updater::UpdateValue(Span value, const Version& before, const Version& after)
{
    if (IsStackLow()) // objects hold objects
        return CallOnFreshSegment([&] { UpdateValue(value, before, after); });
    if (!before.IsKnown() || !after.IsKnown())
        return Update(value, before.m_type, before.m_data, after.m_data);
    if (before.GetNumber() == after.GetNumber())
        return;
    const Spot from = before.ToSpot();
    const Spot to = after.ToSpot();
    switch (from.GetVariableKind())
    {
    case VK_CLASS: return UpdateBody(value, *from.GetClass(), before, after);
    case VK_ARRAY: return UpdateFixedList(value, before, after);
    case VK_VECTOR: return UpdateList(value, before, after);
    case VK_MAP: return UpdateMap(value, before, after);
    case VK_VARIANT: return UpdateChoice(value, before, after);
    case VK_HANDLE:
    case VK_PREF: return UpdateTarget(value, {ObjectOf(from), before}, {ObjectOf(to), after});
    case VK_FOREIGN: break;
    default: return Replace(value, after);
    }
    switch (from.m_type.GetForeignType().GetForm())
    {
    case FF_TEXT: return Replace(value, after);
    case FF_LIST: return from.IsFixedList() ? UpdateFixedList(value, before, after) : UpdateList(value, before, after);
    case FF_MAP: return UpdateMap(value, before, after);
    case FF_CHOICE: return UpdateChoice(value, before, after);
    }
}

void Updater::UpdateTarget(Span value, const Target& before, const Target& after)
{
    const ptr<IObject>& object = after.m_object;
    if (before.m_object && object && before.m_object.GetReflectedClass() == object.GetReflectedClass())
    {
        Version from = before.m_version;
        Version to = after.m_version;
        from.m_data = before.m_object.self();
        to.m_data = object.self();
        return UpdateBody(value, *object.GetReflectedClass(), from, to);
    }
    std::string text;
    m_newText.AppendObject(text, object, after.m_version);
    m_layout.ReplaceValue(value, LaidOut(std::move(text), value.m_begin, false));
}

// A class's members: those that are written, from the last one, and then others that differ from what creation gives.
void Updater::UpdateBody(Span value, const ReflectedClass& rc, const Version& before, const Version& after)
{
    const std::vector<MemberField> members = MembersOf(rc);
    const std::vector<std::string_view> names = NamesOf(members);
    const std::vector<Version> from = before.GetMembers(members);
    const std::vector<Version> to = after.GetMembers(members);
    // A persistent reference that becomes none is left out, since no text says that.
    std::vector<bool> isLeftOut(members.size(), false);
    for (std::size_t i = 0; i < members.size(); ++i)
        isLeftOut[i] = GetTypeCode(Underlying(members[i].m_type)).m_kind == VK_PREF && !ObjectOf(to[i].ToSpot()) &&
                       ObjectOf(from[i].ToSpot());
    std::vector<bool> isWritten(members.size(), false);
    const std::size_t size = m_document.GetText().size();
    if (std::optional<Part> brackets = BracketsOf(m_document, value))
    {
        if (brackets->m_token == TOKEN_LEFT_PAREN && std::count(isLeftOut.begin(), isLeftOut.end(), true) > 0)
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
            isWritten[index] = true;
            if (isLeftOut[index])
                m_layout.RemoveItem(PartAt(m_document, brackets->m_span.m_begin), i);
            else
                UpdateValue(items[i].m_value, from[index], to[index]);
        }
    }
    for (std::size_t i = 0; i < members.size(); ++i)
    {
        if (isWritten[i] || m_versions.AreEqual(from[i], to[i]))
            continue;
        const std::size_t grown = m_document.GetText().size() - size; // or shrunk, which wraps as it should
        std::string text;
        m_newText.Append(text, from[i], to[i]);
        m_layout.InsertMember(
            {value.m_begin, value.m_end + grown}, names,
            {.m_name = std::string(names[i]), .m_text = LaidOut(std::move(text), value.m_begin, true)});
    }
}

void Updater::UpdateFixedList(Span value, const Version& before, const Version& after)
{
    const Spot from = before.ToSpot();
    const Spot to = after.ToSpot();
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    for (std::size_t i = items.size(); i-- > 0;)
    {
        const auto index = static_cast<ssize_t>(i);
        const ReflectionByteCode type = TypeOfElement(from, index);
        UpdateValue(items[i].m_value, before.GetPart(type, from.GetElement(index), i),
                    after.GetPart(type, to.GetElement(index), i));
    }
}

// --- Lists and maps --------------------------------------------------------------------------------------------------

bool Updater::IsTooMuch(std::size_t numMoved) const
{
    return numMoved > s_mostOctets / (m_document.GetText().size() + 1);
}

// What goes, and what changes where it is, from the last element on; and then what comes.
void Updater::UpdateList(Span value, const Version& before, const Version& after)
{
    const Spot from = before.ToSpot();
    const Spot to = after.ToSpot();
    const std::span<const Piece> a = before.Inside();
    const std::span<const Piece> b = after.Inside();
    const std::size_t begin = Brackets(value).m_span.m_begin;
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    if (items.size() != a.size())
        return Replace(value, after);
    ElementMembers membersOfA(before);
    ElementMembers membersOfB(after);
    const auto likeness = [&](std::size_t i, std::size_t j) { return membersOfA.CountCommon(i, membersOfB, j); };
    const auto identity = [&](Side side, std::size_t i)
    { return (side == Side::Before ? membersOfA : membersOfB).IdentityOf(i); };
    // What a person gave it: comments, another form of its value.
    const auto isMoved = [&](std::size_t i)
    {
        const NewItem item = m_layout.GetItem(Brackets(value), {i, items});
        return !item.m_above.empty() || !item.m_behind.empty() ||
               item.m_text != a[i].m_span.In(before.m_tree->GetText());
    };
    const std::vector<MatchStep> steps = Match(NumbersOf(a), NumbersOf(b), {likeness, identity, isMoved});
    const auto numMoved =
        std::count_if(steps.begin(), steps.end(),
                      [](const MatchStep& step) { return step.m_step != Step::Keep && step.m_step != Step::Change; });
    if (IsTooMuch(static_cast<std::size_t>(numMoved)))
        return Replace(value, after);

    const ReflectionByteCode type = from.GetElementType();
    // False where elements have no place in memory.
    const auto updateElement = [&](const MatchStep& step)
    {
        void* const element = from.GetElement(static_cast<ssize_t>(step.m_before));
        if (element != nullptr)
            UpdateValue(items[step.m_before].m_value, before.GetPart(type, element, step.m_before),
                        after.GetPart(type, to.GetElement(static_cast<ssize_t>(step.m_after)), step.m_after));
        return element != nullptr;
    };
    std::map<std::size_t, NewItem> moved; // by where they are put
    std::size_t numLeft = 0;
    for (std::size_t n = steps.size(); n-- > 0;)
    {
        const MatchStep& step = steps[n];
        switch (step.m_step)
        {
        case Step::Keep: ++numLeft; break;
        case Step::Change:
            ++numLeft;
            if (!updateElement(step))
                m_layout.ReplaceValue(items[step.m_before].m_value, b[step.m_after].m_span.In(after.m_tree->GetText()));
            break;
        case Step::Take:
            updateElement(step);
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
        if (step.m_step == Step::Keep || step.m_step == Step::Change)
            --numLeft;
        else if (step.m_step == Step::Put)
            m_layout.InsertItem(PartAt(m_document, begin), {numLeft, left}, moved[step.m_after]);
        else if (step.m_step == Step::Insert)
        {
            std::string text;
            m_newText.AppendElement(text, to, after, step.m_after);
            m_layout.InsertItem(PartAt(m_document, begin), {numLeft, left},
                                {.m_text = LaidOut(std::move(text), value.m_begin, true)});
        }
    }
}

// Entries by their keys; of several with one key the last one holds. New ones come behind.
void Updater::UpdateMap(Span value, const Version& before, const Version& after)
{
    const Spot from = before.ToSpot();
    const Spot to = after.ToSpot();
    const std::size_t begin = Brackets(value).m_span.m_begin;
    const std::vector<Item> items = ItemsOf(m_document, Brackets(value));
    const bool isSet = from.IsSet();
    const ReflectionByteCode keyType = from.GetKeyType();
    std::vector<std::string> keys;
    std::size_t numMoved = 0;
    for (const Item& item : items)
    {
        const Variable key(keyType);
        ReadKey((isSet ? item.m_value : item.m_key).In(m_document.GetText()), keyType, key.Get());
        keys.push_back(m_versions.GetReading().Written(keyType, key.Get()).value_or(std::string()));
        numMoved += to.FindPayload(to.m_data, key.Get()) == nullptr ? 1U : 0U;
    }
    const std::unordered_map<std::string_view, std::size_t> placesBefore = PlacesOfKeys(before);
    const std::unordered_map<std::string_view, std::size_t> placesAfter = PlacesOfKeys(after);
    std::set<std::string_view> written(keys.begin(), keys.end());
    std::vector<std::size_t> added;
    for (std::size_t i = 0; i < after.Inside().size(); ++i)
        if (!written.contains(KeyOf(after, i)))
            added.push_back(i);
    if (IsTooMuch(numMoved + added.size()))
        return Replace(value, after);

    for (std::size_t i = items.size(); i-- > 0;)
    {
        const Variable key(keyType);
        ReadKey(keys[i], keyType, key.Get());
        void* const payload = to.FindPayload(to.m_data, key.Get());
        if (payload == nullptr)
            m_layout.RemoveItem(PartAt(m_document, begin), {i, items});
        else if (written.erase(keys[i]) > 0 && !isSet)
            UpdateValue(items[i].m_value,
                        PayloadOf(before, from.FindPayload(from.m_data, key.Get()), placesBefore, keys[i]),
                        PayloadOf(after, payload, placesAfter, keys[i]));
    }
    if (added.empty())
        return;
    const std::vector<Item> left = ItemsOf(m_document, PartAt(m_document, begin));
    ItemPlace place(left.size(), left);
    for (const std::size_t i : added)
    {
        std::string text;
        m_newText.AppendEntry(text, to, after, i);
        m_layout.InsertItem(PartAt(m_document, begin), place,
                            {.m_text = LaidOut(std::move(text), value.m_begin, true)});
        place = NextPlace(m_document, begin, place);
    }
}

void Updater::ReadKey(std::string_view text, const ReflectionByteCode& type, void* key) const
{
    m_versions.GetReading().ReadValue(s_textName, text, type, key);
}

// What a variant or an optional holds.
void Updater::UpdateChoice(Span value, const Version& before, const Version& after)
{
    const Spot from = before.ToSpot();
    int32 index = 0;
    int32 other = 0;
    Held held;
    Held heldAfter;
    if (!FindHeld(from, index, held) || !FindHeld(after.ToSpot(), other, heldAfter) || index != other)
        return Replace(value, after);
    const bool isOptional = from.IsForeign(FF_CHOICE) && from.m_type.GetForeignType().IsOptional();
    UpdateValue(isOptional ? value : BehindName(m_document, value), before.GetHeld(held.m_type, held.m_data),
                after.GetHeld(heldAfter.m_type, heldAfter.m_data));
}

void Updater::Replace(Span value, const Version& after)
{
    std::string text;
    m_newText.Append(text, after);
    m_layout.ReplaceValue(value, LaidOut(std::move(text), value.m_begin, false));
}

// For a place in a line, or as an item in the brackets of the value there.
std::string Updater::LaidOut(std::string text, std::size_t place, bool isItem) const
{
    if (text.size() <= s_longestLine / 2)
        return text;
    return OverLines(std::move(text), m_layout.IndentAt(place) + (isItem ? "    " : ""), m_layout.NewLine());
}

} // namespace kelm::editing
