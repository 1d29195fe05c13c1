#include <kelmDocument/private/Matching.h>

#include <algorithm>
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

// What lies between two elements that stay.
struct Gap
{
    std::size_t m_before;
    std::size_t m_pastBefore;
    std::size_t m_after;
    std::size_t m_pastAfter;
};

// As many changes as there can be, of those that are likest.
void FillGap(const Gap& gap, const Likeness& likeness, std::vector<MatchStep>& steps)
{
    constexpr std::size_t mostLooked = 4096; // pairs
    const std::size_t numBefore = gap.m_pastBefore - gap.m_before;
    const std::size_t numAfter = gap.m_pastAfter - gap.m_after;
    std::size_t i = 0;
    std::size_t j = 0;
    const auto remove = [&] { steps.push_back({Step::Remove, gap.m_before + i++, 0}); };
    const auto insert = [&] { steps.push_back({Step::Insert, gap.m_before + i, gap.m_after + j++}); };
    const auto change = [&] { steps.push_back({Step::Change, gap.m_before + i++, gap.m_after + j++}); };
    if (numBefore != numAfter && numBefore > 0 && numAfter > 0 && numBefore * numAfter <= mostLooked)
    {
        // The best that the rests of both from there on come to.
        const std::size_t width = numAfter + 1;
        std::vector<std::size_t> pair(numBefore * numAfter);
        std::vector<std::size_t> best((numBefore + 1) * width, 0);
        for (std::size_t x = numBefore; x-- > 0;)
            for (std::size_t y = numAfter; y-- > 0;)
            {
                pair[x * numAfter + y] = 1 + 64 * likeness(gap.m_before + x, gap.m_after + y);
                best[x * width + y] = std::max({best[(x + 1) * width + y], best[x * width + y + 1],
                                                best[(x + 1) * width + y + 1] + pair[x * numAfter + y]});
            }
        while (i < numBefore && j < numAfter)
        {
            const std::size_t now = best[i * width + j];
            if (now == best[(i + 1) * width + j + 1] + pair[i * numAfter + j])
                change();
            else if (now == best[(i + 1) * width + j])
                remove();
            else
                insert();
        }
    }
    while (i < numBefore && j < numAfter)
        change();
    while (i < numBefore)
        remove();
    while (j < numAfter)
        insert();
}

} // namespace

std::vector<MatchStep> Match(std::span<const std::string_view> before, std::span<const std::string_view> after,
                             const Likeness& likeness)
{
    Numbers numbers;
    const std::vector<std::size_t> a = numbers.Of(before);
    const std::vector<std::size_t> b = numbers.Of(after);
    std::size_t first = 0;
    while (first < std::min(a.size(), b.size()) && a[first] == b[first])
        ++first;
    std::size_t last = 0;
    while (last < std::min(a.size(), b.size()) - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    Pairs pairs = FindCommon(std::span(a).subspan(first, a.size() - first - last),
                             std::span(b).subspan(first, b.size() - first - last));
    std::reverse(pairs.begin(), pairs.end());

    std::vector<MatchStep> steps;
    std::size_t i = 0;
    std::size_t j = 0;
    const auto keepAt = [&](std::size_t x, std::size_t y)
    {
        FillGap({i, x, j, y}, likeness, steps);
        steps.push_back({Step::Keep, x, y});
        i = x + 1;
        j = y + 1;
    };
    for (std::size_t n = 0; n < first; ++n)
        keepAt(n, n);
    for (const auto& [x, y] : pairs)
        keepAt(first + x, first + y);
    for (std::size_t n = last; n > 0; --n)
        keepAt(a.size() - n, b.size() - n);
    FillGap({i, a.size(), j, b.size()}, likeness, steps);
    return steps;
}

} // namespace kelm::editing
