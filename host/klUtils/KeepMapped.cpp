#include <klUtils/private/KeepMapped.h>

#include <klUtils/types.h>

#include <atomic>

#include <dlfcn.h>
#include <link.h>

namespace kelm
{

namespace
{

// What was looked at last: most addresses come from one module, one behind the other.
constinit std::atomic<const void*> s_lastModule = nullptr;

struct Module
{
    const void* m_identity = nullptr;
    ConstStringZ m_file = nullptr; // null where it needs no keeping
};

#ifdef DLFO_STRUCT_HAS_EH_DBASE

bool IsKept(const link_map& module)
{
    for (const ElfW(Dyn)* entry = module.l_ld; entry->d_tag != DT_NULL; ++entry)
        if (entry->d_tag == DT_FLAGS_1)
            return (entry->d_un.d_val & DF_1_NODELETE) != 0;
    return false;
}

// Without a search for the nearest symbol.
Module ModuleOf(const void* address)
{
    dl_find_object object{};
    if (_dl_find_object(const_cast<void*>(address), &object) != 0)
        return {};
    const link_map* const module = object.dlfo_link_map;
    return {module, IsKept(*module) ? nullptr : module->l_name};
}

#else

Module ModuleOf(const void* address)
{
    Dl_info module{};
    return dladdr(address, &module) != 0 ? Module{module.dli_fbase, module.dli_fname} : Module();
}

#endif

} // namespace

void KeepMapped(const void* address)
{
    const Module module = ModuleOf(address);
    if (module.m_file == nullptr || module.m_identity == s_lastModule.load())
        return;
    // The handle that this opens is never closed. The program itself is not found by its name, and needs no keeping.
    dlopen(module.m_file, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    s_lastModule.store(module.m_identity);
}

} // namespace kelm
