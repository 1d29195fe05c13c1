#pragma once

// FieldIndex: a class's fields by name, made when the class is registered. Ask through ClassModel.h; whoever reads
// texts looks here for names that it has as a word, and for where a field leads.

#include <klObject/api.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/NameTable.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/private/ExactDivision.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/types.h>

#include <atomic>
#include <memory>
#include <vector>

namespace kelm
{

struct FieldIndex;

// Where a path can go on from a variable.
enum class FieldLead : uint8
{
    Other,    // its type must be looked at, or there is none
    Value,    // nowhere: a number, a text, an enumeration ...
    Instance, // of a class: to a field
    Pref,     // to the object that it designates
    Handle,
    Vector, // a container: to an element
    Array,
    DynArray,
    List,   // of another library: to an element, which has an address
    Map,    // of another library: to what is stored under a key, for who takes keys
    Choice, // of another library, an optional or a pointer: to what it holds
};

// Whether the lead behind is where it leads.
inline bool HasLeadBehind(FieldLead lead)
{
    return lead >= FieldLead::Vector;
}

// A type that a path can reach, and where it leads. Those of a field stand one behind the other: behind that of a
// container that of its elements.
struct TypeLead
{
    ReflectionByteCode m_type;
    FieldLead m_kind = FieldLead::Other;
    int32 m_count = 0;                      // of an array
    const ForeignType* m_foreign = nullptr; // of a type of another library

    // The index of an instance's class, which is looked up once; null while that is not registered or has none.
    const FieldIndex* GetIndex() const
    {
        const FieldIndex* const index = m_index.load(std::memory_order_acquire);
        return index != nullptr ? index : FindIndex(*this);
    }

    // The size of a container's elements; 0 where it depends on more than a class that is registered.
    ssize_t GetElementSize() const
    {
        const ssize_t size = m_elementSize.load(std::memory_order_acquire);
        return size > 0 ? size : FindElementSize(*this);
    }

    // How many elements, whose size that is and known, make up so many bytes. False where no number of them does.
    bool TryCountElements(ssize_t numBytes, ssize_t elementSize, ssize_t& count) const
    {
        const ExactDivisor divisor{m_inverse.load(std::memory_order_relaxed),
                                   m_maxElements.load(std::memory_order_relaxed)};
        return divisor.TryDivide(numBytes, elementSize, count);
    }

private:
    KLOBJECT_API static const FieldIndex* FindIndex(const TypeLead& lead);
    KLOBJECT_API static ssize_t FindElementSize(const TypeLead& lead);

    mutable std::atomic<const FieldIndex*> m_index = nullptr;
    mutable std::atomic<ssize_t> m_elementSize = 0;
    mutable std::atomic<uint64> m_inverse = 0; // to divide by it
    mutable std::atomic<uint64> m_maxElements = 0;
};

// The fields of one name. An index of -1 is none.
struct alignas(64) FieldEntry : NamedEntry
{
    int32 m_firstModel = -1;
    int32 m_firstPresentModel = -1;
    int32 m_firstOrdinary = -1;

    // Of the first model field, if it is present and its name an identifier: the field, and where it leads.
    const ReflectedModelField* m_field = nullptr;
    ssize_t m_offset = 0;
    const TypeLead* m_lead = nullptr;
};

// Owns its tables; the names are those of the class's descriptor. The fields that it tells of never change.
struct FieldIndex
{
    explicit FieldIndex(const ReflectedClass& rc);

    NameTable<FieldEntry> m_fields;
    const ReflectedClass* m_class;

    // The class whose model this one embeds; null before that has been looked up for the first time.
    mutable std::atomic<const ReflectedClass*> m_embeddedModel = nullptr;

    // The index of the class that lists the model fields, and where its instance lies. Before that has been looked up,
    // of the class itself, which then leads nowhere.
    const FieldIndex& GetModel() const { return *m_model.load(std::memory_order_acquire); }
    ssize_t m_modelOffset = 0;
    mutable std::atomic<const FieldIndex*> m_model = this;

    // Whether the field at `hint` has that name and is the first that counts: no hash needed.
    bool IsPresentModelField(SubString name, ssize_t hint) const { return IsHit(m_presentModelNames, name, hint); }
    bool IsOrdinaryField(SubString name, ssize_t hint) const { return IsHit(m_ordinaryNames, name, hint); }

    // The names of the model fields, of those that a search among the present ones finds and that are identifiers;
    // empty for the others, and behind the last one.
    const KnownText* GetPresentModelNames() const { return m_presentModelNames.data(); }

private:
    // The name of each field that a search for its name finds; a null text for others.
    using Names = std::vector<KnownText>;

    static bool IsHit(const Names& names, SubString name, ssize_t hint)
    {
        const auto i = static_cast<std::size_t>(hint); // a negative one is beyond every size
        return i < names.size() && names[i].m_text.m_p1 != nullptr && names[i].m_text == name;
    }

    Names m_presentModelNames;
    Names m_ordinaryNames;
    std::unique_ptr<TypeLead[]> m_leads;
};

// The index of a class that has fields or embeds a model, null for others.
std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc);

// The index of a registered class that has one, null for others, such as a copy of a registered descriptor, whose
// fields may have become others. The class may be registered by another thread just now.
inline const FieldIndex* GetFieldIndex(const ReflectedClass& rc)
{
    const FieldIndex* const index = std::atomic_ref<const FieldIndex*>(rc.m_fieldIndex).load(std::memory_order_acquire);
    return index != nullptr && index->m_class == &rc ? index : nullptr;
}

} // namespace kelm
