#include "Files.h"

#include "Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

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

// Memory that grows without being copied where it is large.
class GrowingText
{
public:
    GrowingText() = default;
    ~GrowingText() { std::free(m_text); } // NOLINT
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    void Reserve(std::size_t capacity)
    {
        auto* const text = static_cast<char*>(std::realloc(m_text, capacity)); // NOLINT
        if (text == nullptr)
            throw std::bad_alloc();
        m_text = text;
        m_capacity = capacity;
        UseLargePages();
    }

    char* GetEnd() const { return m_text + m_size; }
    std::size_t GetRoom() const { return m_capacity - m_size; }
    std::size_t GetSize() const { return m_size; }
    void Extend(std::size_t size) { m_size += size; }
    char* Release() { return std::exchange(m_text, nullptr); }

private:
    // A large text comes in faster where it does not fault for each 4 KiB. It may be refused.
    void UseLargePages()
    {
        constexpr std::size_t largePage = std::size_t{2} << 20;
        void* begin = m_text;
        std::size_t size = m_capacity;
        if (std::align(largePage, largePage, begin, size) != nullptr)
            static_cast<void>(madvise(begin, size / largePage * largePage, MADV_HUGEPAGE));
    }

    char* m_text = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

// How much room a text of unknown size gets at first: the size of a regular file, and an octet to find its end in.
std::size_t FirstRoom(int fd)
{
    constexpr std::size_t least = 65536;
    struct stat status = {};
    if (fstat(fd, &status) != 0 || status.st_size <= 0)
        return least;
    return std::min(static_cast<std::size_t>(status.st_size), s_sizeLimit) + 1;
}

// Empty, or why it cannot be read.
std::string ReadAll(int fd, GrowingText& text)
{
    text.Reserve(FirstRoom(fd));
    while (true)
    {
        if (text.GetRoom() == 0)
            text.Reserve(2 * text.GetSize());
        const ssize_t count = ReadSome(fd, text.GetEnd(), text.GetRoom());
        if (count < 0)
            return ErrnoText();
        if (count == 0)
            return {};
        text.Extend(static_cast<std::size_t>(count));
        if (text.GetSize() > s_sizeLimit)
            return "it is longer than " + SizeLimitText();
    }
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

std::string ErrnoText()
{
    return std::strerror(errno);
}

void ReportUnreadable(const std::string& name, const std::string& why)
{
    ReportError("cannot read " + name + ": " + why);
}

FileDescriptor OpenFile(const std::string& path)
{
    const bool isStandardInput = path == "-";
    FileDescriptor file(isStandardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                        : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    const std::string why = !file.IsOpen() ? ErrnoText() : isStandardInput ? "" : WhyUnreadable(file.get());
    if (why.empty())
        return file;
    ReportUnreadable(NameOfFile(path), why);
    return FileDescriptor();
}

std::optional<FileText> ReadFile(const std::string& path)
{
    const FileDescriptor file = OpenFile(path);
    if (!file.IsOpen())
        return std::nullopt;
    GrowingText text;
    if (const std::string why = ReadAll(file.get(), text); !why.empty())
    {
        ReportUnreadable(NameOfFile(path), why);
        return std::nullopt;
    }
    const std::size_t size = text.GetSize();
    return FileText(NameOfFile(path), text.Release(), size);
}

} // namespace kelm::tool
