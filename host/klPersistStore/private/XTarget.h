#pragma once

// What is behind the handle of a registered target.

#include <klPersistStore/Target.h>

#include <atomic>

namespace kelm
{

struct XTarget
{
    XTarget(TIN tin, const dsTarget& description) : m_tin(tin), m_description(description) {}

    const TIN m_tin;
    const dsTarget& m_description;
    std::atomic<RSN> m_dataSourceRsn = -1; // the last that was read for the target
};

} // namespace kelm
