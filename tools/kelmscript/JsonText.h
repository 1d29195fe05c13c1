#pragma once

#include "Failure.h"

#include <kelm/private/JsonText.h>
#include <kelm/private/Source.h>

namespace kelm::tool
{

// What the tool tells of a failure, as an object.
void WriteJson(JsonText& json, const Failure& failure, const SourceText& source);

} // namespace kelm::tool
