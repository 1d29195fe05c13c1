#pragma once

#include <klUtils/api.h>
#include <klUtils/xstring.h>

namespace kelm
{

// Sets `out` to the UTF-16 form of `length` bytes of UTF-8, with surrogate pairs where needed. False, with `out`
// unchanged, where the bytes are not UTF-8 (overlong forms, surrogates and values beyond U+10FFFF included).
KLUTILS_API bool Utf16FromUtf8(basic_xstring<unsigned short>& out, const char* utf8, long length);

// The other way: sets `out` to the UTF-8 form. False, with `out` unchanged, where a surrogate stands alone.
KLUTILS_API bool Utf8FromUtf16(xstring& out, const unsigned short* utf16, long length);

// Reads the code point at `p` and moves `p` past it; false where the bytes there are not UTF-8.
KLUTILS_API bool ReadUtf8(const char*& p, const char* end, uint32& codePoint);

// The UTF-8 form of a code point, which must be one that UTF-8 can hold: up to four bytes, written at `p` or appended.
// WriteUtf8 returns their end.
KLUTILS_API char* WriteUtf8(char* p, uint32 codePoint);
KLUTILS_API void AppendUtf8(xstring& out, uint32 codePoint);

// Whether a byte goes on with a character of several bytes.
inline bool IsUtf8Continuation(char c)
{
    return (c & 0xC0) == 0x80;
}

} // namespace kelm
