#pragma once

#include <klUtils/xostream.h>

#include <string_view>

namespace kelm::tool
{

// Standard output: collected in memory and written by the block, in the order of the calls. Whoever waits for input or
// writes to standard error flushes it first.
void Put(std::string_view text);
void PutLine(std::string_view text);
void FlushOutput();

// Why what was put did not all arrive (a full disk): the errno of the first failure; 0 where there was none.
int GetOutputError();

// The same for whatever writes to a stream.
class OutputStream : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { Put({text, static_cast<std::size_t>(length)}); }
};

} // namespace kelm::tool
