// What can be read can be written, and what is written reads back the same.

#include "Sample.h"

#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>

#include <cstdlib>

using namespace kelm;

namespace
{

xstring TextOf(const ptr<IObject>& object, bool isIndented)
{
    StringStream os(4096);
    WriteOptions options;
    options.m_indent = isIndented ? 4 : 0;
    WriteObject(os, object, options);
    return os.GetString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    CollectGarbage(); // what the last input left
    const xstring text(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    try
    {
        xstring error;
        const GcRoot object(ParseDataSourceFromString(text, error));
        if (!object.get())
            return 0;
        const xstring written = TextOf(object.get(), (size & 1) != 0);
        const GcRoot again(ParseDataSourceFromString(written, error));
        if (!again.get() || !(TextOf(again.get(), (size & 1) != 0) == written))
            std::abort();
    }
    catch (const WriteException&)
    {
        // A lone half of a 16-bit character, which no text gives.
    }
    catch (const KelmAssertionError& e)
    {
        if (!(e.m_condition == "Utf16FromUtf8(dst,src)")) // of the input's own bytes
            throw;
    }
    return 0;
}
