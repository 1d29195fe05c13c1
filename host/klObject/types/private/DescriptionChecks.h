#pragma once

// What a description must not say, looked at while it is registered. The compiler makes no such descriptions; those
// written by hand can hold anything. Each fails an assertion of its text:
//
//     a class or variant that is part of its own instances     "class a::A contains itself: a::A, a::B, a::A"
//     a typedef that holds itself in a container               "typedef a::A contains itself: a::A, a::A"
//     a member that lies outside the instance                  "member x lies outside of class a::A"
//     a name beyond the end of the string table                "member x of class a::A has a name beyond its table"
//     metadata without an end before a type                    "member x of class a::A has metadata without an end"
//     enumerators without names                                "enumeration a::E has no names"
//
// It fails as soon as all descriptors that it takes are there: with the one that is registered last, which is refused.
// Whatever else may be wrong (unknown codes, negative counts, missing descriptors, a typedef that is nothing but
// itself) is for those who use the type to judge, in their words. A class of size 0, of which nobody has variables, may
// have any members.

#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kelm
{

class DescriptionWalk;

// A class or variant: what has members.
class Composite
{
public:
    explicit Composite(const ReflectedClass& rc) : m_class(&rc) {}
    explicit Composite(const ReflectedVariant& rv) : m_variant(&rv) {}

    struct Member
    {
        ConstStringZ m_name = nullptr;
        ssize_t m_offset = 0;
        ReflectionByteCode m_type = {};     // null where it has none
        ConstStringZ m_className = nullptr; // of an embedded model
    };
    ssize_t CountMembers() const;
    Member GetMember(ssize_t i) const;

    const void* GetDescriptor() const { return m_class != nullptr ? static_cast<const void*>(m_class) : m_variant; }
    ConstStringZ GetKind() const { return m_class != nullptr ? "class" : "variant"; }
    ConstStringZ GetName() const { return m_class != nullptr ? m_class->m_name : m_variant->m_name; }
    ssize_t GetSize() const { return m_class != nullptr ? m_class->m_size : m_variant->m_size; }

private:
    const ReflectedClass* m_class = nullptr;
    const ReflectedVariant* m_variant = nullptr;
};

// The state of the checks. The registry keeps it, and uses it under its lock.
class DescriptionChecks
{
public:
    // Checks a descriptor that is about to be registered, and what waits for its name. What that teaches counts when it
    // is committed, once the descriptor is there to stay.
    void Check(const ReflectedClass& rc) { CheckComposite(Composite(rc)); }
    void Check(const ReflectedVariant& rv) { CheckComposite(Composite(rv)); }
    void Check(const ReflectedTypedef& r);
    void Check(const ReflectedEnum& r);
    void Commit() noexcept;

private:
    // The members before that one are checked; its type takes a name that is not registered.
    struct Waiting
    {
        Composite m_composite;
        ssize_t m_member;
    };
    using WaitingByName = std::unordered_multimap<std::string_view, Waiting>;

    struct Moved
    {
        WaitingByName::iterator m_waiting;
        std::string_view m_name; // that it waits for now; empty: for none
        ssize_t m_member;
    };

    void Begin();
    void CheckComposite(const Composite& composite);
    void CheckWaitingFor(ConstStringZ name, DescriptionWalk& walk);

    WaitingByName m_waiting;

    // Those whose parts are all registered, at any depth: no new one can be a part of them.
    std::unordered_set<const void*> m_whole;

    // What the present check has taught.
    WaitingByName m_newWaiting;
    std::vector<Moved> m_moved;
    const void* m_newWhole = nullptr;
};

} // namespace kelm
