#include <kelmLanguage/server/Frames.h>

#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace kelm::language
{

namespace
{

constexpr std::size_t s_longestLine = 4096;
constexpr std::string_view s_lengthName = "Content-Length";

bool IsSameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return (x | 0x20) == (y | 0x20); });
}

bool IsOfName(char c)
{
    return c == '-' || IsIdentifierCharacter(c);
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

// A fault is told once; then what is no header is passed over until one is found.
bool FrameReader::Lose(Message& message, const char* fault)
{
    m_isLost = true;
    message.m_fault = fault;
    return true;
}

bool FrameReader::ReadLength(std::string_view value)
{
    const auto [past, error] = std::from_chars(value.data(), value.data() + value.size(), m_length);
    m_hasLength = error == std::errc() && past == value.data() + value.size();
    return m_hasLength;
}

// Why that is none; null where it is one.
const char* FrameReader::ReadField(std::string_view line)
{
    const std::size_t colon = line.find(':');
    const std::string_view name = Trimmed(line.substr(0, colon));
    if (colon == std::string_view::npos || !std::all_of(name.begin(), name.end(), IsOfName))
        return "a header has names and values";
    if (IsSameName(name, s_lengthName) && !ReadLength(Trimmed(line.substr(colon + 1))))
        return "Content-Length is no number";
    return nullptr;
}

// No line end is in the body before, since texts of JSON have none: so the header ends the line.
bool FrameReader::FindLength(std::string_view line)
{
    const std::size_t colon = line.rfind(':');
    if (colon == std::string_view::npos || colon < s_lengthName.size() ||
        !IsSameName(line.substr(colon - s_lengthName.size(), s_lengthName.size()), s_lengthName))
        return false;
    return ReadLength(Trimmed(line.substr(colon + 1)));
}

// Line by line. False where more is needed; a fault where it is no header.
bool FrameReader::ReadHeader(Message& message)
{
    while (true)
    {
        const std::string_view octets = std::string_view(m_octets).substr(m_at);
        const std::size_t end = octets.find('\n');
        if (!m_isLost && std::min(end, octets.size()) > s_longestLine)
            return Lose(message, "a line of a header is too long");
        if (end == std::string_view::npos)
        {
            if (octets.size() > s_longestLine)
                Drop(octets.size() - s_longestLine); // the rest may end in a header
            return false;
        }
        const std::string_view line = Trimmed(octets.substr(0, end));
        const bool isEnd = line.empty(); // or a blank line between messages
        if (m_isLost)
            m_isLost = !FindLength(line) && !(isEnd && m_hasLength);
        else if (const char* fault = isEnd ? nullptr : ReadField(line))
            return Lose(message, fault);
        Drop(end + 1);
        if (isEnd && std::exchange(m_hasLength, false))
        {
            m_isInBody = true;
            return true;
        }
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
