#include "History.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <readline/history.h>

#include <fcntl.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

constexpr int s_maxEntries = 2000;

// Empty where the environment names no home.
std::filesystem::path StateDirectory()
{
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/')
        return state;
    const char* const home = std::getenv("HOME");
    return home != nullptr && *home != '\0' ? std::filesystem::path(home) / ".local/state" : std::filesystem::path();
}

// The history file, made where it is missing; empty where it cannot be.
std::string MakeHistoryFile()
{
    const std::filesystem::path state = StateDirectory();
    if (state.empty())
        return {};
    const std::filesystem::path directory = state / "kelmscript";
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    std::string path = directory / "history";
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return {};
    close(fd);
    return path;
}

} // namespace

History::History() : m_path(MakeHistoryFile())
{
    using_history();
    // Entries of several lines are told apart by the time that is written before each, behind a character that begins
    // no line of an entry.
    history_comment_char = '\x01';
    history_write_timestamps = 1;
    if (m_path.empty())
        return;
    history_truncate_file(m_path.c_str(), s_maxEntries);
    read_history(m_path.c_str());
}

void History::Add(const std::string& entry)
{
    const HIST_ENTRY* const last = history_get(history_base + history_length - 1);
    if (last != nullptr && entry == last->line)
        return;
    add_history(entry.c_str());
    if (!m_path.empty())
        append_history(1, m_path.c_str());
}

} // namespace kelm::tool
