#pragma once

#include <klUtils/IException.h>
#include <klUtils/api.h>
#include <klUtils/xstring.h>

#include <exception>

namespace kelm
{

// An error that is told by its message: the base of every exception type of ours, so that each is caught as an
// IException and as a std::exception. A type that says more adds members, and writes them too where they help a person.
class KLUTILS_API MessageException : public IException, public std::exception
{
public:
    explicit MessageException(xstring description);
    ~MessageException() override;

    void Write(xostream& os) const override;    // the message, with nothing added
    const char* what() const noexcept override; // the message

    xstring m_description;
};

} // namespace kelm
