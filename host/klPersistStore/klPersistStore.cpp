#include <klPersistStore/klPersistStore.h>

#include <klObject/klObject.h>
#include <klObject/objects/prefbase.h>
#include <klPersistStore/ObjectStore.h>

#include <utility>

namespace
{

kelm::ptr<kelm::IPersistable> LoadFromObjectStore(kelm::ObjectId id, void*)
{
    return kelm::GetObjectStore().Load(id);
}

} // namespace

void Register_Project_klPersistStore()
{
    static bool s_called = false;
    if (std::exchange(s_called, true))
        return;
    Register_Project_klObject();
    kelm::SetObjectLoader(LoadFromObjectStore, nullptr);
}

void Unregister_Project_klPersistStore()
{
    static bool s_called = false;
    if (std::exchange(s_called, true))
        return;
    Unregister_Project_klObject();
}
