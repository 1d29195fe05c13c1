#pragma once

// Which elements of two lists are the same: what was put in, taken out and changed between them.

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
};

struct MatchStep
{
    Step m_step;
    std::size_t m_before; // of what is inserted: before which element
    std::size_t m_after;  // of what is removed: undefined
};

// How alike two elements are that are not the same, the more the better.
using Likeness = std::function<std::size_t(std::size_t before, std::size_t after)>;

// From the first element to the last. What stays is a longest common subsequence, as long as no more than
// `s_mostDifferences` elements are put in and taken out; beyond that it is what the lists have in common at both ends.
// Between elements that stay, those that are likest take each other's places.
inline constexpr std::size_t s_mostDifferences = 1000;
std::vector<MatchStep> Match(std::span<const std::string_view> before, std::span<const std::string_view> after,
                             const Likeness& likeness);

} // namespace kelm::editing
