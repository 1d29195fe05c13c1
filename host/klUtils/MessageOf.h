#pragma once

#include <klUtils/xostream.h>
#include <klUtils/xstring.h>

namespace kelm
{

// The text of an error: the parts, one behind the other, as an output stream writes them.
template <class... Parts>
[[gnu::cold, gnu::noinline]] xstring MessageOf(const Parts&... parts)
{
    StringStream message(256); // what most messages fit in
    (message << ... << parts);
    return message.GetString();
}

} // namespace kelm
