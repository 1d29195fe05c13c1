#include <kelmLanguage/server/Frames.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace kelm::language
{

namespace
{

constexpr std::size_t s_longestLine = 4096;

bool IsSameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return (x | 0x20) == (y | 0x20); });
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r");
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

} // namespace

void FrameReader::Drop(std::size_t size)
{
    constexpr std::size_t enough = 1 << 16;
    m_at += size;
    if (m_at == m_octets.size())
    {
        m_octets.clear();
        m_at = 0;
    }
    else if (m_at > enough && m_at > m_octets.size() / 2)
    {
        m_octets.erase(0, m_at);
        m_at = 0;
    }
}

// Line by line. False where more is needed; a fault where it is no header.
bool FrameReader::ReadHeader(Message& message)
{
    while (true)
    {
        const std::size_t end = m_octets.find('\n', m_at);
        if (end == std::string::npos)
        {
            if (m_octets.size() - m_at <= s_longestLine)
                return false;
            Drop(m_octets.size() - m_at);
            message.m_fault = "a line of a header is too long";
            return true;
        }
        const std::string line(Trimmed(std::string_view(m_octets).substr(m_at, end - m_at)));
        Drop(end + 1 - m_at);
        if (line.empty())
        {
            if (std::exchange(m_hasLength, false))
            {
                m_isInBody = true;
                return true;
            }
            continue; // blank lines between messages
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
        {
            message.m_fault = "a header has names and values";
            return true;
        }
        if (!IsSameName(Trimmed(std::string_view(line).substr(0, colon)), "Content-Length"))
            continue;
        const std::string_view value = Trimmed(std::string_view(line).substr(colon + 1));
        const auto [past, error] = std::from_chars(value.data(), value.data() + value.size(), m_length);
        if (error != std::errc() || past != value.data() + value.size())
        {
            message.m_fault = "Content-Length is no number";
            return true;
        }
        m_hasLength = true;
    }
}

std::optional<Message> FrameReader::Next()
{
    Message message;
    if (m_passed > 0)
    {
        const std::size_t passed = std::min(m_passed, m_octets.size() - m_at);
        m_passed -= passed;
        Drop(passed);
        if (m_passed > 0)
            return std::nullopt;
    }
    if (!m_isInBody)
    {
        if (!ReadHeader(message))
            return std::nullopt;
        if (!message.m_fault.empty())
            return message;
        if (m_length > s_longestMessage)
        {
            m_isInBody = false;
            m_passed = m_length;
            message.m_fault = "a message is longer than " + std::to_string(s_longestMessage) + " octets";
            return message;
        }
    }
    if (m_octets.size() - m_at < m_length)
        return std::nullopt;
    message.m_body = m_octets.substr(m_at, m_length);
    m_isInBody = false;
    Drop(m_length);
    return message;
}

std::string Framed(std::string_view body)
{
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

} // namespace kelm::language
