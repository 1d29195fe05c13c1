#include <klKelmScript/private/ReadingTrail.h>

namespace kelm
{

namespace
{

using text::Cursor;

struct BracketPair
{
    EToken m_open;
    EToken m_close;
    ConstStringZ m_closeText;
};

constexpr BracketPair s_brackets[] = {{TOKEN_LEFT_PAREN, TOKEN_RIGHT_PAREN, ")"},
                                      {TOKEN_LEFT_SQUARE, TOKEN_RIGHT_SQUARE, "]"},
                                      {TOKEN_LEFT_CURLY, TOKEN_RIGHT_CURLY, "}"}};

const BracketPair* FindOpen(EToken kind)
{
    for (const BracketPair& pair : s_brackets)
        if (pair.m_open == kind)
            return &pair;
    return nullptr;
}

bool IsClose(EToken kind)
{
    return kind == TOKEN_RIGHT_PAREN || kind == TOKEN_RIGHT_SQUARE || kind == TOKEN_RIGHT_CURLY;
}

// From an opening bracket past the one that closes it. A loop, so that brackets nest to any depth.
void PassBrackets(Cursor& cursor)
{
    std::vector<const BracketPair*> open;
    do
    {
        if (const BracketPair* const pair = FindOpen(cursor.GetKind()))
            open.push_back(pair);
        else if (IsClose(cursor.GetKind()) || cursor.Is(TOKEN_END))
        {
            if (!cursor.Is(open.back()->m_close))
                cursor.ThrowExpected(open.back()->m_closeText);
            open.pop_back();
        }
        cursor.Next();
    } while (!open.empty());
}

bool IsLiteral(EToken kind)
{
    return kind == TOKEN_INTEGER || kind == TOKEN_HEX_INTEGER || kind == TOKEN_FLOAT ||
           kind == TOKEN_SINGLE_QUOTED_STRING || kind == TOKEN_DOUBLE_QUOTED_STRING;
}

// An identifier before "=" begins the next member.
bool BeginsMember(Cursor cursor)
{
    cursor.Next();
    return cursor.Is(TOKEN_EQUAL);
}

void PassQualifiedName(Cursor& cursor)
{
    cursor.Next();
    while (cursor.Is(TOKEN_DOT) || cursor.Is(TOKEN_COLON_COLON))
    {
        cursor.Next();
        if (!cursor.Is(TOKEN_IDENTIFIER))
            cursor.ThrowExpected("identifier");
        cursor.Next();
    }
}

} // namespace

// Names (of classes, alternatives, enumerators), and then a literal, a body or a list, one of which there must be.
void PassValue(Cursor& cursor)
{
    bool isAny = false;
    while (cursor.Is(TOKEN_IDENTIFIER) && !(isAny && BeginsMember(cursor)))
    {
        PassQualifiedName(cursor);
        isAny = true;
    }
    const bool isSigned = cursor.Is(TOKEN_MINUS) || cursor.Is(TOKEN_PLUS);
    if (isSigned)
        cursor.Next();
    if (IsLiteral(cursor.GetKind()) || (isSigned && cursor.Is(TOKEN_IDENTIFIER)))
        cursor.Next();
    else if (!isSigned && FindOpen(cursor.GetKind()) != nullptr)
        PassBrackets(cursor);
    else if (!isAny || isSigned)
        cursor.ThrowExpected("value");
}

} // namespace kelm
