#pragma once

// FieldIndex: a class's fields by name, made when the class is registered. Ask through ClassModel.h; whoever reads
// texts looks here for names that it has as a word, and for where a field leads.

#include <klObject/api.h>
#include <klObject/types/NameTable.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/types.h>

#include <atomic>
#include <memory>
#include <vector>

namespace kelm
{

// What lies behind a model field.
enum class FieldLead : uint8
{
    Other,     // its type must be looked at, or it has none, or there is no such field
    Value,     // nothing: a number, a text, an enumeration ...
    Instance,  // of a class
    Instances, // of a class, as the elements of a vector
};

struct FieldIndex;

// The fields of one name. An index of -1 is none.
struct alignas(64) FieldEntry : NamedEntry
{
    int32 m_firstModel = -1;
    int32 m_firstPresentModel = -1;
    int32 m_firstOrdinary = -1;

    // Of the first model field, if it is present and its name an identifier: the field, and where it leads.
    const ReflectedModelField* m_field = nullptr;
    FieldLead m_lead = FieldLead::Other;

    // The class of the instances behind the field, which is looked up once; null while it is not registered.
    const ReflectedClass* GetLeadClass(const FieldIndex& index) const
    {
        const ReflectedClass* const rc = m_leadClass.load(std::memory_order_acquire);
        return rc != nullptr ? rc : FindLeadClass(*this, index);
    }

private:
    KLOBJECT_API static const ReflectedClass* FindLeadClass(const FieldEntry& entry, const FieldIndex& index);

    mutable std::atomic<const ReflectedClass*> m_leadClass = nullptr;
};

// Owns its tables; the names are those of the class's descriptor. The fields that it tells of never change.
struct FieldIndex
{
    explicit FieldIndex(const ReflectedClass& rc);

    NameTable<FieldEntry> m_fields;
    const ConstStringZ* m_stringTable; // of the class

    // The class whose model this one embeds; null before that has been looked up for the first time.
    mutable std::atomic<const ReflectedClass*> m_embeddedModel = nullptr;

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
};

// The index of a class that has fields or embeds a model, null for others.
std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc);

// The index of a registered class that has one, null for others. The class may be registered by another thread just
// now.
inline const FieldIndex* GetFieldIndex(const ReflectedClass& rc)
{
    return std::atomic_ref<const FieldIndex*>(rc.m_fieldIndex).load(std::memory_order_acquire);
}

} // namespace kelm
