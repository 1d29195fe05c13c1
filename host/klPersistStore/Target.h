#pragma once

// Targets: the identity of a module towards the persistence layer. Registered on one thread at a time, read from any.

#include <klPersistStore/api.h>
#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

struct XTarget; // a registered target; a handle that nobody looks into

using TIN = int64; // target identification number: 0, 1, 2 ... in the order of registration; -1 is none
using RSN = int64; // release number: the index of a release in its target's list; -1 is none

struct Date
{
    int16 year;
    int8 month;
    int8 day;
};

struct dsTargetRelease0
{
    ConstStringZ m_name;
    Date m_date;
};

// The description of a target: constant data that outlives its registration.
struct dsTarget
{
    ConstStringZ m_targetName;
    ssize_t m_numDirectSubTargets;
    const ConstStringZ* m_directSubTargetNames;
    ssize_t m_numReleases;
    const dsTargetRelease0* m_releases;
};

// Enters a target and returns its handle. A name that is registered already gives the handle it has; a null name fails
// an assertion.
KLPERSISTSTORE_API XTarget* RegisterTarget(const dsTarget& target);

// -1 for null.
KLPERSISTSTORE_API TIN GetTin(XTarget* target);

// The model release number of a target: that of its newest release, m_numReleases - 1. -1 for a number that no target
// has, -1 included.
KLPERSISTSTORE_API RSN GetModelRsn(TIN tin);

// The description that a target was registered with; null for null.
KLPERSISTSTORE_API const dsTarget* GetTargetDescription(XTarget* target);

// The target of that name, or null.
KLPERSISTSTORE_API XTarget* TryFindTarget(ConstStringZ name);

// All targets, in the order of their identification numbers.
KLPERSISTSTORE_API xvector<XTarget*> GetTargets();

} // namespace kelm
