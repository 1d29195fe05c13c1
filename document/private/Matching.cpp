#include <kelmDocument/private/Matching.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <unordered_map>
#include <utility>

namespace kelm::editing
{

namespace
{

using Pairs = std::vector<std::pair<std::size_t, std::size_t>>;

// A longest common subsequence, by E. Myers' greedy search: on each diagonal the furthest place that so many
// differences reach. Nothing where there are too many. In reverse order.
Pairs FindCommon(std::span<const std::size_t> a, std::span<const std::size_t> b)
{
    const auto sizeA = static_cast<std::ptrdiff_t>(a.size());
    const auto sizeB = static_cast<std::ptrdiff_t>(b.size());
    const auto most = std::min(sizeA + sizeB, static_cast<std::ptrdiff_t>(s_mostDifferences));
    std::vector<std::ptrdiff_t> furthest(static_cast<std::size_t>(2 * most + 3), 0);
    const auto at = [&](std::ptrdiff_t diagonal) -> std::ptrdiff_t&
    { return furthest[static_cast<std::size_t>(diagonal + most + 1)]; };
    std::vector<std::vector<std::ptrdiff_t>> reached; // for each number of differences, from diagonal -d on
    const auto comesFromAbove = [](std::ptrdiff_t d, std::ptrdiff_t k, std::ptrdiff_t left, std::ptrdiff_t right)
    { return k == -d || (k != d && left < right); };
    for (std::ptrdiff_t d = 0; d <= most; ++d)
    {
        for (std::ptrdiff_t k = -d; k <= d; k += 2)
        {
            std::ptrdiff_t x = comesFromAbove(d, k, at(k - 1), at(k + 1)) ? at(k + 1) : at(k - 1) + 1;
            while (x < sizeA && x - k < sizeB && a[static_cast<std::size_t>(x)] == b[static_cast<std::size_t>(x - k)])
                ++x;
            at(k) = x;
            if (x < sizeA || x - k < sizeB)
                continue;
            // Back to the beginning.
            Pairs pairs;
            std::ptrdiff_t toX = sizeA;
            std::ptrdiff_t toY = sizeB;
            for (std::ptrdiff_t e = d; e >= 0; --e)
            {
                std::ptrdiff_t fromX = 0;
                std::ptrdiff_t fromY = 0;
                if (e > 0)
                {
                    const auto& former = reached[static_cast<std::size_t>(e - 1)];
                    const auto formerAt = [&](std::ptrdiff_t diagonal)
                    {
                        const std::ptrdiff_t i = diagonal + e - 1;
                        return i >= 0 && i < static_cast<std::ptrdiff_t>(former.size())
                                   ? former[static_cast<std::size_t>(i)]
                                   : -1;
                    };
                    const std::ptrdiff_t diagonal = toX - toY;
                    const bool isAbove = comesFromAbove(e, diagonal, formerAt(diagonal - 1), formerAt(diagonal + 1));
                    const std::ptrdiff_t formerDiagonal = isAbove ? diagonal + 1 : diagonal - 1;
                    fromX = formerAt(formerDiagonal);
                    fromY = fromX - formerDiagonal;
                }
                while (toX > fromX && toY > fromY)
                    pairs.emplace_back(static_cast<std::size_t>(--toX), static_cast<std::size_t>(--toY));
                toX = fromX;
                toY = fromY;
            }
            return pairs;
        }
        reached.emplace_back(furthest.begin() + (most + 1 - d), furthest.begin() + (most + 2 + d));
    }
    return {};
}

// Of elements that each of the lists has once, a longest sequence that is in the same order in both. In reverse order.
Pairs FindUniqueCommon(std::span<const std::size_t> a, std::span<const std::size_t> b)
{
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    struct Places
    {
        std::size_t m_inA = none;
        std::size_t m_inB = none;
        bool m_isUnique = true;
    };
    std::unordered_map<std::size_t, Places> places;
    const auto note = [&](std::span<const std::size_t> numbers, std::size_t Places::*member)
    {
        for (std::size_t i = 0; i < numbers.size(); ++i)
        {
            Places& known = places[numbers[i]];
            known.m_isUnique &= known.*member == none;
            known.*member = i;
        }
    };
    note(a, &Places::m_inA);
    note(b, &Places::m_inB);
    struct Link
    {
        std::size_t m_inA;
        std::size_t m_inB;
        std::size_t m_former; // in the sequence that ends here
    };
    std::vector<Link> links;
    std::vector<std::size_t> ends; // of the sequences of each length, those that end first in b
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const Places& known = places[a[i]];
        if (!known.m_isUnique || known.m_inB == none)
            continue;
        const auto end = std::lower_bound(ends.begin(), ends.end(), known.m_inB,
                                          [&](std::size_t link, std::size_t at) { return links[link].m_inB < at; });
        links.push_back({i, known.m_inB, end == ends.begin() ? none : *std::prev(end)});
        if (end == ends.end())
            ends.push_back(links.size() - 1);
        else
            *end = links.size() - 1;
    }
    Pairs pairs;
    for (std::size_t link = ends.empty() ? none : ends.back(); link != none; link = links[link].m_former)
        pairs.emplace_back(links[link].m_inA, links[link].m_inB);
    return pairs;
}

// Finds the steps from one list to the other, once it is known which elements stay.
class Matching
{
public:
    Matching(std::span<const std::size_t> before, std::span<const std::size_t> after, const Comparison& comparison)
        : m_before(before), m_after(after), m_comparison(comparison)
    {
    }

