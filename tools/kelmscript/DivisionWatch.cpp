#include "DivisionWatch.h"

#include <klUtils/types.h>

#include <csignal>
#include <ucontext.h>

namespace kelm::tool
{

namespace
{

// All that the signal handler touches. The signal is raised by the watched code itself, never asynchronously.
const ParserBase* s_parser = nullptr;
bool s_hasFaulted = false;
LSToken s_place;

// Length of the instruction that divides rdx:rax by a register: a REX.W prefix, the opcode, the operand.
constexpr greg_t s_divisionLength = 3;

bool IsDivisionByRegister(const uint8* instruction)
{
    return (instruction[0] & 0xFE) == 0x48 && instruction[1] == 0xF7 && (instruction[2] & 0xF8) == 0xF8;
}

void OnArithmeticFault(int signal, siginfo_t*, void* context)
{
    greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    if (s_parser == nullptr || !IsDivisionByRegister(reinterpret_cast<const uint8*>(registers[REG_RIP])))
    {
        std::signal(signal, SIG_DFL); // the instruction is run again, and kills
        return;
    }
    if (!s_hasFaulted)
        s_place = s_parser->m_prevToken;
    s_hasFaulted = true;
    registers[REG_RAX] = 0;
    registers[REG_RDX] = 0;
    registers[REG_RIP] += s_divisionLength;
}

void InstallHandler()
{
    struct sigaction action = {};
    action.sa_sigaction = OnArithmeticFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGFPE, &action, nullptr);
}

} // namespace

DivisionWatch::DivisionWatch(const ParserBase& parser)
{
    static const bool s_isInstalled = (InstallHandler(), true);
    static_cast<void>(s_isInstalled);
    s_hasFaulted = false;
    s_parser = &parser;
}

DivisionWatch::~DivisionWatch()
{
    s_parser = nullptr;
}

bool DivisionWatch::HasFaulted() const
{
    return s_hasFaulted;
}

const LSToken& DivisionWatch::GetPlace() const
{
    return s_place;
}

} // namespace kelm::tool
