#pragma once

#include <klObject/objects/IObject.h>
#include <klPersistStore/api.h>
#include <klUtils/types.h>

namespace kelm
{

// Receives word that the field at `address` inside `object` is about to be read, so that data not yet loaded can be
// brought in. `name` may be null. What it throws passes through to the reader.
using ReadBarrierFn = void (*)(void* address, ptr<IObject> object, ConstStringZ name, void* context);

// Installs the barrier of the process; null installs none, which is the beginning. Not while another thread reads.
KLPERSISTSTORE_API void SetReadBarrier(ReadBarrierFn barrier, void* context);

// What is installed: a variable, so that a barrier that is not there costs a load and a branch. Changed by
// SetReadBarrier alone.
struct InstalledReadBarrier
{
    ReadBarrierFn m_barrier = nullptr;
    void* m_context = nullptr;
};
extern KLPERSISTSTORE_API InstalledReadBarrier s_installedReadBarrier;

inline bool IsReadBarrierInstalled()
{
    return s_installedReadBarrier.m_barrier != nullptr;
}

// Calls what is installed.
inline void DataSourceReadBarrier(void* address, ptr<IObject> object, ConstStringZ name)
{
    const InstalledReadBarrier& installed = s_installedReadBarrier;
    if (__builtin_expect(installed.m_barrier != nullptr, 0))
        installed.m_barrier(address, object, name, installed.m_context);
}

} // namespace kelm
