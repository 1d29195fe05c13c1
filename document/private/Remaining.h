#pragma once

// Which of so many things are left, in order, while some are taken out.

#include <bit>
#include <cstddef>
#include <optional>
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

    // How many others are before that one, of those that are left.
    std::size_t CountBefore(std::size_t i) const
    {
        std::size_t count = 0;
        for (std::size_t at = i; at > 0; at &= at - 1)
            count += m_sums[at];
        return count;
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

    // The nearest ones before and behind one that is left, where there are such.
    std::optional<std::size_t> FindBefore(std::size_t i) const
    {
        const std::size_t count = CountBefore(i);
        return count > 0 ? std::optional(Find(count - 1)) : std::nullopt;
    }
    std::optional<std::size_t> FindBehind(std::size_t i) const
    {
        const std::size_t count = CountBefore(i) + 1;
        return count < m_count ? std::optional(Find(count)) : std::nullopt;
    }

private:
    std::vector<bool> m_left;
    std::vector<std::size_t> m_sums; // a tree of sums: each of as many as its lowest bit says, up to the one before it
    std::size_t m_count;
};

} // namespace kelm::editing
