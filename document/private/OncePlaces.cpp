#include <kelmDocument/private/OncePlaces.h>

#include <kelmDocument/private/Locate.h>

#include <kelm/Error.h>
#include <kelm/private/values/Variable.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

// The next step of a path as people nearly always write them: a dot and a name, or what stands in brackets. False at
// anything else.
struct WrittenStep
{
    bool m_isName = false;
    std::string_view m_text;
};
bool TryTakeName(std::string_view path, std::size_t& at, WrittenStep& step)
{
    const std::size_t begin = path[at] == '.' ? at + 1 : at;
    if (begin == path.size())
        return false;
    const Part part = ScanPart(path, begin);
    const std::size_t end = part.m_span.m_end;
    if (!part.Is(TOKEN_IDENTIFIER) || (end < path.size() && path[end] != '.' && path[end] != '['))
        return false;
    step = {true, part.m_span.In(path)};
    at = end;
    return true;
}
bool TryTakeBrackets(std::string_view path, std::size_t& at, WrittenStep& step)
{
    const std::size_t begin = at + 1;
    std::size_t numOpen = 1;
    Part part{};
    for (std::size_t next = begin; numOpen > 0 && next < path.size(); next = part.m_span.m_end)
    {
        part = ScanPart(path, next);
        if (part.m_kind == PartKind::Token)
            numOpen = numOpen + (IsOpeningBracket(part.m_token) ? 1 : 0) - (IsClosingBracket(part.m_token) ? 1 : 0);
    }
    if (numOpen > 0 || !part.Is(TOKEN_RIGHT_SQUARE))
        return false;
    step = {false, Span{begin, part.m_span.m_begin}.In(path)};
    at = part.m_span.m_end;
    return true;
}
bool TryTakeStep(std::string_view path, std::size_t& at, WrittenStep& step)
{
    if (path[at] == '[')
        return TryTakeBrackets(path, at, step);
    return (path[at] == '.' || at == 0) && TryTakeName(path, at, step);
}

} // namespace

bool OncePlaces::TryFind(std::string_view path, Place& place)
{
    const bool isExact = m_subject.GetReading().IsExact();
    place.m_spot = {.m_kind = SpotKind::Whole,
                    .m_type = m_subject.GetType(),
                    .m_class = m_subject.GetClass(),
                    .m_data = m_subject.GetData(),
                    .m_isRuled = !isExact};
    if (m_wholeSpan.IsEmpty())
        m_wholeSpan = FindDataSource(m_document, isExact);
    place.m_value = m_wholeSpan;
    place.m_contents = nullptr;
    for (std::size_t at = 0; at < path.size();)
    {
        WrittenStep step;
        if (!TryTakeStep(path, at, step) || !TryEnter(place.m_spot))
            return false;
        const bool isThere = step.m_isName           ? TryStepToMember(step.m_text, place)
                             : place.m_spot.IsList() ? TryStepToElement(step.m_text, place)
                             : place.m_spot.IsMap()  ? TryStepToPayload(step.m_text, place)
                                                     : false;
        if (!isThere)
            return false;
        place.m_spot.m_isRuled = !isExact;
    }
    return true;
}

std::optional<std::string_view> OncePlaces::TakeLastBrackets(std::string_view& path)
{
    std::size_t begin = 0;
    WrittenStep step;
    for (std::size_t at = 0; at < path.size();)
    {
        begin = at;
        if (!TryTakeStep(path, at, step))
            return std::nullopt;
    }
    if (begin == 0 || step.m_isName)
        return std::nullopt;
    path = path.substr(0, begin);
    return step.m_text;
}

std::size_t OncePlaces::NoteAdded(const Place& place)
{
    Contents& contents = *FindContents(place.m_value);
    ++contents.m_numAdded;
    return contents.m_brackets.m_span.m_begin;
}

