#include <kelmDocument/private/Locate.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/errors/Suggest.h>
#include <kelm/private/values/Variable.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/VariantIndex.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

SubString ViewOf(std::string_view text)
{
    return {text.data(), text.data() + text.size()};
}

} // namespace

// --- Texts -----------------------------------------------------------------------------------------------------------

void Refuse(std::string_view path, std::size_t step, const std::string& message)
{
    const std::size_t size = step < path.size() ? ScanPart(path, step).m_span.GetSize() : 0;
    throw ErrorAt(ErrorKind::Range, message, {"<path>", path}, step, size);
}

// Behind the qualified name with which a value begins.
Span BehindName(const Document& document, Span value)
{
    PartWalk walk(document, value);
    Part part{};
    bool isAny = walk.NextToken(part);
    bool isSegment = true;
    while (
        isAny && part.m_kind == PartKind::Token &&
        (isSegment ? part.m_token == TOKEN_IDENTIFIER : part.m_token == TOKEN_COLON_COLON || part.m_token == TOKEN_DOT))
    {
        isSegment = !isSegment;
        isAny = walk.NextToken(part);
    }
    return isAny ? Span{part.m_span.m_begin, value.m_end} : Span{value.m_end, value.m_end};
}

Span FindDataSource(const Document& document, bool isRestIgnored)
{
    PartWalk walk(document);
    Span whole;
    Part part{};
    bool isFirst = true;
    if (!isRestIgnored)
    {
        for (; walk.NextToken(part); isFirst = false)
            whole = {isFirst ? part.m_span.m_begin : whole.m_begin, part.m_span.m_end};
        return whole;
    }
    bool isSegment = true;
    while (walk.NextToken(part))
    {
        const bool isName = part.m_kind == PartKind::Token &&
                            (isSegment ? part.m_token == TOKEN_IDENTIFIER
                                       : part.m_token == TOKEN_COLON_COLON || part.m_token == TOKEN_DOT);
        const bool isBody = part.m_kind == PartKind::Brackets && part.m_token != TOKEN_LEFT_SQUARE;
        if (!isName && !isBody)
            break;
        whole = {isFirst ? part.m_span.m_begin : whole.m_begin, part.m_span.m_end};
        isFirst = false;
        isSegment = !isSegment;
        if (isBody)
            break;
    }
    return whole;
}

namespace
{

// --- The walk --------------------------------------------------------------------------------------------------------

class Locator
{
public:
    Locator(const Document& document, const Subject& subject, std::string_view path, Purpose purpose)
        : m_document(document), m_reading(subject.GetReading()), m_path(path), m_purpose(purpose)
    {
        if (subject.GetData() == nullptr)
            Refuse(path, 0, "the data source is null, which has no members");
        Push({.m_kind = SpotKind::Whole,
              .m_type = subject.GetType(),
              .m_class = subject.GetClass(),
              .m_data = subject.GetData(),
              .m_mentions = {{.m_value = FindDataSource(document, m_reading.IsExact())}}});
    }

    std::vector<Spot> Walk()
    {
        while (PassBlanks())
        {
            const Part part = ScanPart(m_path, m_at);
            if (part.Is(TOKEN_DOT) || (part.Is(TOKEN_IDENTIFIER) && m_spots.size() == 1))
            {
                if (part.Is(TOKEN_DOT))
                    m_at = part.m_span.m_end;
                StepToName();
            }
            else if (part.Is(TOKEN_LEFT_SQUARE))
                StepIntoBrackets(part.m_span);
            else
                Refuse(m_path, m_at, "a path goes on with a dot or a bracket");
        }
        if (m_purpose == Purpose::Insert)
            EnterHeldList();
        return std::move(m_spots);
    }

    // As far as it has come.
    std::vector<Spot>& GetSpots() { return m_spots; }

private:
    bool PassBlanks()
    {
        while (m_at < m_path.size() && ScanPart(m_path, m_at).IsPassed())
            m_at = ScanPart(m_path, m_at).m_span.m_end;
        return m_at < m_path.size();
    }
    bool IsLast() { return !PassBlanks(); }
    void Push(Spot spot)
    {
        spot.m_isRuled = !m_reading.IsExact();
        m_spots.push_back(std::move(spot));
    }
    std::string_view TextOf(Span span) const { return span.In(m_document.GetText()); }
    static std::string TextOf(SubString text) { return {text.m_p1, text.m_p2}; }

    // --- Names

