#pragma once

namespace kelm::tool
{

enum EBlankText
{
    BLANK_FAILS, // a text of white space and comments is no expression
    BLANK_PASSES,
};

} // namespace kelm::tool
