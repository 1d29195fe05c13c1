#pragma once

// Texts and files that are read as wholes, by the front door's rules.

#include <kelm/Files.h>
#include <kelm/Object.h>
#include <kelm/Result.h>
#include <kelm/UsedType.h>
#include <kelm/api.h>
#include <kelm/private/errors/Source.h>
#include <kelm/private/files/FileText.h>

#include <string>

namespace kelm
{

// From the first token to the last, into a constructed variable.
KELM_API Result<void> ReadWholeText(const SourceText& source, const UsedType& type, void* data, UnknownMembers unknown);
KELM_API Result<Object> ReadWholeObject(const SourceText& source, UnknownMembers unknown);

KELM_API Result<FileText> LoadFile(const std::string& path);

// Why a file was not written.
KELM_API Error CannotWrite(const std::string& path, const std::string& why);

} // namespace kelm