    void StepToName()
    {
        PassBlanks();
        const std::size_t step = m_at;
        std::string name;
        while (PassBlanks() && ScanPart(m_path, m_at).Is(TOKEN_IDENTIFIER))
        {
            name += ScanPart(m_path, m_at).m_span.In(m_path);
            m_at = ScanPart(m_path, m_at).m_span.m_end;
            if (!PassBlanks() || !ScanPart(m_path, m_at).Is(TOKEN_COLON_COLON))
                break;
            name += "::";
            m_at += 2;
        }
        if (name.empty())
            Refuse(m_path, step, "a name is expected behind the dot");
        EnterTargets(step);
        const Spot& spot = m_spots.back();
        if (spot.GetVariableKind() == VK_CLASS)
            StepToMember(name, step);
        else if (spot.GetVariableKind() == VK_VARIANT || spot.IsForeign(FF_CHOICE))
            StepToAlternative(name, step);
        else
            Refuse(m_path, step, "there are no members here");
    }

    void StepToMember(const std::string& name, std::size_t step)
    {
        const Spot& spot = m_spots.back();
        const ReflectedClass* const rc = spot.GetClass();
        const std::vector<MemberField> members = MembersOf(*rc);
        const auto member = std::find_if(members.begin(), members.end(),
                                         [&](const MemberField& candidate) { return candidate.m_name == name; });
        if (member == members.end())
        {
            std::vector<std::string> names;
            names.reserve(members.size());
            for (const MemberField& candidate : members)
                names.emplace_back(candidate.m_name);
            throw ErrorAt(ErrorKind::Name, "Unknown member '" + name + "' of class " + rc->m_name, {"<path>", m_path},
                          step, name.size(), {}, NearestNames(name, names));
        }
        const std::size_t index = static_cast<std::size_t>(member - members.begin());
        Spot found{.m_kind = SpotKind::Member,
                   .m_step = step,
                   .m_type = Underlying(member->m_type),
                   .m_data = spot.m_data != nullptr ? static_cast<char*>(spot.m_data) + member->m_offset : nullptr,
                   .m_name = name};
        ForEachItem(spot,
                    [&](const Mention& item)
                    {
                        if (item.m_brackets.m_token == TOKEN_LEFT_CURLY ? TextOf(item.m_item.m_name) == name
                                                                        : item.m_place.m_index == index)
                            found.m_mentions.push_back(item);
                    });
        Push(std::move(found));
    }

    void StepToAlternative(const std::string& name, std::size_t step)
    {
        const Spot& spot = m_spots.back();
        ExpectData(spot, step);
        const bool isForeign = spot.GetVariableKind() == VK_FOREIGN;
        int32 index = 0;
        int32 held = 0;
        ReflectionByteCode type;
        std::string heldName;
        void* value = nullptr;
        if (isForeign)
        {
            const ForeignType& foreign = spot.m_type.GetForeignType();
            index = FindForeignAlternative(foreign, ViewOf(name));
            held = foreign.m_choice->GetIndex(spot.m_data);
            if (index >= 0)
                type = foreign.GetPartType(index);
            if (held >= 0)
            {
                heldName = TextOf(GetForeignAlternativeName(foreign, held));
                value = foreign.m_choice->GetValue(spot.m_data);
            }
        }
        else
        {
            const ReflectedVariant& rv = *spot.m_type.GetReflectedVariant();
            index = FindAlternative(rv, ViewOf(name), IsPathSuffix);
            std::memcpy(&held, spot.m_data, sizeof held);
            if (index >= 0)
                type = {rv.m_fields[index].m_bc, rv.m_stringTable, nullptr};
            heldName = rv.m_fields[held].m_name;
            value = static_cast<char*>(spot.m_data) + rv.m_fields[held].m_offset;
        }
        if (index < 0)
            Refuse(m_path, step, "Unknown alternative '" + name + "' of a variant");
        Spot found{.m_kind = SpotKind::Alternative, .m_step = step, .m_type = Underlying(type), .m_name = name};
        if (index == held)
        {
            found.m_data = value;
            if (!spot.m_mentions.empty())
            {
                found.m_mentions.push_back(spot.m_mentions.back());
                found.m_mentions.back().m_value = BehindName(m_document, found.m_mentions.back().m_value);
            }
        }
        else if (m_purpose != Purpose::Set || !IsLast())
            Refuse(m_path, step, "the variant holds " + heldName + " here");
        else
            found.m_former = heldName;
        Push(std::move(found));
    }

    // Of a set's element the members can be written, as text; what lies deeper is not looked for.
    void ExpectData(const Spot& spot, std::size_t step) const
    {
        if (spot.m_data == nullptr)
            Refuse(m_path, step, "what an element of a set holds is not reached by a path");
    }

