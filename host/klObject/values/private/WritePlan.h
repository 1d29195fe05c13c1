#pragma once

// What writing needs to know of a class, made when an instance of it is first written and kept by its descriptor.

#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace kelm
{

// A type as writing asks for it.
struct WrittenType
{
    explicit WrittenType(ReflectionByteCode type);

    ReflectionByteCode m_type; // the underlying one
    ETypeByteCode m_code;
    EVariableKind m_kind;
};

// The elements of vectors and arrays.
struct WrittenElement : WrittenType
{
    explicit WrittenElement(ReflectionByteCode type);

    ssize_t m_size; // in bytes
};

struct WrittenMember : WrittenType
{
    WrittenMember(ReflectionByteCode type, ssize_t offset, ConstStringZ name);

    bool m_mayBeLeftOut; // where it is nothing
    int m_denseSize;
    const char* m_denseText; // " name=": what stands before the value where all is on one line
    const char* m_lineText;  // "name = ": on a line of its own
    ssize_t m_offset;        // from the start of the instance
    ConstStringZ m_name;
    std::optional<WrittenElement> m_element; // of a vector, or of a foreign list whose elements lie side by side
};

struct WritePlan
{
    const ReflectedClass* m_class; // that it was made for: a copied descriptor has the plan of another
    SubString m_shortName;         // the last identifier of the class's name
    xstring m_fault;               // why the text of an instance would not read back; empty where it does
    std::vector<WrittenMember> m_members;
    std::unique_ptr<char[]> m_texts; // of which s_textStep characters may be read from anywhere where one begins
};

inline constexpr int s_textStep = 16;

// The last identifier of a qualified name.
SubString LastIdentifier(SubString name);

// The slow half of GetWritePlan.
const WritePlan& MakeWritePlan(const ReflectedClass& rc);

inline const WritePlan& GetWritePlan(const ReflectedClass& rc)
{
    const WritePlan* const plan = std::atomic_ref(rc.m_writePlan).load(std::memory_order_acquire);
    return plan != nullptr && plan->m_class == &rc ? *plan : MakeWritePlan(rc);
}

} // namespace kelm
