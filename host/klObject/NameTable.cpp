#include <klObject/NameTable.h>

#include <klObject/private/TextHash.h>

namespace kelm
{

uint64 HashOfLongName(SubString name)
{
    return HashOfText(name);
}

} // namespace kelm
