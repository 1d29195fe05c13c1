#pragma once

// Ctrl-C at the prompt ends what is evaluated or written there.

#include <kelm/private/expressions/Interruption.h>

namespace kelm::tool
{

struct Interrupted
{
};

// For whatever may take long; where it wrote, what it wrote is cut.
inline void ThrowIfInterrupted()
{
    if (evaluation::s_isInterrupted != 0) [[unlikely]]
        throw Interrupted();
}

} // namespace kelm::tool
