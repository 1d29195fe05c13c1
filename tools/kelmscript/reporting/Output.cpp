#include "Output.h"

#include "Progress.h"

#include <kelm/private/files/FileDescriptor.h>

#include <cerrno>

#include <unistd.h>

namespace kelm::tool
{

namespace
{

int s_error = 0;

void Write(std::string_view text)
{
    const Progress::Pause pause;
    if (s_error == 0 && !WriteAll(STDOUT_FILENO, text))
        s_error = errno;
}

} // namespace

OutputBuffer s_output;

void PutBeyond(std::string_view text)
{
    FlushOutput();
    if (text.size() > sizeof s_output.m_text)
        Write(text);
    else
        Put(text);
}

void FlushOutput()
{
    if (s_output.m_size > 0)
        Write({s_output.m_text, s_output.m_size});
    s_output.m_size = 0;
}

void DropOutput()
{
    s_output.m_size = 0;
}

int GetOutputError()
{
    return s_error;
}

} // namespace kelm::tool
