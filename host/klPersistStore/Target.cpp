#include <klPersistStore/Target.h>

#include <klPersistStore/private/XTarget.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/private/KeepMapped.h>

#include <deque>
#include <mutex>
#include <string_view>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klPersistStore/Target";

// All targets, by identification number. Neither they nor the registry are ever destroyed, so handles stay good.
struct Registry
{
    std::mutex m_mutex;
    std::deque<XTarget> m_targets;

    // A program has a handful of targets, and looks them up by name while it starts.
    XTarget* FindByName(std::string_view name)
    {
        for (XTarget& target : m_targets)
            if (target.m_description.m_targetName == name)
                return &target;
        return nullptr;
    }
};

Registry& GetRegistry()
{
    static Registry& registry = *new Registry;
    return registry;
}

} // namespace

XTarget* RegisterTarget(const dsTarget& target)
{
    KELM_ASSERT(target.m_targetName);
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.m_mutex);
    if (XTarget* const known = registry.FindByName(target.m_targetName))
        return known;
    KeepMapped(&target);
    return &registry.m_targets.emplace_back(static_cast<TIN>(registry.m_targets.size()), target);
}

TIN GetTin(XTarget* target)
{
    return target != nullptr ? target->m_tin : -1;
}

RSN GetModelRsn(TIN tin)
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.m_mutex);
    if (tin < 0 || tin >= static_cast<TIN>(registry.m_targets.size()))
        return -1;
    return registry.m_targets[static_cast<std::size_t>(tin)].m_description.m_numReleases - 1;
}

const dsTarget* GetTargetDescription(XTarget* target)
{
    return target != nullptr ? &target->m_description : nullptr;
}

XTarget* TryFindTarget(ConstStringZ name)
{
    if (name == nullptr)
        return nullptr;
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.m_mutex);
    return registry.FindByName(name);
}

xvector<XTarget*> GetTargets()
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.m_mutex);
    xvector<XTarget*> targets;
    targets.reserve(static_cast<ssize_t>(registry.m_targets.size()));
    for (XTarget& target : registry.m_targets)
        targets.push_back(&target);
    return targets;
}

} // namespace kelm
