#include <kelm/private/files/FileText.h>

#include <kelm/private/files/FileDescriptor.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>

namespace kelm
{

namespace
{

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
std::size_t FirstRoom(int file, std::size_t maxSize)
{
    constexpr std::size_t least = 65536;
    struct stat status = {};
    if (fstat(file, &status) != 0 || status.st_size <= 0)
        return least;
    return std::min(static_cast<std::size_t>(status.st_size), maxSize) + 1;
}

} // namespace

std::string ErrnoText()
{
    return std::strerror(errno);
}

std::optional<FileText> ReadRest(int file, std::size_t maxSize, std::string& why)
{
    GrowingText text;
    text.Reserve(FirstRoom(file, maxSize));
    while (true)
    {
        if (text.GetRoom() == 0)
            text.Reserve(2 * text.GetSize());
        const ssize_t count = ReadSome(file, text.GetEnd(), text.GetRoom());
        if (count < 0)
        {
            why = ErrnoText();
            return std::nullopt;
        }
        if (count == 0)
            break;
        text.Extend(static_cast<std::size_t>(count));
        if (text.GetSize() > maxSize)
            return std::nullopt;
    }
    const std::size_t size = text.GetSize();
    return FileText(text.Release(), size);
}

} // namespace kelm
