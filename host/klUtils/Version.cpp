#include <klUtils/Version.h>

namespace kelm
{

int GetVersion() noexcept
{
    return KELM_VERSION;
}

const char* GetVersionText() noexcept
{
    return KELM_VERSION_TEXT;
}

} // namespace kelm
