#pragma once

#include "Interruption.h"

#include <klUtils/xostream.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace kelm::tool
{

// Standard output: collected in memory and written by the block, in the order of the calls. Whoever waits for input or
// writes to standard error flushes it first.
inline void Put(std::string_view text);
inline void PutLine(std::string_view text);
void FlushOutput();

// Forgets what has not been written yet.
void DropOutput();

// For what is written where it will lie: room for so many characters, few of them, and up to where they were written.
inline char* RoomInOutput(std::size_t numCharacters);
inline void TakeAsPut(const char* end);

// Why what was put did not all arrive (a full disk): the errno of the first failure; 0 where there was none.
int GetOutputError();

// The same for whatever writes to a stream.
class OutputStream : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override
    {
        ThrowIfInterrupted();
        Put({text, static_cast<std::size_t>(length)});
    }
};

// --- The inside

struct OutputBuffer
{
    char m_text[65536];
    std::size_t m_size;
};
extern OutputBuffer s_output;

// What has no room in the buffer.
void PutBeyond(std::string_view text);

inline void Put(std::string_view text)
{
    if (text.size() > sizeof s_output.m_text - s_output.m_size) [[unlikely]]
        return PutBeyond(text);
    if (!text.empty()) // which may have no address
        std::memcpy(s_output.m_text + s_output.m_size, text.data(), text.size());
    s_output.m_size += text.size();
}

inline char* RoomInOutput(std::size_t numCharacters)
{
    if (numCharacters > sizeof s_output.m_text - s_output.m_size) [[unlikely]]
        FlushOutput();
    return s_output.m_text + s_output.m_size;
}

inline void TakeAsPut(const char* end)
{
    s_output.m_size = static_cast<std::size_t>(end - s_output.m_text);
}

inline void PutLine(std::string_view text)
{
    Put(text);
    Put("\n");
}

} // namespace kelm::tool
