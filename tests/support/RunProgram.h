#pragma once

// Running a program from outside: its arguments, input and environment in, its output and exit code out.

#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelm
{

// Variables set in addition to this process's environment; an empty text removes one.
using EnvironmentChanges = std::map<std::string, std::string>;

// An environment as the system calls take it.
class Environment
{
public:
    explicit Environment(EnvironmentChanges changes)
    {
        for (char** variable = environ; *variable != nullptr; ++variable)
        {
            const std::string text = *variable;
            if (changes.count(text.substr(0, text.find('='))) == 0)
                m_texts.push_back(text);
        }
        for (const auto& [name, value] : changes)
            if (!value.empty())
                m_texts.push_back(name + "=" + value);
        for (std::string& text : m_texts)
            m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    char** get() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

// Arguments as the system calls take them, the program's path first.
class ArgumentVector
{
public:
    explicit ArgumentVector(std::vector<std::string> texts) : m_texts(std::move(texts))
    {
        for (std::string& text : m_texts)
            m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
    }
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;

    char** get() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

// Of a status that waitpid gave: the exit code, or the negated number of the signal that killed the process.
inline int ExitCodeOf(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

struct ProgramResult
{
    int m_exitCode = 0;
    std::string m_output;
    std::string m_errors;
};

// Both ends of a pipe, closed at the latest with it.
class Pipe
{
public:
    Pipe()
    {
        if (pipe2(m_ends, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2 fails");
    }
    ~Pipe()
    {
        CloseReader();
        CloseWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Reader() const { return m_ends[0]; }
    int Writer() const { return m_ends[1]; }
    void CloseReader() { Close(m_ends[0]); }
    void CloseWriter() { Close(m_ends[1]); }

private:
    static void Close(int& end)
    {
        if (end >= 0)
            close(end);
        end = -1;
    }

    int m_ends[2];
};

namespace program
{

// Appends what can be read; false at the end.
inline bool ReadSome(int fd, std::string& text)
{
    char buffer[65536];
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count > 0)
        text.append(buffer, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

// Writes what can be written and cuts it off; false when all is written or nobody reads.
inline bool WriteSome(int fd, std::string& text)
{
    const ssize_t count = write(fd, text.data(), text.size());
    if (count > 0)
        text.erase(0, static_cast<std::size_t>(count));
    return !text.empty() && (count >= 0 || errno == EINTR || errno == EAGAIN);
}

// Feeds and drains the pipes until the program has closed its output.
inline void Exchange(Pipe& in, Pipe& out, Pipe& err, std::string input, ProgramResult& result)
{
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    fcntl(in.Writer(), F_SETFL, O_NONBLOCK);
    while (out.Reader() >= 0 || err.Reader() >= 0)
    {
        if (input.empty())
            in.CloseWriter();
        pollfd fds[] = {{in.Writer(), POLLOUT, 0}, {out.Reader(), POLLIN, 0}, {err.Reader(), POLLIN, 0}};
        if (poll(fds, 3, -1) < 0)
            continue;
        if (fds[0].revents != 0 && !WriteSome(in.Writer(), input))
            in.CloseWriter();
        if (fds[1].revents != 0 && !ReadSome(out.Reader(), result.m_output))
            out.CloseReader();
        if (fds[2].revents != 0 && !ReadSome(err.Reader(), result.m_errors))
            err.CloseReader();
    }
    std::signal(SIGPIPE, previous);
}

} // namespace program

// Runs a program to its end. Throws std::runtime_error where it cannot be started.
inline ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::string& input = {},
                                const EnvironmentChanges& changes = {})
{
    Pipe in;
    Pipe out;
    Pipe err;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.Reader(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.Writer(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.Writer(), STDERR_FILENO);
    ArgumentVector argv(arguments);
    Environment environment(changes);
    pid_t pid = 0;
    const int error = posix_spawn(&pid, argv.get()[0], &actions, nullptr, argv.get(), environment.get());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + arguments[0] + ": " + std::strerror(error));
    in.CloseReader();
    out.CloseWriter();
    err.CloseWriter();

    ProgramResult result;
    program::Exchange(in, out, err, input, result);
    int status = 0;
    waitpid(pid, &status, 0);
    result.m_exitCode = ExitCodeOf(status);
    return result;
}

} // namespace kelm
