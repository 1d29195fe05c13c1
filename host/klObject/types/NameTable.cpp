#include <klObject/types/NameTable.h>

#include <klObject/types/private/TextHash.h>

namespace kelm
{

uint64 HashOfLongName(SubString name)
{
    return HashOfText(name);
}

} // namespace kelm
