#pragma once

// What is of one processor in a division: x86-64 refuses the one quotient that does not fit, with SIGFPE. Others give a
// quotient that is wrong; there the same signal is sent here.

#include <klKelmScript/private/BinaryOperations.h>

#include <limits>

#include <ucontext.h>

#if !defined(__x86_64__)
#include <csignal>

#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace kelm
{

#if defined(__x86_64__)

// Written as the instruction, since the language leaves the one quotient that does not fit undefined and a compiler may
// do anything with it.
inline Division DivideOrFault(int64 a, int64 b)
{
    Division result;
    __asm__ volatile("cqto\n\tidivq %[divisor]"
                     : "=&a"(result.m_quotient), "=&d"(result.m_remainder)
                     : "0"(a), [divisor] "r"(b)
                     : "cc");
    return result;
}

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

// The signal as the kernel sends it for a fault: with its code, and killing whoever ignores or blocks it. Returns where
// a handler does.
[[gnu::cold, gnu::noinline]] inline void SendDivisionFault()
{
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGFPE);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    struct sigaction action;
    sigaction(SIGFPE, nullptr, &action);
    if (action.sa_handler == SIG_IGN || sigismember(&blocked, SIGFPE) == 1)
        std::signal(SIGFPE, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);

    siginfo_t info = {};
    info.si_signo = SIGFPE;
    info.si_code = FPE_INTDIV;
    info.si_addr = __builtin_return_address(0);
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), SIGFPE, &info) != 0)
        raise(SIGFPE);
}

inline Division DivideOrFault(int64 a, int64 b)
{
    if (b == -1 && a == std::numeric_limits<int64>::min()) [[unlikely]]
    {
        SendDivisionFault();
        return {0, 0};
    }
    return {a / b, a % b};
}

// The division goes on by itself, with 0 for quotient and remainder; nothing else there faults with its code.
inline bool StepOverDivision(ucontext_t&)
{
    return true;
}

#endif

} // namespace kelm