    std::vector<MatchStep> Make(const Pairs& kept)
    {
        FindMoves(kept);
        FindIdentities(kept);
        for (const auto& [x, y] : kept)
        {
            FillGap(x, y);
            m_steps.push_back({Step::Keep, m_i++, m_j++});
        }
        FillGap(m_before.size(), m_after.size());
        return std::move(m_steps);
    }

private:
    static constexpr std::size_t s_none = std::numeric_limits<std::size_t>::max();

    // Of those that do not stay, each of the one with the next one of the other that is the same.
    void FindMoves(const Pairs& kept)
    {
        m_movedTo.assign(m_before.size(), s_none);
        m_isPut.assign(m_after.size(), false);
        std::vector<bool> isKeptBefore(m_before.size(), false);
        std::vector<bool> isKeptAfter(m_after.size(), false);
        for (const auto& [x, y] : kept)
            isKeptBefore[x] = isKeptAfter[y] = true;
        std::unordered_map<std::size_t, std::size_t> first; // by number
        std::vector<std::size_t> next(m_after.size(), s_none);
        for (std::size_t y = m_after.size(); y-- > 0;)
            if (!isKeptAfter[y])
                if (const auto [place, isNew] = first.try_emplace(m_after[y], y); !isNew)
                    next[y] = std::exchange(place->second, y);
        for (std::size_t x = 0; x < m_before.size(); ++x)
        {
            const auto place = isKeptBefore[x] ? first.end() : first.find(m_before[x]);
            if (place == first.end() || place->second == s_none || !m_comparison.m_isMoved(x))
                continue;
            m_movedTo[x] = place->second;
            m_isPut[place->second] = true;
            place->second = next[place->second];
        }
    }

    // What lies before a pair that stays, or behind the last one: what is not there in the other list.
    struct Gap
    {
        std::vector<std::size_t> m_before;
        std::vector<std::size_t> m_after;
    };
    Gap GapOf(std::size_t x, std::size_t pastBefore, std::size_t y, std::size_t pastAfter) const
    {
        Gap gap;
        for (; x < pastBefore; ++x)
            if (m_movedTo[x] == s_none)
                gap.m_before.push_back(x);
        for (; y < pastAfter; ++y)
            if (!m_isPut[y])
                gap.m_after.push_back(y);
        return gap;
    }

