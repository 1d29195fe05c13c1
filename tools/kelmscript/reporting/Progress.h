#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace kelm::tool
{

// Work that a person may have to wait for. While one lives and standard error is a terminal, what takes longer than a
// second is shown there, on a line of its own that goes when the work is done:
//
//     reading garden.kds, 3 s
//     orders.kds: 61 %, 4 s
//
// Where one is under way already, another shows nothing. It costs those who are faster two calls of the system.
class Progress
{
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // How much of the work is done.
    static void Tell(std::size_t done, std::size_t total)
    {
        s_done = done;
        s_total = total;
    }

    // While one lives, somebody else writes to the terminal, and what would be shown there waits for its end.
    class Pause
    {
    public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };

    // While one lives, somebody else is waited for, which is no work: what was under way begins anew behind it.
    class Wait
    {
    public:
        Wait();
        ~Wait();
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        bool m_isShowing;
    };

private:
    static void OnTick(int);
    static void Start();
    static void Stop();

    // All that the signal handler touches.
    static inline constinit volatile std::size_t s_done = 0;
    static inline constinit volatile std::size_t s_total = 0;
    static inline constinit volatile std::sig_atomic_t s_pauses = 0;
    static inline constinit volatile std::sig_atomic_t s_isShown = 0;
    static inline constinit volatile std::sig_atomic_t s_isDue = 0;

    bool m_isShowing;
};

} // namespace kelm::tool
