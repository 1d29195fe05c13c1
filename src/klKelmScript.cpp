#include <klKelmScript/klKelmScript.h>

#include <klKelmScript/KSValue.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/ReflectedValue.h>
#include <klObject/klObject.h>
#include <klPersistStore/klPersistStore.h>

#include <iterator>

namespace kelm
{

namespace
{

constexpr dsTargetRelease0 s_targetReleases[] = {{"Release 0.0", {2008, 8, 24}}};

constexpr dsTarget s_dsTarget = {
    .m_targetName = "Kelm/Core/klKelmScript",
    .m_numDirectSubTargets = 0,
    .m_directSubTargetNames = nullptr,
    .m_numReleases = std::size(s_targetReleases),
    .m_releases = s_targetReleases,
};

XTarget* s_xTarget = nullptr;
TIN s_localTin = -1;
constexpr RSN s_localRsn = 0;

} // namespace

XTarget* Kelm_Core_klKelmScript_GetXTarget()
{
    if (s_xTarget == nullptr)
    {
        s_xTarget = RegisterTarget(s_dsTarget);
        s_localTin = GetTin(s_xTarget);
    }
    return s_xTarget;
}

RSN Kelm_Core_klKelmScript_GetModelRsn()
{
    return GetModelRsn(s_localTin);
}

void Kelm_Core_klKelmScript_WriteDataSourceRsn(Archive& archive)
{
    WriteDataSourceRsn(archive, s_localRsn);
}

InputArchive Kelm_Core_klKelmScript_ReadDataSourceRsn(InputArchive archive)
{
    return ReadDataSourceRsn(archive, s_xTarget);
}

void _Register_klKelmScript0()
{
    Kelm_Core_klKelmScript_GetXTarget();
}

} // namespace kelm

void Register_Project_klKelmScript()
{
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true; // first, so that a nested call returns at once

    Register_Project_klObject();
    Register_Project_klPersistStore();

    kelm::_Register_KSValue();
    kelm::_Register_ReflectedValue();

    kelm::_Register_ParseDataSourceFromString();
    kelm::_Register_ParseDataSourceFromString2();
    kelm::_Register_NavigatePathToField();

    kelm::_Register_klKelmScript0();
}

void Unregister_Project_klKelmScript()
{
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true;

    // In the order of registration, as it is meant to be.
    Unregister_Project_klObject();
    Unregister_Project_klPersistStore();
}
