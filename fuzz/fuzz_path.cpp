// Any path ends at an address inside the object or in a described failure.

#include "Sample.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>

#include <cstdlib>

using namespace kelm;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    CollectGarbage(); // what the last input left
    const xstring path(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    xstring error;
    const GcRoot root(ParseDataSourceFromString("sample.Node { children = [{ points = [(1, 2)] }] numbers = [1, 2] "
                                                "next = sample.Node { name = 'end' } }",
                                                error));
    ReflectionByteCode type;
    try
    {
        // Indices of dynamic arrays are kept small: they grow to whatever is asked for.
        if (path.view().find("grown") == std::string_view::npos)
            NavigatePathToField(root.get(), path, type, (size & 1) != 0, error);
    }
    catch (const KelmAssertionError& e)
    {
        if (!(e.m_condition == "0")) // a map on the path
            throw;
    }
    return 0;
}
