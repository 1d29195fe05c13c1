#pragma once

// The module: its registration with the host, its target, and what the host asks of every module's target.
//
// All of it runs on the host's thread while the module is loaded or unloaded; nothing is locked.

#include <klKelmScript/api.h>
#include <klPersistStore/Archive.h>
#include <klPersistStore/Target.h>

// Registers the projects that the module stands on, its reflected types and global functions, and its target. Later
// calls do nothing.
extern "C" KLKELMSCRIPT_API void Register_Project_klKelmScript();

// Unregisters the projects that the module stands on, once. What the module registered itself stays.
extern "C" KLKELMSCRIPT_API void Unregister_Project_klKelmScript();

namespace kelm
{

// The module's target, registered on the first call.
KLKELMSCRIPT_API XTarget* Kelm_Core_klKelmScript_GetXTarget();

// The model release number of the module's target: of TIN -1 while no call has registered it.
KLKELMSCRIPT_API RSN Kelm_Core_klKelmScript_GetModelRsn();

// Writes the release number that the module writes its data with, which is 0.
KLKELMSCRIPT_API void Kelm_Core_klKelmScript_WriteDataSourceRsn(Archive& archive);

// Reads a release number for the module's target, which is null while no call has registered it.
KLKELMSCRIPT_API InputArchive Kelm_Core_klKelmScript_ReadDataSourceRsn(InputArchive archive);

// Makes sure that the module's target exists.
KLKELMSCRIPT_API void _Register_klKelmScript0();

} // namespace kelm
