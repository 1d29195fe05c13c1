#include <kelm/Result.h>

namespace kelm
{

const Error& GetErrorOfNone()
{
    static const Error s_error({.m_message = "there is no error"});
    return s_error;
}

} // namespace kelm
