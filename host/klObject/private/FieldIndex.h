#pragma once

// FieldIndex: a class's fields by name, made when the class is registered.

#include <klObject/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <memory>
#include <vector>

namespace kelm
{

struct FieldIndex
{
    // The indices of the first fields of one name; -1 is none.
    struct Entry
    {
        SubString m_name;
        int32 m_firstModel = -1;
        int32 m_firstPresentModel = -1;
        int32 m_firstOrdinary = -1;
        uint32 m_hash = 0; // the upper half; the lower half chose the slot
    };

    explicit FieldIndex(const ReflectedClass& rc);

    const Entry* Find(SubString name) const;

    // Whether the field at `hint` has that name and is the first that counts: no hash needed.
    bool IsPresentModelField(SubString name, ssize_t hint) const { return IsHit(m_presentModelNames, name, hint); }
    bool IsOrdinaryField(SubString name, ssize_t hint) const { return IsHit(m_ordinaryNames, name, hint); }

    // The name of a model field that a search among the present ones finds; empty for the others.
    SubString GetPresentModelName(ssize_t index) const { return m_presentModelNames[static_cast<std::size_t>(index)]; }

private:
    // The name of each field that a search for its name finds; a null text for the others.
    using Names = std::vector<SubString>;

    static bool IsHit(const Names& names, SubString name, ssize_t hint);
    Entry& Insert(SubString name);

    std::vector<Entry> m_slots; // open addressing; a slot without a name is free
    std::size_t m_mask;
    Names m_presentModelNames;
    Names m_ordinaryNames;
};

// The index of a class that has fields, null for others.
std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc);

} // namespace kelm