bool OncePlaces::ReadsSo(const Document& changed) const
{
    const std::optional<std::string> expected = m_subject.Written();
    const Subject after(GetReading(), changed);
    return !expected || after.Written().value_or(*expected) == *expected;
}

// Through handles and optionals to what they designate.
bool OncePlaces::TryEnter(Spot& spot)
{
    while (spot.m_data != nullptr)
    {
        const EVariableKind kind = spot.GetVariableKind();
        if (kind == VK_HANDLE || kind == VK_PREF)
        {
            const ptr<IObject> object = kind == VK_PREF ? ptr<IObject>(static_cast<const prefbase*>(spot.m_data)->Get())
                                                        : *static_cast<const ptr<IObject>*>(spot.m_data);
            if (!object)
                return false;
            spot = {.m_kind = SpotKind::Target,
                    .m_class = object.GetReflectedClass(),
                    .m_data = object.self(),
                    .m_isRuled = spot.m_isRuled};
        }
        else if (spot.IsForeign(FF_CHOICE) && spot.m_type.GetForeignType().IsOptional())
        {
            const ForeignType& type = spot.m_type.GetForeignType();
            if (type.m_choice->GetIndex(spot.m_data) < 0)
                return false;
            spot = {.m_kind = SpotKind::Target,
                    .m_type = Underlying(type.GetPartType(0)),
                    .m_data = type.m_choice->GetValue(spot.m_data),
                    .m_isRuled = spot.m_isRuled};
        }
        else
            return true;
    }
    return false;
}

OncePlaces::Contents* OncePlaces::FindContents(Span value)
{
    const auto [place, isNew] = m_contents.try_emplace(value.m_begin);
    std::optional<Contents>& contents = place->second;
    if (isNew)
        if (const std::optional<Part> brackets = BracketsOf(m_document, value))
        {
            contents.emplace(Contents{.m_brackets = *brackets, .m_items = ItemsOf(m_document, *brackets)});
            for (std::size_t i = 0; i < contents->m_items.size(); ++i)
                if (const Span name = contents->m_items[i].m_name; !name.IsEmpty())
                    if (const auto [known, isFirst] = contents->m_names.try_emplace(TextOf(name), i); !isFirst)
                        known->second = s_several;
        }
    return contents ? &*contents : nullptr;
}

void OncePlaces::StepTo(Contents& contents, std::size_t index, Spot spot, bool isApart, Place& place)
{
    place = {std::move(spot), contents.m_items[index].m_value, &contents, index, isApart};
}

bool OncePlaces::TryStepToMember(std::string_view name, Place& place)
{
    const Spot& spot = place.m_spot;
    Contents* const contents = spot.GetVariableKind() == VK_CLASS ? FindContents(place.m_value) : nullptr;
    if (contents == nullptr)
        return false;
    const std::vector<MemberField> members = MembersOf(*spot.GetClass());
    const auto member = std::find_if(members.begin(), members.end(),
                                     [&](const MemberField& candidate) { return candidate.m_name == name; });
    if (member == members.end())
        return false;
    auto index = static_cast<std::size_t>(member - members.begin());
    if (contents->m_brackets.m_token == TOKEN_LEFT_CURLY)
    {
        const auto found = contents->m_names.find(name);
        index = found != contents->m_names.end() ? found->second : s_several;
    }
    if (index >= contents->m_items.size() || !contents->m_left.Has(index))
        return false;
    StepTo(*contents, index,
           {.m_kind = SpotKind::Member,
            .m_type = Underlying(member->m_type),
            .m_data = static_cast<char*>(spot.m_data) + member->m_offset},
           contents->m_brackets.m_token == TOKEN_LEFT_CURLY, place);
    return true;
}

