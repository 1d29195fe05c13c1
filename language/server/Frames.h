#pragma once

// Messages of the language server protocol as octets: a header that says how long the body is, and the body.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::language
{

// A longer body is passed over.
inline constexpr std::size_t s_longestMessage = std::size_t{256} << 20;

struct Message
{
    std::string m_body;
    std::string m_fault; // why there is none; empty where there is one
};

// Takes octets as they come. Behind what is no message it looks for the next header, which may stand right behind a
// body whose length was not told.
class FrameReader
{
public:
    void Add(std::string_view octets) { m_octets += octets; }

    // The next one that is there as a whole.
    std::optional<Message> Next();

private:
    bool ReadHeader(Message& message);
    bool Lose(Message& message, const char* fault);
    bool ReadLength(std::string_view value);
    const char* ReadField(std::string_view line);
    bool FindLength(std::string_view line);
    void Drop(std::size_t size);

    std::string m_octets;
    std::size_t m_at = 0;     // what is before that is dropped now and then
    std::size_t m_length = 0; // of the body that follows
    std::size_t m_passed = 0; // how much of a body that is too long is still to be passed over
    bool m_hasLength = false;
    bool m_isInBody = false;
    bool m_isLost = false; // a fault was told, and no header found since
};

std::string Framed(std::string_view body);

} // namespace kelm::language
