#pragma once

// Registers what the module publishes with its target.

#include <klKelmScript/klKelmScript.h>
#include <klObject/types/Registry.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>

namespace kelm
{

// Where the descriptor is refused, the assertion that it is taken fails: `call` is that one's text, up to the target.
template <class Descriptor>
void RegisterInModule(ENameSpaceError (*registerFn)(const Descriptor*, XTarget*), const Descriptor& descriptor,
                      SubString call, ConstStringZ file, int line)
{
    if (registerFn(&descriptor, Kelm_Core_klKelmScript_GetXTarget()) == NSE_OK)
        return;
    const xstring condition = MessageOf(call, "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK");
    ThrowKelmAssertionError(condition.c_str(), file, line);
}

} // namespace kelm
