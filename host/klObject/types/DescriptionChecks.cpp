#include <klObject/types/private/DescriptionChecks.h>

#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>
#include <klUtils/StackSegment.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/types/DescriptionChecks";

template <class... Parts>
void Refuse(const Parts&... parts)
{
    const xstring message = MessageOf(parts...);
    ThrowKelmAssertionError(message.c_str(), s_sourceFile, __LINE__);
}

// The names from the last time that one occurs on, and that one again.
xstring CircleText(const std::vector<ConstStringZ>& path, ConstStringZ name)
{
    ssize_t first = static_cast<ssize_t>(path.size()) - 1;
    while (first > 0 && SubString(path[static_cast<std::size_t>(first)]) != SubString(name))
        --first;
    xstring text;
    for (auto it = path.begin() + first; it != path.end(); ++it)
    {
        text.append(*it);
        text.append(", ");
    }
    text.append(name);
    return text;
}

bool EmbedsModel(const ReflectedClass& rc)
{
    return rc.m_modelFields != nullptr && rc.m_numModelFields == 0;
}

ConstStringZ NameOf(const Composite::Member& member)
{
    return member.m_name != nullptr ? member.m_name : "without a name";
}

} // namespace

ssize_t Composite::CountMembers() const
{
    if (m_variant != nullptr)
        return m_variant->m_fields != nullptr ? m_variant->m_numFields : 0;
    return (EmbedsModel(*m_class) ? 1 : GetModelFieldCount(*m_class)) + GetOrdinaryFieldCount(*m_class);
}

Composite::Member Composite::GetMember(ssize_t i) const
{
    const auto ofField = [](const auto& field, const ConstStringZ* names) -> Member {
        return {field.m_name, field.m_offset, {field.m_bc, names}};
    };
    if (m_variant != nullptr)
        return ofField(m_variant->m_fields[i], m_variant->m_stringTable);
    const ssize_t numModelMembers = CountMembers() - GetOrdinaryFieldCount(*m_class);
    if (i >= numModelMembers)
        return ofField(m_class->m_fields[i - numModelMembers], m_class->m_stringTable);
    const ReflectedModelField& field = m_class->m_modelFields[i];
    if (EmbedsModel(*m_class))
        return {.m_name = field.m_name, .m_offset = field.m_offset, .m_className = field.m_name};
    return IsPresent(field) ? ofField(field, m_class->m_stringTable) : Member{.m_name = field.m_name}; // has no storage
}

// A walk over types, as far as they are known. A descriptor that is about to be registered counts as registered.
class DescriptionWalk
{
public:
    explicit DescriptionWalk(const Composite& composite) : m_newName(composite.GetName()), m_composite(&composite) {}
    explicit DescriptionWalk(const ReflectedTypedef& r) : m_newName(r.m_name), m_typedef(&r) {}

    // What a type comes to.
    struct Outcome
    {
        std::optional<ssize_t> m_size;    // of a variable of it
        std::optional<Composite> m_part;  // that is in it, in no container whose elements lie elsewhere
        ConstStringZ m_missing = nullptr; // the name that is not registered
    };

    Outcome Follow(const Composite& whole, const Composite::Member& member)
    {
        if (member.m_className != nullptr)
            return OfComposite(FindClass(member.m_className), member.m_className);
        if (member.m_type.m_bc == nullptr)
            return {};
        Typedefs within;
        return Follow(
            member.m_type, within, 0,
            [&](ConstStringZ what)
            { Refuse("member ", NameOf(member), " of ", whole.GetKind(), " ", whole.GetName(), " has ", what); });
    }

    void Follow(const ReflectedTypedef& r)
    {
        Typedefs within = {{&r, 0}};
        if (r.m_bc != nullptr)
            Follow({r.m_bc, r.m_stringTable}, within, 0,
                   [&](ConstStringZ what) { Refuse("typedef ", r.m_name, " has ", what); });
    }

    // Checks the members from one on, and returns the first that must wait, for `missing`; or else their number.
    ssize_t CheckMembers(const Composite& composite, ssize_t first, ConstStringZ& missing)
    {
        const ssize_t count = composite.CountMembers();
        for (ssize_t i = first; i < count; ++i)
        {
            const Composite::Member member = composite.GetMember(i);
            const Outcome outcome = Follow(composite, member);
            missing = outcome.m_missing;
            if (missing != nullptr)
                return i;
            ssize_t end = 0;
            const bool isInside =
                composite.GetSize() <= 0 || !outcome.m_size ||
                (member.m_offset >= 0 && !__builtin_add_overflow(member.m_offset, *outcome.m_size, &end) &&
                 end <= composite.GetSize());
            if (!isInside)
                Refuse("member ", NameOf(member), " lies outside of ", composite.GetKind(), " ", composite.GetName());
        }
        return count;
    }

private:
    // The typedefs that a type stands in, and in how many containers each of them does.
    struct Entered
    {
        const ReflectedTypedef* m_typedef;
        int m_containers;
    };
    using Typedefs = std::vector<Entered>;

