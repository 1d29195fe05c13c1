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

// Elements as numbers: the same number, the same element.
class Numbers
{
public:
    std::vector<std::size_t> Of(std::span<const std::string_view> elements)
    {
        std::vector<std::size_t> numbers;
        numbers.reserve(elements.size());
        for (const std::string_view element : elements)
            numbers.push_back(m_numbers.emplace(element, m_numbers.size()).first->second);
        return numbers;
    }

private:
    std::unordered_map<std::string_view, std::size_t> m_numbers;
};

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
    Matching(std::span<const std::size_t> before, std::span<const std::size_t> after, const Likeness& likeness)
        : m_before(before), m_after(after), m_likeness(likeness)
    {
    }

    std::vector<MatchStep> Make(const Pairs& kept, const IsMoved& isMoved)
    {
        FindMoves(kept, isMoved);
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
    void FindMoves(const Pairs& kept, const IsMoved& isMoved)
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
            if (place == first.end() || place->second == s_none || !isMoved(x))
                continue;
            m_movedTo[x] = place->second;
            m_isPut[place->second] = true;
            place->second = next[place->second];
        }
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

    // What lies before the next elements that stay: as many changes as there can be, of those that are likest.
    void FillGap(std::size_t pastBefore, std::size_t pastAfter)
    {
        constexpr std::size_t mostLooked = 4096; // pairs
        std::vector<std::size_t> before;
        for (std::size_t x = m_i; x < pastBefore; ++x)
            if (m_movedTo[x] == s_none)
                before.push_back(x);
        std::vector<std::size_t> after;
        for (std::size_t y = m_j; y < pastAfter; ++y)
            if (!m_isPut[y])
                after.push_back(y);
        const auto change = [&](std::size_t i, std::size_t j)
        {
            GoTo(before[i], after[j]);
            m_steps.push_back({Step::Change, m_i++, m_j++});
        };
        std::size_t i = 0;
        std::size_t j = 0;
        if (before.size() != after.size() && !before.empty() && !after.empty() &&
            before.size() * after.size() <= mostLooked)
        {
            // The best that the rests of both from there on come to.
            const std::size_t width = after.size() + 1;
            std::vector<std::size_t> pair(before.size() * after.size());
            std::vector<std::size_t> best((before.size() + 1) * width, 0);
            for (std::size_t x = before.size(); x-- > 0;)
                for (std::size_t y = after.size(); y-- > 0;)
                {
                    pair[x * after.size() + y] = 1 + 64 * m_likeness(before[x], after[y]);
                    best[x * width + y] = std::max({best[(x + 1) * width + y], best[x * width + y + 1],
                                                    best[(x + 1) * width + y + 1] + pair[x * after.size() + y]});
                }
            while (i < before.size() && j < after.size())
            {
                const std::size_t now = best[i * width + j];
                if (now == best[(i + 1) * width + j + 1] + pair[i * after.size() + j])
                    change(i++, j++);
                else if (now == best[(i + 1) * width + j])
                    ++i;
                else
                    ++j;
            }
        }
        for (; i < before.size() && j < after.size(); ++i, ++j)
            change(i, j);
        GoTo(pastBefore, pastAfter);
    }

    std::span<const std::size_t> m_before;
    std::span<const std::size_t> m_after;
    const Likeness& m_likeness;
    std::vector<std::size_t> m_movedTo; // of those before
    std::vector<bool> m_isPut;          // of those after
    std::size_t m_i = 0;
    std::size_t m_j = 0;
    std::vector<MatchStep> m_steps;
};

} // namespace

std::vector<MatchStep> Match(std::span<const std::string_view> before, std::span<const std::string_view> after,
                             const Likeness& likeness, const IsMoved& isMoved)
{
    Numbers numbers;
    const std::vector<std::size_t> a = numbers.Of(before);
    const std::vector<std::size_t> b = numbers.Of(after);
    const std::size_t least = std::min(a.size(), b.size());
    std::size_t first = 0;
    while (first < least && a[first] == b[first])
        ++first;
    std::size_t last = 0;
    while (last < least - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    const std::span<const std::size_t> middleA = std::span(a).subspan(first, a.size() - first - last);
    const std::span<const std::size_t> middleB = std::span(b).subspan(first, b.size() - first - last);
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
    return Matching(a, b, likeness).Make(kept, isMoved);
}

} // namespace kelm::editing
