#include <klObject/types/ForeignType.h>

#include <klUtils/text/QualifiedName.h>

namespace kelm
{

int32 FindForeignAlternative(const ForeignType& type, SubString written)
{
    const ConstStringZ* const names = type.m_choice->m_names;
    for (int32 i = 0; i < type.m_numParts; ++i)
        if (strcmp(written, names[i]) == 0)
            return i;
    for (int32 i = 0; i < type.m_numParts; ++i)
        if (IsNameSuffix(names[i], written))
            return i;
    return -1;
}

SubString GetForeignAlternativeName(const ForeignType& type, int32 index)
{
    const SubString fullName = type.m_choice->m_names[index];
    SubString shortName = fullName;
    for (const char* p = fullName.m_p1; p != fullName.m_p2; ++p)
        if (*p == ':')
            shortName.m_p1 = p + 1;
    return FindForeignAlternative(type, shortName) == index ? shortName : fullName;
}

} // namespace kelm
