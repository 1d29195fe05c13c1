#pragma once

// FieldIndex: a class's fields by name, made when the class is registered. Ask through ClassModel.h; whoever reads
// texts looks here for names that it has as a word, and for where a field leads.

#include <klObject/ReflectedTypes.h>
#include <klObject/api.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/ShortText.h>
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

// Owns its tables; the names are those of the class's descriptor. The fields that it tells of never change.
struct KLOBJECT_API FieldIndex
{
    // The fields of one name. An index of -1 is none.
    struct alignas(64) Entry
    {
        uint64 m_key = 0; // of a short name its word, of a longer one a hash
        const char* m_name = nullptr;
        int32 m_size = -1; // of the name; negative in a slot that is free
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
        KLOBJECT_API static const ReflectedClass* FindLeadClass(const Entry& entry, const FieldIndex& index);

        mutable std::atomic<const ReflectedClass*> m_leadClass = nullptr;
    };

    explicit FieldIndex(const ReflectedClass& rc);

    // The entry of a name, or null.
    const Entry* Find(SubString name) const
    {
        const ssize_t size = name.size();
        return size <= s_maxShortText ? FindShort(WordOfShortText(name.m_p1, size), size) : FindLong(name);
    }
    const Entry* FindShort(uint64 word, ssize_t size) const
    {
        for (std::size_t i = SlotOf(word);; i = (i + 1) & m_mask)
        {
            const Entry& entry = m_slots[i];
            if (entry.m_key == word && entry.m_size == static_cast<int32>(size))
                return &entry;
            if (entry.m_size < 0)
                return nullptr;
        }
    }
    const Entry* FindLong(SubString name) const;

    // Whether the field at `hint` has that name and is the first that counts: no hash needed.
    bool IsPresentModelField(SubString name, ssize_t hint) const { return IsHit(m_presentModelNames, name, hint); }
    bool IsOrdinaryField(SubString name, ssize_t hint) const { return IsHit(m_ordinaryNames, name, hint); }

    // The name of a model field that a search among the present ones finds, where it is an identifier; empty for the
    // others, and for what is no index.
    const KnownText& GetPresentModelName(ssize_t index) const
    {
        static constexpr KnownText s_none;
        const auto i = static_cast<std::size_t>(index); // a negative one is beyond every size
        return i < m_presentModelNames.size() ? m_presentModelNames[i] : s_none;
    }

private:
    // The name of each field that a search for its name finds; a null text for others.
    using Names = std::vector<KnownText>;

    static bool IsHit(const Names& names, SubString name, ssize_t hint);
    std::size_t SlotOf(uint64 key) const { return key * 0x9E3779B97F4A7C15u >> m_shift; }
    Entry& Insert(SubString name);

    std::unique_ptr<Entry[]> m_slots; // open addressing, at most half full: a probe seldom goes beyond its first slot
    std::size_t m_mask;
    int m_shift;
    const ConstStringZ* m_stringTable; // of the class
    Names m_presentModelNames;
    Names m_ordinaryNames;
};

// The index of a class that has fields, null for others.
std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc);

// The index of a registered class that has fields, null for others. The class may be registered by another thread just
// now.
inline const FieldIndex* GetFieldIndex(const ReflectedClass& rc)
{
    return std::atomic_ref<const FieldIndex*>(rc.m_fieldIndex).load(std::memory_order_acquire);
}

} // namespace kelm
