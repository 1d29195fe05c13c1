#include "Output.h"

#include "FileDescriptor.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace kelm::tool
{

namespace
{

char s_buffer[65536];
std::size_t s_size = 0;
int s_error = 0;

void Write(std::string_view text)
{
    if (s_error == 0 && !WriteAll(STDOUT_FILENO, text))
        s_error = errno;
}

} // namespace

void Put(std::string_view text)
{
    if (text.size() > sizeof s_buffer - s_size)
    {
        FlushOutput();
        if (text.size() > sizeof s_buffer)
            return Write(text);
    }
    if (!text.empty()) // which may have no address
        std::memcpy(s_buffer + s_size, text.data(), text.size());
    s_size += text.size();
}

void PutLine(std::string_view text)
{
    Put(text);
    Put("\n");
}

void FlushOutput()
{
    if (s_size > 0)
        Write({s_buffer, s_size});
    s_size = 0;
}

int GetOutputError()
{
    return s_error;
}

} // namespace kelm::tool
