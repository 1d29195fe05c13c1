#pragma once

// What a walk through values has come to by pointers that share it, on this thread: each is gone into once, so that
// circles of them end. The walk begins with the first of these and ends when that is left.

#include <klObject/types/ForeignType.h>

#include <cstddef>
#include <optional>
#include <set>

namespace kelm
{

// Whether others point there too. A circle that a walk comes into has a part that is shared.
inline bool IsShared(const ForeignType& type, const void* choice)
{
    return type.m_choice->IsShared != nullptr && type.m_choice->IsShared(choice);
}

template <class Target>
class SharedTargets
{
public:
    SharedTargets()
    {
        if (s_walk == nullptr)
            s_walk = &m_own.emplace();
    }
    ~SharedTargets()
    {
        if (m_own)
            s_walk = nullptr;
    }
    SharedTargets(const SharedTargets&) = delete;
    SharedTargets& operator=(const SharedTargets&) = delete;

    // False where the walk has been there.
    bool Add(const Target& target) { return s_walk->insert(target).second; }

private:
    static inline thread_local std::set<Target>* s_walk = nullptr;
    std::optional<std::set<Target>> m_own;
};

} // namespace kelm