    template <class Complain>
    Outcome Follow(ReflectionByteCode type, Typedefs& within, int containers, const Complain& complain);

    bool IsNew(ConstStringZ name) const { return SubString(name) == m_newName; }
    template <class FindRegistered>
    std::optional<Composite> Find(ConstStringZ name, FindRegistered find) const
    {
        if (IsNew(name))
            return m_composite != nullptr ? std::optional(*m_composite) : std::nullopt;
        const auto* const found = find(name);
        return found != nullptr ? std::optional(Composite(*found)) : std::nullopt;
    }
    std::optional<Composite> FindClass(ConstStringZ name) const { return Find(name, TryFindReflectedClass); }
    std::optional<Composite> FindVariant(ConstStringZ name) const { return Find(name, TryFindReflectedVariant); }

    static Outcome OfComposite(const std::optional<Composite>& found, ConstStringZ name)
    {
        return found ? Outcome{found->GetSize(), found, nullptr} : Outcome{{}, {}, name};
    }

    // Whether the name behind a code is one of the table's, which ends with a null where it says its end.
    bool HasName(const ReflectionByteCode& type)
    {
        uint16 index;
        std::memcpy(&index, type.m_bc + 1, sizeof index);
        int& known = m_numNames[type.m_stringTable]; // those that are there, as far as has been looked
        while (known <= index && type.m_stringTable[known] != nullptr)
            ++known;
        return index < known;
    }

    // Past a metadata item; false where it has no end.
    static bool PassItem(const uint8*& bc);

    SubString m_newName;
    const Composite* m_composite = nullptr;
    const ReflectedTypedef* m_typedef = nullptr;
    std::unordered_map<const ConstStringZ*, int> m_numNames;
};

bool DescriptionWalk::PassItem(const uint8*& bc)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return PassItem(bc); });
    const TypeCode& item = s_typeCodes[*bc];
    if (item.m_passedAs != PASSED_METADATA)
        return false;
    bc += 1 + item.m_operandBytes;
    for (int i = 0; i < item.m_items; ++i)
        if (!PassItem(bc))
            return false;
    if (item.m_endCode == 0)
        return true;
    while (*bc != item.m_endCode)
        if (!PassItem(bc))
            return false;
    ++bc;
    return true;
}

// From code to code, into typedefs and containers. Classes and variants end it: what they consist of is their own.
template <class Complain>
DescriptionWalk::Outcome DescriptionWalk::Follow(ReflectionByteCode type, Typedefs& within, int containers,
                                                 const Complain& complain)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return Follow(type, within, containers, complain); });
    ssize_t count = 1; // of the elements of arrays
    std::optional<ssize_t> outerSize;
    const auto result = [&](Outcome outcome) -> Outcome
    {
        if (outerSize)
            return {outerSize, {}, outcome.m_missing};
        if (outcome.m_size && __builtin_mul_overflow(*outcome.m_size, count, &*outcome.m_size))
            outcome.m_size.reset(); // whoever asks for the size refuses it
        return outcome;
    };
    for (;;)
    {
        const TypeCode& code = GetTypeCode(type);
        if (code.m_passedAs == PASSED_METADATA)
        {
            if (!PassItem(type.m_bc))
                complain("metadata without an end");
            continue;
        }
        constexpr uint8 nameBytes = 2;
        if (code.m_operandBytes == nameBytes)
        {
            if (type.m_stringTable == nullptr)
                return result({});
            if (!HasName(type))
                complain("a name beyond its table");
        }
        if (code.m_passedAs == PASSED_TYPEDEF)
        {
            const ConstStringZ name = type.GetName();
            const ReflectedTypedef* const r = IsNew(name) ? m_typedef : TryFindReflectedTypedef(name);
            if (r == nullptr)
                return result({{}, {}, name});
            const auto entered =
                std::find_if(within.begin(), within.end(), [r](const Entered& e) { return e.m_typedef == r; });
            if (entered != within.end() && entered->m_containers < containers)
            {
                std::vector<ConstStringZ> path;
                for (const Entered& outer : within)
                    path.push_back(outer.m_typedef->m_name);
                Refuse("typedef ", name, " contains itself: ", CircleText(path, name));
            }
            if (entered != within.end() || r->m_bc == nullptr)
                return result({});
            within.push_back({r, containers});
            type = {r->m_bc, r->m_stringTable};
            continue;
        }
        if (code.m_passedAs != 0)
        {
            ++type.m_bc;
            continue;
        }
        switch (code.m_kind)
        {
        case VK_CLASS: return result(OfComposite(FindClass(type.GetName()), type.GetName()));
        case VK_VARIANT: return result(OfComposite(FindVariant(type.GetName()), type.GetName()));
        case VK_FOREIGN: return result({type.GetForeignType().m_size, {}, nullptr});
        case VK_ARRAY:
            if (type.GetArrayCount() <= 0 ||
                __builtin_mul_overflow(count, static_cast<ssize_t>(type.GetArrayCount()), &count))
                return result({});
            break;
        case VK_MAP:
        {
            Typedefs withinKey = within;
            if (const Outcome key = Follow(type.GetElementType(), withinKey, containers + 1, complain);
                key.m_missing != nullptr || !key.m_size)
                return result({{}, {}, key.m_missing});
            [[fallthrough]];
        }
        case VK_VECTOR:
        case VK_SET:
            if (!outerSize)
                outerSize = result({code.m_size, {}, nullptr}).m_size;
            if (!outerSize)
                return {};
            break;
        default: return result(code.m_size >= 0 ? Outcome{code.m_size, {}, nullptr} : Outcome());
        }
        ++containers;
        type = type.GetElementType();
        if (code.m_kind == VK_MAP)
            type.ScanType(); // past the key, which has been followed
    }
}

