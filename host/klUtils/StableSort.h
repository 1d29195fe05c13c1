#pragma once

// Sorting that leaves equal elements in their order, as std::stable_sort does, which clang 19 warns of with the
// standard library of g++ 12.

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace kelm
{

// In n log n comparisons, with memory for the elements once more. Throws what `isLess` and moving an element throw; the
// elements are as before then, if moving throws nothing.
template <class T, class Less>
void StableSort(std::vector<T>& elements, const Less& isLess)
{
    std::vector<std::size_t> order(elements.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b)
              {
                  if (isLess(elements[a], elements[b]))
                      return true;
                  return a < b && !isLess(elements[b], elements[a]);
              });
    std::vector<T> sorted;
    sorted.reserve(elements.size());
    for (const std::size_t i : order)
        sorted.push_back(std::move(elements[i]));
    elements = std::move(sorted);
}

} // namespace kelm
