#pragma once

// A program at a terminal of its own: what a person types and sees.

#include "RunProgram.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <pty.h>

namespace kelm
{

class Terminal
{
public:
    // Starts a program at a terminal that is wide enough for its lines.
    explicit Terminal(const std::vector<std::string>& arguments, const EnvironmentChanges& changes = {})
    {
        ArgumentVector argv(arguments);
        Environment environment(changes);
        winsize size = {};
        size.ws_row = 50;
        size.ws_col = 200;
        m_pid = forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_pid < 0)
            throw std::runtime_error("forkpty fails");
        if (m_pid == 0)
        {
            execve(argv.get()[0], argv.get(), environment.get());
            _exit(127);
        }
    }
    ~Terminal()
    {
        if (m_pid > 0)
        {
            kill(m_pid, SIGKILL);
            Wait();
        }
        close(m_terminal);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void Type(const std::string& keys)
    {
        std::string rest = keys;
        while (program::WriteSome(m_terminal, rest))
            continue;
    }

    // Waits until the program has written `text`, and returns what it wrote up to and with it since the last time.
    // Throws std::runtime_error, with what there is, where that takes too long or the program ends.
    std::string ReadUntil(const std::string& text)
    {
        ReadWhile([&] { return m_unread.find(text) == std::string::npos; });
        const std::size_t at = m_unread.find(text);
        if (at == std::string::npos)
            throw std::runtime_error("the program does not write \"" + text + "\" but \"" + m_unread + "\"");
        return Take(at + text.size());
    }

    // What the program still writes until it ends.
    std::string ReadToEnd()
    {
        ReadWhile([] { return true; });
        return Take(m_unread.size());
    }

    void Send(int signal) const { kill(m_pid, signal); }

    // Waits for the program's end and returns its exit code; -SIGKILL where it does not end.
    int Wait()
    {
        const auto deadline = Now() + s_patience;
        int status = 0;
        while (waitpid(m_pid, &status, WNOHANG) == 0)
        {
            if (Now() > deadline)
                kill(m_pid, SIGKILL);
            usleep(1000);
        }
        m_pid = -1;
        return ExitCodeOf(status);
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds s_patience{120};

    static Clock::time_point Now() { return Clock::now(); }

    template <class GoesOn>
    void ReadWhile(GoesOn goesOn)
    {
        const auto deadline = Now() + s_patience;
        while (goesOn() && Now() < deadline)
        {
            pollfd fd = {m_terminal, POLLIN, 0};
            if (poll(&fd, 1, 100) > 0 && !program::ReadSome(m_terminal, m_unread))
                break;
        }
    }

    std::string Take(std::size_t size)
    {
        const std::string text = m_unread.substr(0, size);
        m_unread.erase(0, size);
        return text;
    }

    int m_terminal = -1;
    pid_t m_pid = -1;
    std::string m_unread;
};

} // namespace kelm
