#pragma once

// Which elements of two lists are the same: what was put in, taken out, moved and changed between them.

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace kelm::editing
{

enum class Step : unsigned char
{
    Keep,   // an element of both
    Change, // an element of the one in place of one of the other
    Remove,
    Insert,
    Take, // an element of both, or one that has changed, that is not where it was
    Put,  // where it is now
};

struct MatchStep
{
    Step m_step;
    std::size_t m_before; // of what is inserted or put: before which element
    std::size_t m_after;  // of what is removed: undefined; of what is taken: where it is put
};

// How alike two elements are that are not the same, the more the better.
using Likeness = std::function<std::size_t(std::size_t before, std::size_t after)>;

// What tells an element of either list from others, however it changes, such as its name; empty where nothing does.
enum class Side : unsigned char
{
    Before,
    After,
};
using Identity = std::function<std::string_view(Side side, std::size_t index)>;

// Whether an element goes along where the same one is somewhere else now, which an equal one is not as good as.
using IsMoved = std::function<bool(std::size_t before)>;

struct Comparison
{
    Likeness m_likeness;
    Identity m_identity;
    IsMoved m_isMoved;
};

// From the first element of `a`, the former list, to the last, of elements as numbers: the same number, the same
// element. What stays is a longest common subsequence, as long as no more than `s_mostDifferences` elements are put in
// and taken out; beyond that it is what the lists have in common at both ends, and of elements that are there once a
// longest sequence of those that are in the same order. Of others that are the same, those that are asked for move; so
// do those of one identity, which no other has. Between elements that stay, those of one identity take each other's
// places, and between these the likest, where there are no more than `s_mostComparisons` pairs to be looked at; or else
// the next. Beside those looks it takes n log n steps.
inline constexpr std::size_t s_mostDifferences = 1000;
inline constexpr std::size_t s_mostComparisons = 4096;
std::vector<MatchStep> Match(std::span<const std::size_t> a, std::span<const std::size_t> b,
                             const Comparison& comparison);

} // namespace kelm::editing
