#include <klObject/objects/prefbase.h>

#include <mutex>

namespace kelm
{

namespace
{

// The loader and its context change together.
struct InstalledLoader
{
    ObjectLoader m_loader = nullptr;
    void* m_context = nullptr;
};

constinit std::mutex s_loaderMutex;
constinit InstalledLoader s_installedLoader;

InstalledLoader GetInstalledLoader()
{
    const std::lock_guard lock(s_loaderMutex);
    return s_installedLoader;
}

} // namespace

void SetObjectLoader(ObjectLoader loader, void* context)
{
    const std::lock_guard lock(s_loaderMutex);
    s_installedLoader = {loader, context};
}

ptr<IPersistable> prefbase::Get() const
{
    if (m_object || m_id == 0)
        return m_object;
    const InstalledLoader installed = GetInstalledLoader();
    if (installed.m_loader != nullptr)
        m_object = installed.m_loader(m_id, installed.m_context);
    return m_object;
}

void prefbase::Set(ptr<IPersistable> p)
{
    m_object = p;
    m_id = p ? p.fns()->GetObjectId(p.self()) : 0;
}

void prefbase::SetObjectId(ObjectId id)
{
    m_object = nullptr;
    m_id = id;
}

// An object may have got its identity after the reference was set to it.
ObjectId prefbase::GetObjectId() const
{
    return m_object ? m_object.fns()->GetObjectId(m_object.self()) : m_id;
}

} // namespace kelm
