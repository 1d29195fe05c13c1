#pragma once

// What runs by an emulator of another processor does not meet a system in everything.

#include <cstdlib>

namespace kelm
{

inline bool IsEmulated()
{
    return std::getenv("KELM_EMULATED") != nullptr;
}

} // namespace kelm
