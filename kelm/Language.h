#pragma once

#include <klUtils/types.h>

namespace kelm
{

// Which language an expression is in. There is one grammar, and one table of the points in which they differ
// (docs/language.md):
//
//                                    Natural                          Exact
//     (2.0 + 3.0) / 2                2.5: floats stay floats          2: whole-numbered floats are integers
//     -2.0, +2.0                     a float                          an integer
//     7.5 % 2.0                      1.5, the rest of the division    an error
//     6.0 & 3, 1.0 << 2, ~1.0        errors: bits are of integers     as of integers
//     sin(2)                         as sin(2.0)                      an error
//     a && b, a || b, c ? a : b      evaluate what they need          evaluate all
//     len("abc"), "abc"[0]           3, "a"                           refused
//     smallest integer / -1          an error                         a fault of the processor
//     text behind the expression     an error                         not looked at
enum class Language : uint8
{
    Natural,
    Exact,
};

} // namespace kelm
