#pragma once

#include "TextPeer.h"

namespace kelm::bench
{

// Ours as one of those that read and write. Registers the classes.
const TextPeer& GetOurs();

} // namespace kelm::bench
