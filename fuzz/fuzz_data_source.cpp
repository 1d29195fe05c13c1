// Any text ends in an object or in a described failure, and all that was made on the way can be collected.

#include "Sample.h"

#include <klKelmScript/ParseDataSource.h>

#include <cstdlib>

using namespace kelm;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    const xstring text(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    try
    {
        xstring error;
        ParseDataSourceFromString(text, error);
    }
    catch (const KelmAssertionError& e)
    {
        // A 16-bit string of bytes that are not UTF-8 is the only one that these classes can reach.
        if (!(e.m_condition == "Utf16FromUtf8(dst,src)"))
            throw;
    }
    if (CollectGarbage().m_live != 0)
        std::abort();
    return 0;
}
