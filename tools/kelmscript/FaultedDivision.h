#pragma once

// What is of one processor: the division that raises SIGFPE.

#include <klUtils/types.h>

#include <limits>

#include <ucontext.h>

namespace kelm::tool
{

#if defined(__x86_64__)

// Of a fault at an instruction that divides rdx:rax by a register: steps over it, with 0 for quotient and remainder,
// where what is divided is the smallest int64 by -1. False for any other fault, which is left alone.
inline bool StepOverDivision(ucontext_t& context)
{
    // REX.W and perhaps the divisor's high bit, the opcode, the operands.
    constexpr greg_t length = 3;
    // In the order of their numbers in instructions.
    constexpr int registerPlaces[] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                                      REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};
    greg_t* const registers = context.uc_mcontext.gregs;
    const auto* const instruction = reinterpret_cast<const uint8*>(registers[REG_RIP]);
    const bool isDivision =
        (instruction[0] & 0xFE) == 0x48 && instruction[1] == 0xF7 && (instruction[2] & 0xF8) == 0xF8;
    if (!isDivision)
        return false;
    const greg_t divisor = registers[registerPlaces[(instruction[0] & 1) << 3 | (instruction[2] & 7)]];
    if (registers[REG_RAX] != std::numeric_limits<greg_t>::min() || registers[REG_RDX] != -1 || divisor != -1)
        return false;
    registers[REG_RAX] = 0;
    registers[REG_RDX] = 0;
    registers[REG_RIP] += length;
    return true;
}

#else

inline bool StepOverDivision(ucontext_t&)
{
    return false;
}

#endif

} // namespace kelm::tool
