#pragma once

#include <klUtils/MessageException.h>

namespace kelm
{

// A literal whose text has no value: a number out of range, a malformed escape. Carries no position; whoever asked for
// the value knows the token.
class KLUTILS_API LiteralException : public MessageException
{
public:
    using MessageException::MessageException;
    ~LiteralException() override;
};

} // namespace kelm