bool OncePlaces::TryStepToElement(std::string_view text, Place& place)
{
    const Spot& list = place.m_spot;
    ssize_t index = -1;
    const auto [past, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    Contents* const contents = FindContents(place.m_value);
    if (error != std::errc() || past != text.data() + text.size() || contents == nullptr)
        return false;
    const bool isFixed = list.IsFixedList();
    // Of a list that grows, what creation gave comes first.
    const ssize_t written = static_cast<ssize_t>(contents->m_items.size()) + contents->m_numAdded;
    const ssize_t made = isFixed ? 0 : list.CountElements() - written;
    const auto numLeft = static_cast<ssize_t>(contents->m_left.Count());
    if (made < 0 || index < made || index - made >= numLeft)
        return false;
    const std::size_t item = contents->m_left.Find(static_cast<std::size_t>(index - made));
    index = made + static_cast<ssize_t>(item);
    StepTo(*contents, item,
           {.m_kind = SpotKind::Element,
            .m_type = list.GetVariableKind() == VK_FOREIGN && isFixed
                          ? Underlying(list.m_type.GetForeignType().GetElementType(index))
                          : list.GetElementType(),
            .m_data = list.GetElement(index)},
           !isFixed, place);
    return true;
}

// Keys are read as the reader reads them: those of one map into one variable, of others each into a new one.
void OncePlaces::NoteKeys(const Spot& map, Contents& contents) const
{
    const Reading& reading = m_subject.GetReading();
    const ReflectionByteCode type = map.GetKeyType();
    std::optional<Variable> key;
    for (std::size_t i = 0; i < contents.m_items.size(); ++i)
    {
        if (i == 0 || map.IsRenewed())
            key.emplace(type);
        reading.ReadValue(s_textName, KeyText(map, contents.m_items[i]), type, key->Get());
        const std::string written = reading.Written(type, key->Get()).value_or(std::string());
        if (const auto [known, isFirst] = contents.m_keys.try_emplace(written, i); !isFirst)
            known->second = s_several;
        if (!map.IsRenewed() && Accumulates(type))
            contents.m_allOfKeys.push_back(written);
    }
}

// Whether the next key is the same one without it.
bool OncePlaces::IsKeyApart(const Spot& map, const Contents& contents, std::size_t index) const
{
    const std::optional<std::size_t> former = contents.m_left.FindBefore(index);
    const std::optional<std::size_t> latter = contents.m_left.FindBehind(index);
    if (contents.m_allOfKeys.empty() || !latter)
        return true;
    const Reading& reading = m_subject.GetReading();
    const ReflectionByteCode type = map.GetKeyType();
    const Variable key(type);
    if (former)
        reading.ReadValue(s_textName, contents.m_allOfKeys[*former], type, key.Get());
    reading.ReadValue(s_textName, KeyText(map, contents.m_items[*latter]), type, key.Get());
    return reading.Written(type, key.Get()) == contents.m_allOfKeys[*latter];
}

bool OncePlaces::TryStepToPayload(std::string_view text, Place& place)
{
    const Spot& map = place.m_spot;
    Contents* const contents = FindContents(place.m_value);
    if (contents == nullptr)
        return false;
    const Reading& reading = m_subject.GetReading();
    const ReflectionByteCode type = map.GetKeyType();
    const Variable sought(type);
    try
    {
        if (contents->m_keys.empty())
            NoteKeys(map, *contents);
        reading.ReadValue(s_textName, text, type, sought.Get());
    }
    catch (const Error&)
    {
        return false;
    }
    const std::optional<std::string> written = reading.Written(type, sought.Get());
    const auto found = written ? contents->m_keys.find(*written) : contents->m_keys.end();
    void* const payload = map.FindPayload(map.m_data, sought.Get());
    if (found == contents->m_keys.end() || found->second == s_several || payload == nullptr ||
        !contents->m_left.Has(found->second))
        return false;
    StepTo(*contents, found->second,
           {.m_kind = SpotKind::Payload,
            .m_type = map.GetPayloadType(),
            .m_data = map.IsSet() ? nullptr : payload}, // an element cannot become another one
           IsKeyApart(map, *contents, found->second), place);
    return true;
}

} // namespace kelm::editing