    // Through handles and optionals to what they designate.
    void EnterTargets(std::size_t step)
    {
        while (true)
        {
            const Spot& spot = m_spots.back();
            Spot target{.m_kind = SpotKind::Target, .m_step = step};
            const EVariableKind kind = spot.GetVariableKind();
            const bool isOptional = spot.IsForeign(FF_CHOICE) && spot.m_type.GetForeignType().IsOptional();
            if (kind != VK_HANDLE && kind != VK_PREF && !isOptional)
                return;
            ExpectData(spot, step);
            if (!isOptional)
            {
                const ptr<IObject> object = kind == VK_PREF
                                                ? ptr<IObject>(static_cast<const prefbase*>(spot.m_data)->Get())
                                                : *static_cast<const ptr<IObject>*>(spot.m_data);
                if (!object)
                    Refuse(m_path, step, "null is what is before this step");
                target.m_class = object.GetReflectedClass();
                target.m_data = object.self();
            }
            else
            {
                const ForeignType& foreign = spot.m_type.GetForeignType();
                if (foreign.m_choice->GetIndex(spot.m_data) < 0)
                    Refuse(m_path, step, "null is what is before this step");
                target.m_type = Underlying(foreign.GetPartType(0));
                target.m_data = foreign.m_choice->GetValue(spot.m_data);
            }
            if (!spot.m_mentions.empty())
                target.m_mentions.push_back(spot.m_mentions.back());
            Push(std::move(target));
        }
    }

    // What is put into an optional list is put into the list.
    void EnterHeldList()
    {
        const Spot& spot = m_spots.back();
        const bool isOptional = spot.IsForeign(FF_CHOICE) && spot.m_type.GetForeignType().IsOptional();
        if (isOptional && spot.m_data != nullptr && spot.m_type.GetForeignType().m_choice->GetIndex(spot.m_data) >= 0)
            EnterTargets(m_path.size());
    }

    // Calls f(item) for all that is written of a class, list or map.
    template <class F>
    void ForEachItem(const Spot& spot, const F& f) const
    {
        for (std::size_t i = spot.IsRenewed() && !spot.m_mentions.empty() ? spot.m_mentions.size() - 1 : 0;
             i < spot.m_mentions.size(); ++i)
        {
            const std::optional<Part> brackets = BracketsOf(m_document, spot.m_mentions[i].m_value);
            if (!brackets)
                continue;
            ItemWalk walk(m_document, *brackets);
            std::size_t leads[ItemPlace::s_numBefore] = {}; // where the items before it begin
            std::size_t index = 0;
            for (Item item; walk.Next(item); ++index)
            {
                f(Mention{item.m_value, *brackets, {index, leads[0]}, item});
                std::shift_left(std::begin(leads), std::end(leads), 1);
                std::end(leads)[-1] = item.m_span.m_begin;
            }
        }
    }

    // --- Brackets

    void StepIntoBrackets(Span bracket)
    {
        const std::size_t step = m_at;
        EnterTargets(step);
        Spot& spot = m_spots.back();
        m_at = bracket.m_end;
        // Paths to fields write two brackets before an index into a dynamic array; who closes both is understood too.
        const bool isDouble = spot.IsList() && PassBlanks() && m_path[m_at] == '[';
        if (isDouble)
            ++m_at;
        PassBlanks();
        const std::size_t begin = m_at;
        std::size_t depth = 1;
        std::size_t end = begin;
        while (m_at < m_path.size())
        {
            const Part part = ScanPart(m_path, m_at);
            depth += IsOpeningBracket(part.m_token) ? 1U : 0U;
            depth -= IsClosingBracket(part.m_token) ? 1U : 0U;
            if (depth == 0)
                break;
            m_at = part.m_span.m_end;
            if (!part.IsPassed())
                end = m_at;
        }
        if (depth != 0 || m_path[m_at] != ']')
            Refuse(m_path, step, "the bracket has no end");
        ExpectData(spot, step);
        const std::string_view inside = m_path.substr(begin, end - begin);
        ++m_at;
        if (isDouble && m_at < m_path.size() && m_path[m_at] == ']')
            ++m_at;
        if (spot.IsList())
            StepToElement(inside, begin);
        else if (spot.IsMap())
            StepToPayload(std::string(inside), begin);
        else
            Refuse(m_path, step, "there are no elements here");
    }