    // Of those that neither stay nor move, as far as there are such in both lists. Those that have the identity of one
    // in another gap, or across another pair's way, move with it.
    void FindIdentities(const Pairs& kept)
    {
        std::vector<Gap> gaps;
        std::size_t x = 0;
        std::size_t y = 0;
        for (const auto& [keptX, keptY] : kept)
        {
            gaps.push_back(GapOf(x, keptX, y, keptY));
            x = keptX + 1;
            y = keptY + 1;
        }
        gaps.push_back(GapOf(x, m_before.size(), y, m_after.size()));
        Gap all;
        for (const Gap& gap : gaps)
        {
            all.m_before.insert(all.m_before.end(), gap.m_before.begin(), gap.m_before.end());
            all.m_after.insert(all.m_after.end(), gap.m_after.begin(), gap.m_after.end());
        }
        if (all.m_before.empty() || all.m_after.empty())
            return;

        m_idsBefore = NumbersOf(Side::Before, all.m_before, m_before.size());
        m_idsAfter = NumbersOf(Side::After, all.m_after, m_after.size());
        std::vector<bool> isInOrder(m_before.size(), false);
        for (const Gap& gap : gaps)
            for (const auto& [i, j] : CommonOf(gap))
                isInOrder[gap.m_before[i]] = true;
        std::unordered_map<std::size_t, std::size_t> placesAfter; // by identity
        for (const std::size_t j : all.m_after)
            if (const auto [place, isNew] = placesAfter.try_emplace(m_idsAfter[j], j); !isNew)
                place->second = s_none;
        std::unordered_map<std::size_t, std::size_t> countsBefore;
        for (const std::size_t i : all.m_before)
            ++countsBefore[m_idsBefore[i]];
        for (const std::size_t i : all.m_before)
        {
            const auto place = placesAfter.find(m_idsBefore[i]);
            if (isInOrder[i] || place == placesAfter.end() || place->second == s_none ||
                countsBefore[m_idsBefore[i]] != 1 || !m_comparison.m_isMoved(i))
                continue;
            m_movedTo[i] = place->second;
            m_isPut[place->second] = true;
        }
    }

    // Identities as numbers. Where there is none, the number is nobody else's.
    std::vector<std::size_t> NumbersOf(Side side, const std::vector<std::size_t>& elements, std::size_t size)
    {
        std::vector<std::size_t> numbers(size, s_none);
        for (const std::size_t element : elements)
        {
            const std::string_view identity = m_comparison.m_identity(side, element);
            numbers[element] = identity.empty() ? m_numIds++ : m_ids.emplace(identity, m_numIds++).first->second;
        }
        return numbers;
    }

    // Those of one identity in a gap, in order.
    Pairs CommonOf(const Gap& gap) const
    {
        const auto idsOf = [](const std::vector<std::size_t>& elements, const std::vector<std::size_t>& ids)
        {
            std::vector<std::size_t> own;
            own.reserve(elements.size());
            for (const std::size_t element : elements)
                own.push_back(ids[element]);
            return own;
        };
        if (gap.m_before.empty() || gap.m_after.empty())
            return {};
        Pairs pairs = FindUniqueCommon(idsOf(gap.m_before, m_idsBefore), idsOf(gap.m_after, m_idsAfter));
        std::reverse(pairs.begin(), pairs.end());
        return pairs;
    }

    // Up to two elements, which are the next.
    void GoTo(std::size_t x, std::size_t y)
    {
        for (; m_i < x; ++m_i)
            if (m_movedTo[m_i] == s_none)
                m_steps.push_back({Step::Remove, m_i, 0});
            else
                m_steps.push_back({Step::Take, m_i, m_movedTo[m_i]});
        for (; m_j < y; ++m_j)
            m_steps.push_back({m_isPut[m_j] ? Step::Put : Step::Insert, m_i, m_j});
    }
    void Change(std::size_t x, std::size_t y)
    {
        GoTo(x, y);
        m_steps.push_back({Step::Change, m_i++, m_j++});
    }