namespace
{

// Whether a new one is a part of a part of its own. It cannot be one of those that are whole.
class CircleSearch
{
public:
    CircleSearch(DescriptionWalk& walk, const Composite& sought, std::unordered_set<const void*>& whole)
        : m_walk(walk), m_sought(sought), m_whole(whole)
    {
    }

    // Whether all parts of it are registered, at any depth.
    bool Visit(const Composite& composite)
    {
        if (IsStackLow())
            return CallOnFreshSegment([&] { return Visit(composite); });
        const bool isSought = composite.GetDescriptor() == m_sought.GetDescriptor();
        if (isSought && !m_path.empty())
            Refuse(m_sought.GetKind(), " ", m_sought.GetName(),
                   " contains itself: ", CircleText(m_path, m_sought.GetName()));
        if (m_whole.contains(composite.GetDescriptor()))
            return true;
        if (!m_visited.insert(composite.GetDescriptor()).second)
            return false;
        m_path.push_back(composite.GetName());
        bool isWhole = true;
        for (ssize_t i = 0; i < composite.CountMembers(); ++i)
        {
            const DescriptionWalk::Outcome outcome = m_walk.Follow(composite, composite.GetMember(i));
            const bool isPartWhole = outcome.m_missing == nullptr && (!outcome.m_part || Visit(*outcome.m_part));
            isWhole = isWhole && isPartWhole;
        }
        m_path.pop_back();
        if (isWhole)
            m_whole.insert(composite.GetDescriptor());
        return isWhole;
    }

private:
    DescriptionWalk& m_walk;
    const Composite& m_sought;
    std::unordered_set<const void*>& m_whole;
    std::unordered_set<const void*> m_visited;
    std::vector<ConstStringZ> m_path;
};

} // namespace

void DescriptionChecks::Begin()
{
    m_newWaiting.clear();
    m_moved.clear();
    if (m_newWhole != nullptr) // has not been registered after all
        m_whole.erase(std::exchange(m_newWhole, nullptr));
}

void DescriptionChecks::CheckComposite(const Composite& composite)
{
    Begin();
    DescriptionWalk walk(composite);
    ConstStringZ missing = nullptr;
    const ssize_t member = walk.CheckMembers(composite, 0, missing);
    if (missing != nullptr)
        m_newWaiting.emplace(missing, Waiting{composite, member});
    CircleSearch search(walk, composite, m_whole);
    m_newWhole = composite.GetDescriptor();
    search.Visit(composite);
    CheckWaitingFor(composite.GetName(), walk);
}

void DescriptionChecks::Check(const ReflectedTypedef& r)
{
    Begin();
    DescriptionWalk walk(r);
    walk.Follow(r);
    CheckWaitingFor(r.m_name, walk);
}

void DescriptionChecks::Check(const ReflectedEnum& r)
{
    Begin();
    if (r.m_count > 0 && r.m_strings == nullptr)
        Refuse("enumeration ", r.m_name, " has no names");
}

void DescriptionChecks::CheckWaitingFor(ConstStringZ name, DescriptionWalk& walk)
{
    const auto [first, last] = m_waiting.equal_range(name);
    for (auto it = first; it != last; ++it)
    {
        ConstStringZ missing = nullptr;
        const ssize_t member = walk.CheckMembers(it->second.m_composite, it->second.m_member, missing);
        m_moved.push_back({it, missing != nullptr ? missing : std::string_view(), member});
    }
    m_waiting.reserve(m_waiting.size() + m_newWaiting.size());
}

// Allocates nothing: nodes go from one name to another, and there is room for them.
void DescriptionChecks::Commit() noexcept
{
    for (const Moved& moved : m_moved)
    {
        auto node = m_waiting.extract(moved.m_waiting);
        if (moved.m_name.empty())
            continue;
        node.key() = moved.m_name;
        node.mapped().m_member = moved.m_member;
        m_waiting.insert(std::move(node));
    }
    m_moved.clear();
    m_waiting.merge(m_newWaiting);
    m_newWhole = nullptr;
}

} // namespace kelm
