#pragma once

// NameTable: what a descriptor says of each of its names, found by the name.

#include <klObject/api.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/types.h>

#include <bit>
#include <memory>

namespace kelm
{

// What every entry begins with. The name is the descriptor's and not owned.
struct NamedEntry
{
    uint64 m_key = 0; // of a short name its word, of a longer one a hash
    const char* m_name = nullptr;
    int32 m_size = -1; // of the name; negative in a slot that is free

    SubString GetName() const { return {m_name, m_name + m_size}; }
};

// The key of a name that is no short text. It begins with no ASCII character, as the words of such names do.
inline uint64 KeyOfLongName(SubString name)
{
    constexpr uint64 factor = 0x9E3779B97F4A7C15u;
    constexpr ssize_t step = s_maxShortText;
    const char* p = name.m_p1;
    uint64 key = LoadWord<uint64>(p) * factor;
    for (p += step; name.m_p2 - p > step; p += step)
        key = (std::rotl(key, 32) ^ LoadWord<uint64>(p)) * factor;
    return (std::rotl(key, 32) ^ LoadWord<uint64>(name.m_p2 - step)) | 0x80;
}

// Open addressing, at most half full, so that a probe seldom goes beyond its first slot. Entry is a NamedEntry. Filled
// once; never changed while anybody looks.
template <class Entry>
class NameTable
{
public:
    explicit NameTable(std::size_t maxNames)
        : m_mask(std::bit_ceil(2 * maxNames + 2) - 1)
        , m_shift(64 - std::countr_one(m_mask))
        , m_slots(std::make_unique<Entry[]>(m_mask + 1))
    {
    }

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
    // That of a name of one to eight ASCII characters, by its word; where there is none, an entry of no name.
    const Entry& FindWord(uint64 word) const
    {
        const Entry& entry = m_slots[SlotOf(word)];
        return entry.m_key == word ? entry : FindWordBehind(word);
    }
    const Entry* FindLong(SubString name) const
    {
        const uint64 key = KeyOfLongName(name);
        for (std::size_t i = SlotOf(key); m_slots[i].m_size >= 0; i = (i + 1) & m_mask)
            if (m_slots[i].m_key == key && m_slots[i].GetName() == name)
                return &m_slots[i];
        return nullptr;
    }

    // The entry of a name, made if there is none yet.
    Entry& Insert(SubString name)
    {
        if (const Entry* const known = Find(name))
            return m_slots[static_cast<std::size_t>(known - m_slots.get())];
        const ssize_t size = name.size();
        const uint64 key = size <= s_maxShortText ? WordOfShortText(name.m_p1, size) : KeyOfLongName(name);
        std::size_t i = SlotOf(key);
        while (m_slots[i].m_size >= 0)
            i = (i + 1) & m_mask;
        m_slots[i].m_key = key;
        m_slots[i].m_name = name.m_p1;
        m_slots[i].m_size = static_cast<int32>(size);
        return m_slots[i];
    }

    // When all are there: spreads them so that as few as can be share a slot.
    void Spread()
    {
        std::unique_ptr<Entry[]> best;
        std::size_t fewest = m_mask + 1;
        uint64 bestFactor = m_factor;
        for (int tries = 0; tries < 64 && fewest > 0; ++tries)
        {
            auto slots = std::make_unique<Entry[]>(m_mask + 1);
            std::size_t numDisplaced = 0;
            for (std::size_t old = 0; old <= m_mask; ++old)
            {
                if (m_slots[old].m_size < 0)
                    continue;
                std::size_t i = SlotOf(m_slots[old].m_key);
                for (; slots[i].m_size >= 0; i = (i + 1) & m_mask)
                    ++numDisplaced;
                slots[i] = m_slots[old];
            }
            if (numDisplaced < fewest)
            {
                fewest = numDisplaced;
                best = std::move(slots);
                bestFactor = m_factor;
            }
            m_factor = m_factor * 0xD1342543DE82EF95u + 2; // stays odd
        }
        m_factor = bestFactor;
        m_slots = std::move(best);
    }

private:
    [[gnu::noinline]] const Entry& FindWordBehind(uint64 word) const
    {
        std::size_t i = SlotOf(word);
        while (m_slots[i].m_key != word && m_slots[i].m_size >= 0)
            i = (i + 1) & m_mask;
        return m_slots[i];
    }

    std::size_t SlotOf(uint64 key) const { return key * m_factor >> m_shift; }

    std::size_t m_mask;
    int m_shift;
    uint64 m_factor = 0x9E3779B97F4A7C15u;
    std::unique_ptr<Entry[]> m_slots;
};

} // namespace kelm
