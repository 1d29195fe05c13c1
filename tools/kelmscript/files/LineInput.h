#pragma once

#include <kelm/private/files/FileDescriptor.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace kelm::tool
{

// The lines of a file, which is read by the block. Standard output is flushed before more is waited for, which a file
// on a disk needs not, so that another program can ask one question after the other.
class LineInput
{
public:
    // "-" is standard input. Reports an error where the file cannot be read.
    explicit LineInput(const std::string& path);

    // Its name for people.
    const std::string& GetName() const { return m_name; }

    // The next line, without its line break; it stays until the next call. False at the end.
    bool Read(std::string_view& line)
    {
        const auto* const end = static_cast<const char*>(std::memchr(m_p, '\n', static_cast<std::size_t>(m_end - m_p)));
        if (end == nullptr) [[unlikely]]
            return ReadAcrossBlocks(line);
        return TakeLine(end, line);
    }

    // How many octets have been given, and how many the file has; 0 where that is not known.
    std::size_t GetNumRead() const { return m_numRead - static_cast<std::size_t>(m_end - m_p); }
    std::size_t GetSize() const { return m_size; }

    // Whether the file or a line of it could not be read, which was reported.
    bool HasFailed() const { return m_hasFailed; }

private:
    bool TakeLine(const char* end, std::string_view& line)
    {
        line = {m_p, static_cast<std::size_t>(end - m_p)};
        if (line.size() > m_maxSize) [[unlikely]]
            return FailAtLongLine();
        m_p = end + 1;
        return true;
    }
    bool FailAtLongLine();
    bool ReadAcrossBlocks(std::string_view& line);
    bool ReadBlock();
    void MakeRoom(std::size_t size);
    bool Fail(const std::string& why);

    std::string m_name;
    FileDescriptor m_file; // closed at its end
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_capacity = 0;
    const char* m_p = ""; // what is read and not yet given
    const char* m_end = m_p;
    std::size_t m_maxSize; // of a line
    std::size_t m_size = 0;
    std::size_t m_numRead = 0;
    bool m_hasFailed = false;
    bool m_isAtStart = true;
};

} // namespace kelm::tool