    void StepToElement(std::string_view text, std::size_t step)
    {
        Spot& list = m_spots.back();
        ssize_t index = -1;
        const auto [past, error] = std::from_chars(text.data(), text.data() + text.size(), index);
        if (error != std::errc() || past != text.data() + text.size() || index < 0)
            Refuse(m_path, step, "an index is expected");
        list.m_count = list.CountElements();
        list.m_written = 0;
        ForEachItem(list, [&](const Mention&) { ++list.m_written; });
        const bool isBehind = m_purpose == Purpose::Insert && index == list.m_count && IsLast();
        if (index >= list.m_count && !isBehind)
            Refuse(m_path, step, "the list has " + std::to_string(list.m_count) + " elements");
        const bool isFixed = list.IsFixedList();
        Spot found{.m_kind = SpotKind::Element, .m_step = step, .m_index = index};
        found.m_type = list.GetVariableKind() == VK_FOREIGN && isFixed
                           ? Underlying(list.m_type.GetForeignType().GetElementType(index))
                           : list.GetElementType();
        found.m_data = isBehind ? nullptr : list.GetElement(index);
        // Of a list that grows, what creation gave comes first.
        ssize_t at = isFixed ? 0 : list.m_count - list.m_written;
        ForEachItem(list,
                    [&](const Mention& item)
                    {
                        if ((isFixed ? static_cast<ssize_t>(item.m_place.m_index) : at++) == index)
                            found.m_mentions.push_back(item);
                    });
        Push(std::move(found));
    }

    void StepToPayload(std::string text, std::size_t step)
    {
        const Spot& map = m_spots.back();
        const ReflectionByteCode keyType = map.GetKeyType();
        Variable sought(keyType);
        try
        {
            m_reading.ReadValue("<key>", text, keyType, sought.Get());
        }
        catch (const Error& e)
        {
            Refuse(m_path, step, e.GetMessage());
        }
        void* payload = map.FindPayload(map.m_data, sought.Get());
        const bool isThere = payload != nullptr;
        // Which of the written keys are that one, a map of the same type tells, which holds nothing else.
        const Variable same(map.m_type);
        map.InsertKey(same.Get(), sought.Get());
        if (!isThere && m_purpose == Purpose::Find)
            Refuse(m_path, step, "there is no such key");
        Spot found{
            .m_kind = SpotKind::Payload, .m_step = step, .m_type = map.GetPayloadType(), .m_name = std::move(text)};
        if (isThere)
            FindEntries(map, keyType, same, found);
        else if (m_purpose == Purpose::Set || !IsLast())
        {
            Variable key(keyType);
            m_reading.ReadValue("<key>", found.m_name, keyType, key.Get());
            payload = map.InsertKey(map.m_data, key.Get());
            found.m_isNewKey = !isThere;
        }
        found.m_data = map.IsSet() ? nullptr : payload;
        found.m_isNewEachTime = map.GetVariableKind() == VK_MAP && !m_reading.IsExact();
        Push(std::move(found));
    }

    // Keys are read as the reader reads them: those of one map into one variable, of others each into a new one.
    void FindEntries(const Spot& map, const ReflectionByteCode& keyType, const Variable& same, Spot& found) const
    {
        std::optional<Variable> key;
        std::size_t mapBegin = std::string_view::npos;
        ForEachItem(map,
                    [&](const Mention& item)
                    {
                        if (map.IsRenewed() || mapBegin != item.m_brackets.m_span.m_begin)
                        {
                            key.emplace(keyType);
                            mapBegin = item.m_brackets.m_span.m_begin;
                        }
                        m_reading.ReadValue("<text>", TextOf(map.IsSet() ? item.m_value : item.m_item.m_key), keyType,
                                            key->Get());
                        if (map.FindPayload(same.Get(), key->Get()) != nullptr)
                            found.m_mentions.push_back(item);
                    });
    }

    const Document& m_document;
    const Reading& m_reading;
    std::string_view m_path;
    Purpose m_purpose;
    std::size_t m_at = 0;
    std::vector<Spot> m_spots;
};

} // namespace

std::vector<Spot> Locate(const Document& document, const Subject& subject, std::string_view path, Purpose purpose)
{
    Locator locator(document, subject, path, purpose);
    try
    {
        return locator.Walk();
    }
    catch (const Error&)
    {
        TakeBackNewKey(locator.GetSpots());
        throw;
    }
}

void TakeBackNewKey(std::vector<Spot>& spots)
{
    const auto spot = std::find_if(spots.begin(), spots.end(), [](const Spot& each) { return each.m_isNewKey; });
    if (spot == spots.end())
        return;
    const Spot& map = *(spot - 1);
    const Variable key(map.GetKeyType());
    Reading(DocumentPolicy()).ReadValue("<key>", spot->m_name, map.GetKeyType(), key.Get());
    map.EraseKey(map.m_data, key.Get());
    spots.erase(spot, spots.end());
}

std::vector<Spot> LocateIn(const ptr<IObject>& object, std::string_view path, Purpose purpose)
{
    const Subject subject(Reading(DocumentPolicy()), object);
    return Locate(Document::Parse({}), subject, path, purpose);
}

} // namespace kelm::editing
