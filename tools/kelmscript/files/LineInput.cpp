#include "LineInput.h"

#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"
#include "Files.h"

#include <kelm/private/errors/Source.h>

#include <optional>

#include <sys/stat.h>

namespace kelm::tool
{

namespace
{

constexpr std::size_t s_blockSize = 65536;

} // namespace

LineInput::LineInput(const std::string& path)
    : m_name(NameOfFile(path)), m_file(OpenFile(path)), m_maxSize(GetSizeLimit()), m_hasFailed(!m_file.IsOpen())
{
    struct stat status = {};
    if (!m_hasFailed && fstat(m_file.get(), &status) == 0 && S_ISREG(status.st_mode))
        m_size = static_cast<std::size_t>(status.st_size);
    // What comes by standard input may go on for as long as it likes.
    if (path != "-" && m_size > m_maxSize)
        Fail("it is longer than " + SizeLimitText());
}

bool LineInput::ReadAcrossBlocks(std::string_view& line)
{
    while (true)
    {
        const auto size = static_cast<std::size_t>(m_end - m_p); // of the line so far, which is not looked at again
        if (!ReadBlock())
            break;
        const auto* const end =
            static_cast<const char*>(std::memchr(m_p + size, '\n', static_cast<std::size_t>(m_end - m_p) - size));
        if (end == nullptr)
            continue;
        return TakeLine(end, line);
    }
    if (m_p == m_end || m_hasFailed)
        return false;
    line = {m_p, static_cast<std::size_t>(m_end - m_p)};
    m_p = m_end;
    return line.size() <= m_maxSize || FailAtLongLine();
}

bool LineInput::FailAtLongLine()
{
    m_p = m_end;
    return Fail("a line is longer than " + SizeLimitText());
}

// Reads on behind what is not yet given; false at the end.
bool LineInput::ReadBlock()
{
    if (!m_file.IsOpen())
        return false;
    const auto size = static_cast<std::size_t>(m_end - m_p);
    if (size > m_maxSize)
        return FailAtLongLine();
    MakeRoom(size);
    std::optional<Progress::Wait> wait;
    if (m_size == 0) // what is no file on a disk is waited for
    {
        FlushOutput();
        wait.emplace();
    }
    const ssize_t count = ReadSome(m_file.get(), m_buffer.get() + size, m_capacity - size);
    if (count < 0)
        return Fail(ErrnoText());
    wait.reset();
    m_end += count;
    m_numRead += static_cast<std::size_t>(count);
    if (count == 0)
        m_file.Close();
    const std::string_view text(m_p, static_cast<std::size_t>(m_end - m_p));
    if (IsBinary(text)) // whatever stood before it
    {
        m_p = m_end;
        return Fail(s_isNoText); // one error, and not one for each line
    }
    if (std::exchange(m_isAtStart, false))
        m_p = m_end - WithoutByteOrderMark(text).size();
    return count > 0;
}

// Moves what is not yet given to the front of a buffer that has room for a block behind it.
void LineInput::MakeRoom(std::size_t size)
{
    if (m_capacity >= size + s_blockSize)
        std::memmove(m_buffer.get(), m_p, size);
    else
    {
        m_capacity = 2 * size + s_blockSize;
        std::unique_ptr<char[]> buffer(new char[m_capacity]); // not zeroed
        std::memcpy(buffer.get(), m_p, size);
        m_buffer = std::move(buffer);
    }
    m_p = m_buffer.get();
    m_end = m_p + size;
}

bool LineInput::Fail(const std::string& why)
{
    ReportUnreadable(m_name, why);
    m_file.Close();
    m_hasFailed = true;
    return false;
}

} // namespace kelm::tool
