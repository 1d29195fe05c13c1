#pragma once

// Identifiers, and the qualified names that types are registered by: identifiers with "::" between them. Usable at
// compile time, for names that a type's description gives.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

namespace kelm
{

enum ENameFault : uint8
{
    NAME_OK,
    NAME_LACKS_IDENTIFIER, // an empty name, or no identifier where one must stand
    NAME_LACKS_COLONS,     // something else than "::" behind an identifier
};

// Letters, digits and '_': what identifiers are made of. No identifier begins with a digit.
constexpr bool IsIdentifierCharacter(char c)
{
    const char lower = static_cast<char>(c | 0x20);
    return ('a' <= lower && lower <= 'z') || ('0' <= c && c <= '9') || c == '_';
}

// Past the identifier at the beginning of the text; the beginning itself where there is none.
constexpr const char* SkipIdentifier(SubString text)
{
    const char* p = text.m_p1;
    if (p == text.m_p2 || ('0' <= *p && *p <= '9'))
        return p;
    while (p != text.m_p2 && IsIdentifierCharacter(*p))
        ++p;
    return p;
}

constexpr bool IsIdentifier(SubString text)
{
    return !text.empty() && SkipIdentifier(text) == text.m_p2;
}

// What is wrong first with a qualified name.
constexpr ENameFault FindNameFault(SubString name)
{
    while (true)
    {
        const char* const p = SkipIdentifier(name);
        if (p == name.m_p1)
            return NAME_LACKS_IDENTIFIER;
        if (p == name.m_p2)
            return NAME_OK;
        if (name.m_p2 - p < 2 || p[0] != ':' || p[1] != ':')
            return NAME_LACKS_COLONS;
        name.m_p1 = p + 2;
    }
}

constexpr bool IsQualifiedName(SubString name)
{
    return FindNameFault(name) == NAME_OK;
}

// Whether the last identifiers of one qualified name are those of another one.
inline bool IsNameSuffix(SubString name, SubString suffix)
{
    const ssize_t rest = name.size() - suffix.size();
    return rest >= 0 && SubString(name.m_p1 + rest, name.m_p2) == suffix && (rest == 0 || name[rest - 1] == ':');
}

} // namespace kelm
