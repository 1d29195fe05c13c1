#include <klUtils/text/private/TypedReads.h>

#include <klUtils/LiteralException.h>
#include <klUtils/text/private/Messages.h>

namespace kelm::text
{

void ThrowOutOfRange(const Cursor& cursor, bool isNegative, ConstStringZ typeName)
{
    cursor.ThrowAtToken(OutOfRangeMessage(isNegative, cursor.GetToken(), typeName));
}

xchar ReadChar(Cursor& cursor)
{
    if (!cursor.IsQuoted())
        cursor.ThrowExpected("character");
    xchar c = 0;
    try
    {
        c = cursor.GetToken().GetLiteralCharacter();
    }
    catch (const LiteralException& e)
    {
        cursor.ThrowAtToken(e.m_description);
    }
    cursor.Next();
    return c;
}

namespace
{

// The contents go into a string of their own first: they may be malformed, and so may the token behind them.
[[gnu::noinline]] void ReadEscapedString(Cursor& cursor, xstring& out)
{
    xstring contents;
    try
    {
        cursor.GetToken().GetLiteralString(contents);
    }
    catch (const LiteralException& e)
    {
        cursor.ThrowAtToken(e.m_description);
    }
    cursor.Next();
    out.swap(contents);
}

} // namespace

void ReadString(Cursor& cursor, xstring& out)
{
    if (!cursor.IsQuoted()) [[unlikely]]
        cursor.ThrowExpected("string");
    if (!cursor.IsVerbatim())
        return ReadEscapedString(cursor, out);
    const SubString literal = cursor.GetText();
    cursor.Next();
    ReadQuoted(literal, nullptr, out);
}

xstring ReadPath(Cursor& cursor)
{
    xstring path;
    while (true)
    {
        path.append(ReadIdentifier(cursor));
        if (!cursor.Is(TOKEN_COLON_COLON) && !cursor.Is(TOKEN_DOT))
            return path;
        path.append("::", 2);
        cursor.Next();
    }
}

} // namespace kelm::text
