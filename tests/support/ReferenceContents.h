#pragma once

// What a variable of any reflected type holds, as one text that differs where two of them do: scalars by their bits,
// texts by their bytes, dropped fields too. Handles are told by the class of the object and a number that the test
// gives it, and are not followed.

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>

#include <functional>
#include <string>

namespace kelm::reference
{

struct ContentsTelling
{
    std::function<std::string(ptr<IObject> object)> m_tellObject; // of a handle that is not null
    const void* m_marked = nullptr;                               // an address that is told where it is come to
};

std::string ContentsOf(ReflectionByteCode type, const void* data, const ContentsTelling& telling);
std::string ContentsOf(const ReflectedClass& rc, const void* data, const ContentsTelling& telling);

} // namespace kelm::reference
