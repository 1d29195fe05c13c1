#pragma once

#include <klUtils/IException.h>
#include <klUtils/xstring.h>

#include <exception>

namespace kelm
{

// A literal whose text has no value: a number out of range, a malformed escape. Carries no position; whoever asked for
// the value knows the token.
class KLUTILS_API LiteralException : public IException, public std::exception
{
public:
    explicit LiteralException(ConstStringZ description);
    explicit LiteralException(const xstring& description); // any bytes, zero bytes included
    ~LiteralException() override;

    void Write(xostream& os) const override; // the description
    const char* what() const noexcept override;

    xstring m_description;
};

} // namespace kelm
