#include <klPersistStore/ReadBarrier.h>

namespace kelm
{

constinit InstalledReadBarrier s_installedReadBarrier;

void SetReadBarrier(ReadBarrierFn barrier, void* context)
{
    s_installedReadBarrier = {barrier, context};
}

} // namespace kelm
