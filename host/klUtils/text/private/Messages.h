#pragma once

// The messages that more than one reader has.

#include <klUtils/MessageOf.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/types.h>

namespace kelm::text
{

inline xstring ExpectedMessage(ConstStringZ what, const LSToken& found)
{
    return MessageOf("Expected ", what, " when read ", found);
}

inline xstring OutOfRangeMessage(bool isNegative, const LSToken& literal, ConstStringZ typeName)
{
    return MessageOf("Value ", isNegative ? "-" : "", literal, " is out of range of ", typeName);
}

} // namespace kelm::text
