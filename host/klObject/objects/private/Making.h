#pragma once

// The making of one object, for whoever runs constructors: between the two, the object may be registered by its own
// constructor and is a root then.

#include <klObject/objects/Collector.h>

namespace kelm
{

void BeginMakingOf(SysState& state);
void EndMakingOf(SysState& state);

} // namespace kelm
