#pragma once

// Which of so many things are left, in order, while some are taken out.

#include <bit>
#include <cstddef>
#include <vector>

namespace kelm::editing
{

class Remaining
{
public:
    explicit Remaining(std::size_t count) : m_left(count, true), m_sums(count + 1, 0), m_count(count)
    {
        for (std::size_t i = 1; i <= count; ++i)
            m_sums[i] = i & (~i + 1);
    }

    std::size_t Count() const { return m_count; }
    bool Has(std::size_t i) const { return m_left[i]; }

    void Remove(std::size_t i)
    {
        m_left[i] = false;
        --m_count;
        for (std::size_t at = i + 1; at < m_sums.size(); at += at & (~at + 1))
            --m_sums[at];
    }

    // The one that has so many others before it, of those that are left.
    std::size_t Find(std::size_t numBefore) const
    {
        std::size_t at = 0;
        for (std::size_t step = std::bit_floor(m_left.size()); step > 0; step /= 2)
            if (at + step < m_sums.size() && m_sums[at + step] <= numBefore)
            {
                at += step;
                numBefore -= m_sums[at];
            }
        return at;
    }

    // The last one that is left, where there is one.
    std::size_t FindLast() const { return Find(m_count - 1); }

private:
    std::vector<bool> m_left;
    std::vector<std::size_t> m_sums; // a tree of sums: each of as many as its lowest bit says, up to the one before it
    std::size_t m_count;
};

} // namespace kelm::editing
