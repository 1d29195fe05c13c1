#include "DivisionWatch.h"

#include <klKelmScript/private/ProcessorDivision.h>

namespace kelm::tool
{

void DivisionWatch::OnFault(int signal, siginfo_t* info, void* context)
{
    const bool isWatched = s_isWatching && info->si_code == FPE_INTDIV;
    if (!isWatched || !StepOverDivision(*static_cast<ucontext_t*>(context)))
    {
        std::signal(signal, SIG_DFL);
        static_cast<void>(raise(signal)); // held back until this returns, and kills
        return;
    }
    if (!s_hasFaulted && s_parser != nullptr)
        s_place = s_parser->m_prevToken;
    s_hasFaulted = true;
}

void DivisionWatch::Install()
{
    struct sigaction action = {};
    action.sa_sigaction = OnFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGFPE, &action, nullptr);
    s_isInstalled = true;
}

} // namespace kelm::tool
