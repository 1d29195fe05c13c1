#include "Progress.h"

#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/files/FileDescriptor.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/time.h>
#include <time.h> // NOLINT: clock_gettime may be called by a signal handler
#include <unistd.h>

namespace kelm::tool
{

namespace
{

constexpr std::string_view s_clear = "\r\033[K";
constexpr std::size_t s_longestName = 60;

char s_what[s_longestName + 1];
time_t s_start = 0;

bool IsTerminal()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 && terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
}

time_t Now()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

void SetTimer(time_t firstSeconds, suseconds_t microseconds)
{
    const itimerval timer = {{0, microseconds}, {firstSeconds, 0}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

// A line that is put together without allocating.
class Line
{
public:
    void Put(std::string_view text)
    {
        const std::size_t size = std::min(text.size(), sizeof m_text - m_size);
        std::memcpy(m_text + m_size, text.data(), size);
        m_size += size;
    }
    void Put(std::size_t number)
    {
        char digits[20];
        Put({digits, static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits)});
    }
    std::string_view Get() const { return {m_text, m_size}; }

private:
    char m_text[160];
    std::size_t m_size = 0;
};

} // namespace

void Progress::OnTick(int)
{
    s_isDue = s_pauses != 0;
    if (s_isDue)
        return;
    const int error = errno;
    Line line;
    line.Put(s_clear);
    line.Put(s_what);
    if (const std::size_t total = s_total; total > 0)
    {
        const std::size_t done = s_done;
        line.Put(": ");
        line.Put(done < total ? static_cast<std::size_t>(100.0 * static_cast<double>(done) / static_cast<double>(total))
                              : 100);
        line.Put(" %");
    }
    line.Put(", ");
    line.Put(static_cast<std::size_t>(Now() - s_start));
    line.Put(" s");
    static_cast<void>(WriteAll(STDERR_FILENO, line.Get()));
    s_isShown = 1;
    errno = error;
}

Progress::Progress(const std::string& what) : m_isShowing(s_what[0] == '\0' && IsTerminal())
{
    if (!m_isShowing)
        return;
    const std::string shown = Shown(what);
    std::strncpy(s_what, shown.c_str(), s_longestName);
    s_total = 0;
    struct sigaction action = {};
    action.sa_handler = OnTick;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    Start();
}

void Progress::Start()
{
    s_start = Now();
    SetTimer(1, 250000);
}

void Progress::Stop()
{
    SetTimer(0, 0);
    const Pause clear;
    s_isDue = 0;
}

Progress::Wait::Wait() : m_isShowing(s_what[0] != '\0')
{
    if (m_isShowing)
        Stop();
}

Progress::Wait::~Wait()
{
    if (m_isShowing)
        Start();
}

Progress::~Progress()
{
    if (!m_isShowing)
        return;
    Stop();
    s_what[0] = '\0';
}

Progress::Pause::Pause()
{
    s_pauses = s_pauses + 1;
    if (s_isShown == 0)
        return;
    s_isShown = 0;
    static_cast<void>(WriteAll(STDERR_FILENO, s_clear));
}

Progress::Pause::~Pause()
{
    s_pauses = s_pauses - 1;
    if (s_isDue != 0 && s_pauses == 0)
        OnTick(SIGALRM);
}

} // namespace kelm::tool
