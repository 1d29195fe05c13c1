#pragma once

// Steps into variables that are known while an expression is recorded: what the types alone tell.

#include <kelm/private/expressions/Program.h>
#include <klObject/types/ReflectionByteCode.h>

#include <string_view>

namespace kelm::evaluation
{

// A variable's type, and where it lies within what it is reached from.
struct KnownVariable
{
    static KnownVariable Of(const ReflectionByteCode& type, bool isConst, ssize_t offset)
    {
        return {type.m_bc, type.m_stringTable, type.m_mapOrSetFns, isConst, offset};
    }
    ReflectionByteCode GetType() const { return {m_bc, m_stringTable, m_mapOrSetFns}; }

    const uint8* m_bc;
    const ConstStringZ* m_stringTable;
    const PtrMapOrSetFns* m_mapOrSetFns;
    bool m_isConst;
    ssize_t m_offset;
};

// The code of the type behind qualifiers.
ETypeByteCode UnderlyingCode(const ReflectionByteCode& type);

// To a member that lies within the instance and has no check; false where there is none.
bool StepToKnownMember(KnownVariable& variable, std::string_view name);

// A list of elements of one type: that, and how the elements are found. False where the type is no such list.
bool FindKnownElements(const KnownVariable& list, KnownPlace& place, KnownVariable& element);

} // namespace kelm::evaluation
