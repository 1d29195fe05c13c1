#pragma once

#include <klUtils/api.h>

namespace kelm
{

class xostream;

// What every exception of the system can do. Each exception type that a program can see is a MessageException, which is
// a std::exception as well, so that a plain catch (const std::exception&) misses none.
class KLUTILS_API IException
{
public:
    // Writes the error for a person, without a line break at the end.
    virtual void Write(xostream& os) const = 0;

    // Behind Write on purpose: Write is the first slot of the function table.
    virtual ~IException();

protected:
    IException() = default;
    IException(const IException&) = default;
    IException& operator=(const IException&) = default;
};

} // namespace kelm
