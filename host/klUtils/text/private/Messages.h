#pragma once

// The messages that more than one reader has.

#include <klUtils/text/LSToken.h>
#include <klUtils/types.h>
#include <klUtils/xostream.h>

namespace kelm::text
{

// Each writes to an xostream or what is used as one.

// What comes before a message whose line is known.
template <class Stream>
void WriteLineBefore(Stream& os, int64 line)
{
    if (line == 1)
        os << "line 1: ";
    else
        os << "line " << line << ": ";
}

// Of something that was expected where a token was found, and of a literal that a type does not hold.
template <class Stream>
void WriteExpected(Stream& os, ConstStringZ what, const LSToken& found)
{
    os << "Expected " << what << " when read " << found;
}
template <class Stream>
void WriteOutOfRange(Stream& os, bool isNegative, const LSToken& literal, ConstStringZ typeName)
{
    os << "Value " << (isNegative ? "-" : "") << literal << " is out of range of " << typeName;
}

[[gnu::cold, gnu::noinline]] inline xstring ExpectedMessage(ConstStringZ what, const LSToken& found)
{
    StringStream message(256);
    WriteExpected(message, what, found);
    return message.GetString();
}
[[gnu::cold, gnu::noinline]] inline xstring OutOfRangeMessage(bool isNegative, const LSToken& literal,
                                                              ConstStringZ typeName)
{
    StringStream message(256);
    WriteOutOfRange(message, isNegative, literal, typeName);
    return message.GetString();
}

} // namespace kelm::text
