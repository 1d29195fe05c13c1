#pragma once

#include <klUtils/text/ParserBase.h>

#include <csignal>

namespace kelm::tool
{

// While a watch lives, a division that the processor refuses (-9223372036854775808 by -1, whose result int64 does not
// hold) does not end the process: the evaluation goes on to its end with 0 in place of the result, which the caller
// throws away when the watch tells of the fault. So nothing leaks and every stack segment is left as usual, which a
// jump out of the evaluation would not do.
//
// One watch at a time, for evaluations on the thread that made it. Any other SIGFPE kills the process as ever.
class DivisionWatch
{
public:
    // The parser, where there is one, tells where the fault is.
    explicit DivisionWatch(const ParserBase* parser)
    {
        if (!s_isInstalled) [[unlikely]]
            Install();
        s_hasFaulted = false;
        s_parser = parser;
        s_isWatching = true;
    }
    ~DivisionWatch() { s_isWatching = false; }
    DivisionWatch(const DivisionWatch&) = delete;
    DivisionWatch& operator=(const DivisionWatch&) = delete;

    bool HasFaulted() const { return s_hasFaulted; }

    // The last token that the parser had passed at the first fault.
    const LSToken& GetPlace() const { return s_place; }

private:
    static void Install();
    static void OnFault(int signal, siginfo_t* info, void* context);

    // All that the signal handler touches. The signal is raised by the watched code itself, never asynchronously.
    static inline constinit const ParserBase* s_parser = nullptr;
    static inline constinit volatile bool s_isWatching = false;
    static inline constinit volatile bool s_hasFaulted = false;
    static inline LSToken s_place;
    static inline constinit bool s_isInstalled = false;
};

} // namespace kelm::tool
