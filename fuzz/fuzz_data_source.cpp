// Any text ends in an object or in a described failure, placed inside the text, and does the same when it is read
// again; all that was made on the way can be collected.

#include "Sample.h"

#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/WriteVariable.h>

#include <cstdlib>

using namespace kelm;

namespace
{

// What reading comes to: the object's text, or the failure's place and message.
xstring Read(const xstring& text)
{
    StringStream os(4096);
    try
    {
        LexScannerException error{xstring(), LSToken()};
        if (const GcRoot object(ParseDataSource(text, error)); object.get())
        {
            WriteObject(os, object.get());
        }
        else if (error.m_description.size() != 0)
        {
            if (error.m_pos < text.data() || error.m_pos > text.data() + text.size())
                std::abort();
            os << static_cast<long>(error.m_pos - text.data()) << error.m_description;
        }
    }
    catch (const WriteException& e)
    {
        return e.m_description;
    }
    catch (const KelmAssertionError& e)
    {
        // A 16-bit string of bytes that are not UTF-8 is the only one that these classes can reach.
        if (!(e.m_condition == "Utf16FromUtf8(dst,src)"))
            throw;
    }
    return os.GetString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    const xstring text(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    if (!(Read(text) == Read(text)))
        std::abort();
    if (CollectGarbage().m_live != 0)
        std::abort();
    return 0;
}
