#pragma once

#include "../reporting/Failure.h"

#include <kelm/private/errors/Source.h>
#include <kelm/private/types/JsonText.h>

namespace kelm::tool
{

// What the tool tells of a failure, as an object.
void WriteJson(JsonText& json, const Failure& failure, const SourceText& source);

} // namespace kelm::tool
