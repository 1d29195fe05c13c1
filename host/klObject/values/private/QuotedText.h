#pragma once

// Texts and characters in quotes, as data sources have them.

#include <klObject/values/private/TextRoom.h>
#include <klUtils/BasicSubString.h>

namespace kelm
{

// What stands for itself is copied: printable ASCII but the quote and the backslash, and UTF-8 beyond ASCII. Everything
// else is escaped.
char* PutQuoted(TextRoom& room, char* p, SubString text, char quote);

} // namespace kelm
