#pragma once

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/types.h>

namespace kelm
{

// Returns the first token of `s` and advances s.m_p1 past it and past the white space before it; at the end of `s` a
// TOKEN_END, whose text is the empty view there. Comments are tokens here. `atLineStart` says that s.m_p1 is the first
// character of a line, where a '#' begins a preprocessor comment.
//
// Throws LexScannerException, with `s` unchanged, at characters that form no token: a control or non-ASCII character
// outside quotes, an unterminated literal or block comment, a number that runs into letters.
KLUTILS_API LSToken LsScanToken(SubString& s, bool atLineStart);

// The line, counted from 1, that holds `pos` within `text`. A position outside the text counts as its nearest end.
KLUTILS_API int64 GetLineNumber(SubString text, const char* pos);

} // namespace kelm
