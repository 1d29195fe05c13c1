#include "Files.h"

#include "Diagnostics.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

// Reports what errno says.
void ReportErrno(std::string_view what, const std::string& path)
{
    const int error = errno;
    ReportError(std::string(what) + " " + path + ": " + std::strerror(error));
}

class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() { Close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    bool IsOpen() const { return m_fd >= 0; }
    bool Close()
    {
        const int fd = std::exchange(m_fd, -1);
        return fd < 0 || close(fd) == 0;
    }

private:
    int m_fd;
};

bool ReadAll(int fd, std::string& text)
{
    char buffer[65536];
    while (true)
    {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count == 0)
            return true;
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
}

bool WriteAll(int fd, std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t count = write(fd, text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

// Where a symbolic link leads.
std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    return real != nullptr ? real.get() : path;
}

bool FillBeside(FileDescriptor& file, const std::string& target, std::string_view contents)
{
    struct stat status = {};
    const mode_t permissions = 07777;
    return stat(target.c_str(), &status) == 0 && fchmod(file.get(), status.st_mode & permissions) == 0 &&
           WriteAll(file.get(), contents) && fsync(file.get()) == 0 && file.Close();
}

} // namespace

std::optional<SourceText> ReadFile(const std::string& path)
{
    const bool isStandardInput = path == "-";
    SourceText source{isStandardInput ? "<stdin>" : path, {}};
    FileDescriptor file(isStandardInput ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.IsOpen() && ReadAll(file.get(), source.m_text))
        return source;
    ReportErrno("cannot read", source.m_name);
    return std::nullopt;
}

bool ReplaceFile(const std::string& path, std::string_view contents)
{
    const std::string target = RealPath(path);
    std::string beside = target + ".XXXXXX";
    FileDescriptor file(mkostemp(beside.data(), O_CLOEXEC));
    if (!file.IsOpen())
    {
        ReportErrno("cannot write beside", path);
        return false;
    }
    if (FillBeside(file, target, contents) && std::rename(beside.c_str(), target.c_str()) == 0)
        return true;
    ReportErrno("cannot replace", path);
    unlink(beside.c_str());
    return false;
}

} // namespace kelm::tool
