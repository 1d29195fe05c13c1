#pragma once

// Quoted literals: where they end, and what they hold.
//
//     quoted := "'" { character | escape } "'"  |  '"' { character | escape } '"'
//
// A literal ends on its own line. What its escapes mean is looked at when its value is asked for:
// \n \t \r \a \b \f \v \\ \' \" \? \0, \xHH for a byte, \uHHHH and \UHHHHHHHH for a code point, written as UTF-8.

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/text/private/Blocks.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm::text
{

// What ends a run of plain characters inside a literal.
template <char Quote>
struct EndOfRun
{
    static Lanes In(const Block& block) { return block.AreEqual(Quote) | block.AreEqual('\\') | block.AreEqual('\n'); }
    static bool In(char c) { return c == Quote || c == '\\' || c == '\n'; }
};

// Past the literal that begins at `start`, null where it does not end; `escape` is its first backslash, or null.
template <char Quote>
inline const char* ScanQuoted(const char* start, const char* end, const char*& escape)
{
    escape = nullptr;
    const char* p = start + 1;
    while (true)
    {
        p = FindFirst<EndOfRun<Quote>>(p, end);
        if (p == end || *p == '\n')
            return nullptr;
        if (*p == Quote)
            return p + 1;
        if (escape == nullptr)
            escape = p;
        if (++p == end || *p == '\n')
            return nullptr;
        ++p;
    }
}

// Past the literal in double quotes that begins there; its contents, escapes resolved, in place of `out`. Null, with
// `out` as it was, for one that does not end, or has a malformed escape, or is very long.
KLUTILS_API const char* Decode(const char* quote, const char* end, xstring& out);

// The contents of a literal whose quotes have been taken away, with its escapes resolved, in place of `out`. Throws
// LiteralException where an escape is malformed; `out` is as it was then.
KLUTILS_API void Unescape(SubString contents, xstring& out);

// The contents of the literal whose first backslash is known (null for none).
inline void ReadQuoted(SubString literal, const char* escape, xstring& out)
{
    const SubString contents(literal.m_p1 + 1, literal.m_p2 - 1);
    if (escape == nullptr)
        out.assign(contents.m_p1, contents.size());
    else
        Unescape(contents, out);
}

} // namespace kelm::text
