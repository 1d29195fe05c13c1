#pragma once

#include "ReadingPeer.h"

namespace kelm::bench
{

// Ours as one of the readers. Registers the classes.
const ReadingPeer& GetOurs();

} // namespace kelm::bench