    // What lies before the next elements that stay.
    void FillGap(std::size_t pastBefore, std::size_t pastAfter)
    {
        const Gap gap = GapOf(m_i, pastBefore, m_j, pastAfter);
        std::size_t i = 0;
        std::size_t j = 0;
        for (const auto& [nextI, nextJ] : CommonOf(gap))
        {
            ChangeLikest(gap, i, nextI, j, nextJ);
            Change(gap.m_before[nextI], gap.m_after[nextJ]);
            i = nextI + 1;
            j = nextJ + 1;
        }
        ChangeLikest(gap, i, gap.m_before.size(), j, gap.m_after.size());
        GoTo(pastBefore, pastAfter);
    }

    // As many changes as there can be, of those that are likest.
    void ChangeLikest(const Gap& gap, std::size_t i, std::size_t pastI, std::size_t j, std::size_t pastJ)
    {
        const std::size_t height = pastI - i;
        const std::size_t width = pastJ - j;
        if (height * width > 1 && height <= s_mostComparisons && height * width <= s_mostComparisons)
        {
            const std::size_t firstI = i;
            const std::size_t firstJ = j;
            std::vector<std::size_t> pair(height * width);
            for (std::size_t n = 0; n < pair.size(); ++n)
                pair[n] = 1 + 64 * m_comparison.m_likeness(gap.m_before[i + n / width], gap.m_after[j + n % width]);
            // The best that the rests of both from there on come to.
            std::vector<std::size_t> best((height + 1) * (width + 1), 0);
            const auto bestAt = [&](std::size_t x, std::size_t y) -> std::size_t& { return best[x * (width + 1) + y]; };
            for (std::size_t x = height; x-- > 0;)
                for (std::size_t y = width; y-- > 0;)
                    bestAt(x, y) =
                        std::max({bestAt(x + 1, y), bestAt(x, y + 1), bestAt(x + 1, y + 1) + pair[x * width + y]});
            while (i < pastI && j < pastJ)
            {
                const std::size_t x = i - firstI;
                const std::size_t y = j - firstJ;
                if (bestAt(x, y) == bestAt(x + 1, y + 1) + pair[x * width + y])
                    Change(gap.m_before[i++], gap.m_after[j++]);
                else if (bestAt(x, y) == bestAt(x + 1, y))
                    ++i;
                else
                    ++j;
            }
            return;
        }
        for (; i < pastI && j < pastJ; ++i, ++j)
            Change(gap.m_before[i], gap.m_after[j]);
    }

    std::span<const std::size_t> m_before;
    std::span<const std::size_t> m_after;
    const Comparison& m_comparison;
    std::unordered_map<std::string_view, std::size_t> m_ids;
    std::size_t m_numIds = 0;
    std::vector<std::size_t> m_idsBefore; // of those that are in gaps
    std::vector<std::size_t> m_idsAfter;
    std::vector<std::size_t> m_movedTo; // of those before
    std::vector<bool> m_isPut;          // of those after
    std::size_t m_i = 0;
    std::size_t m_j = 0;
    std::vector<MatchStep> m_steps;
};

} // namespace

std::vector<MatchStep> Match(std::span<const std::size_t> a, std::span<const std::size_t> b,
                             const Comparison& comparison)
{
    const std::size_t least = std::min(a.size(), b.size());
    std::size_t first = 0;
    while (first < least && a[first] == b[first])
        ++first;
    std::size_t last = 0;
    while (last < least - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    const std::span<const std::size_t> middleA = a.subspan(first, a.size() - first - last);
    const std::span<const std::size_t> middleB = b.subspan(first, b.size() - first - last);
    Pairs middle = FindCommon(middleA, middleB);
    if (middle.empty())
        middle = FindUniqueCommon(middleA, middleB);

    Pairs kept;
    for (std::size_t i = 0; i < first; ++i)
        kept.emplace_back(i, i);
    std::for_each(middle.rbegin(), middle.rend(),
                  [&](const auto& pair) { kept.emplace_back(first + pair.first, first + pair.second); });
    for (std::size_t i = last; i > 0; --i)
        kept.emplace_back(a.size() - i, b.size() - i);
    return Matching(a, b, comparison).Make(kept);
}

} // namespace kelm::editing
