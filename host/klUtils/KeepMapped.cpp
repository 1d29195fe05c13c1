#include <klUtils/private/KeepMapped.h>

#include <atomic>

#include <dlfcn.h>

namespace kelm
{

namespace
{

// The module that was looked at last: most addresses come from one module, one behind the other.
constinit std::atomic<const void*> s_lastModule = nullptr;

} // namespace

void KeepMapped(const void* address)
{
    Dl_info module{};
    if (dladdr(address, &module) == 0 || module.dli_fname == nullptr || module.dli_fbase == s_lastModule.load())
        return;
    // The handle that this opens is never closed. The program itself is not found by its name, and needs no keeping.
    dlopen(module.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    s_lastModule.store(module.dli_fbase);
}

} // namespace kelm
