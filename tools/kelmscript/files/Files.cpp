#include "Files.h"

#include "../reporting/Diagnostics.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

// Of a file, to find out whether it is a text. What comes later is looked at where it fails.
constexpr std::size_t s_numOctetsLookedAt = 65536;

std::size_t s_sizeLimit = std::size_t{1} << 30;

// What is wrong with a file that is open; empty where it can be read.
std::string WhyUnreadable(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        return ErrnoText();
    if (S_ISDIR(status.st_mode))
        return std::strerror(EISDIR);
    return S_ISREG(status.st_mode) ? "" : "it is not a regular file; - is standard input";
}

} // namespace

void SetSizeLimit(std::size_t numOctets)
{
    s_sizeLimit = numOctets;
}

std::size_t GetSizeLimit()
{
    return s_sizeLimit;
}

std::string SizeLimitText()
{
    return std::to_string(s_sizeLimit) + " octets; --max-size sets the limit";
}

std::string NameOfFile(const std::string& path)
{
    return path == "-" ? "<stdin>" : path;
}

std::string UnreadableText(const std::string& name, const std::string& why)
{
    return "cannot read " + name + ": " + why;
}

void ReportUnreadable(const std::string& name, const std::string& why)
{
    ReportError(UnreadableText(name, why), "file");
}

namespace
{

FileDescriptor TryOpenFile(const std::string& path, std::string& why)
{
    const bool isStandardInput = path == "-";
    FileDescriptor file(isStandardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                        : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    why = !file.IsOpen() ? ErrnoText() : isStandardInput ? "" : WhyUnreadable(file.get());
    return why.empty() ? std::move(file) : FileDescriptor();
}

} // namespace

FileDescriptor OpenFile(const std::string& path)
{
    std::string why;
    FileDescriptor file = TryOpenFile(path, why);
    if (!file.IsOpen())
        ReportUnreadable(NameOfFile(path), why);
    return file;
}

std::optional<NamedText> TryReadFile(const std::string& path, std::string& why)
{
    const FileDescriptor file = TryOpenFile(path, why);
    if (!file.IsOpen())
        return std::nullopt;
    std::optional<FileText> text = ReadRest(file.get(), s_sizeLimit, why);
    const bool isText = text && !IsBinary(text->View().substr(0, s_numOctetsLookedAt));
    if (isText)
        return NamedText{NameOfFile(path), std::move(*text)};
    why = text ? s_isNoText : why.empty() ? "it is longer than " + SizeLimitText() : why;
    return std::nullopt;
}

std::optional<NamedText> ReadFile(const std::string& path)
{
    std::string why;
    std::optional<NamedText> text = TryReadFile(path, why);
    if (!text)
        ReportUnreadable(NameOfFile(path), why);
    return text;
}

bool ReplaceFile(const std::string& path, std::string_view contents)
{
    const std::string why = kelm::ReplaceFile(path, contents);
    if (!why.empty())
        ReportError("cannot replace " + path + ": " + why);
    return why.empty();
}

} // namespace kelm::tool
