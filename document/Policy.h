#pragma once

// By which rules a document is read.

#include <kelm/Files.h>
#include <kelm/Object.h>
#include <kelm/UsedType.h>

#include <type_traits>
#include <utility>

namespace kelm
{

class DocumentPolicy
{
public:
    // ParseDataSource's: the text names a registered class, lists and maps receive what is written in addition to what
    // creation gave them, a member may be written several times, and what stands behind is not looked at.
    DocumentPolicy() = default;

    // kelm::Read<T>'s: a body of the class is enough, lists and maps are what is written, a member is written once at
    // most, required members must be there, checks are asked, and nothing stands behind.
    template <class T>
    static DocumentPolicy Of(UnknownMembers unknown = UnknownMembers::Refuse)
    {
        if constexpr (std::is_same_v<T, Object>)
            return {nullptr, unknown};
        else
            return {&s_typeOf<DescribedInType<T>>, unknown};
    }

    bool IsExact() const { return m_isExact; }
    const UsedType* GetType() const { return m_type; } // null where the text names the class
    UnknownMembers GetUnknownMembers() const { return m_unknown; }

private:
    DocumentPolicy(const UsedType* type, UnknownMembers unknown) : m_isExact(false), m_type(type), m_unknown(unknown) {}

    bool m_isExact = true;
    const UsedType* m_type = nullptr;
    UnknownMembers m_unknown = UnknownMembers::Refuse;
};

} // namespace kelm
