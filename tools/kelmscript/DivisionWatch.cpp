#include "DivisionWatch.h"

#include "FaultedDivision.h"

#include <csignal>

namespace kelm::tool
{

namespace
{

// All that the signal handler touches. The signal is raised by the watched code itself, never asynchronously.
const ParserBase* s_parser = nullptr;
bool s_hasFaulted = false;
LSToken s_place;

void OnArithmeticFault(int signal, siginfo_t* info, void* context)
{
    const bool isWatched = s_parser != nullptr && info->si_code == FPE_INTDIV;
    if (!isWatched || !StepOverDivision(*static_cast<ucontext_t*>(context)))
    {
        std::signal(signal, SIG_DFL);
        static_cast<void>(raise(signal)); // held back until this returns, and kills
        return;
    }
    if (!s_hasFaulted)
        s_place = s_parser->m_prevToken;
    s_hasFaulted = true;
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
