#pragma once

#include <klUtils/types.h>

#include <cstring>
#include <string_view>
#include <type_traits>

namespace kelm
{

// A view of the characters [m_p1, m_p2). Owns nothing: the text must outlive the view. Two words, passed by value.
template <class C>
struct BasicSubString
{
    const C* m_p1 = nullptr;
    const C* m_p2 = nullptr;

    constexpr BasicSubString() = default;
    constexpr BasicSubString(const C* p1, const C* p2) : m_p1(p1), m_p2(p2) {}

    // A view of the text before its terminator; of a null text, an empty one. (At compile time no text is null, and g++
    // with its sanitizer cannot ask there.)
    constexpr BasicSubString(const C* textZ) : m_p1(textZ), m_p2(textZ)
    {
        if (std::is_constant_evaluated() || (!std::is_same_v<C, char> && textZ != nullptr))
            while (*m_p2 != C())
                ++m_p2;
        else if constexpr (std::is_same_v<C, char>)
            m_p2 += textZ != nullptr ? std::strlen(textZ) : 0;
    }

    constexpr BasicSubString(std::basic_string_view<C> text) : m_p1(text.data()), m_p2(text.data() + text.size()) {}

    constexpr ssize_t size() const { return m_p2 - m_p1; }
    constexpr bool empty() const { return m_p1 == m_p2; }
    constexpr const C* data() const { return m_p1; }
    constexpr const C* begin() const { return m_p1; }
    constexpr const C* end() const { return m_p2; }
    constexpr C operator[](ssize_t i) const { return m_p1[i]; }
};

using SubString = BasicSubString<char>;

// Three-way comparisons by unsigned characters; when one text begins the other, the shorter is less. A null text counts
// as empty.
inline int strcmp(SubString a, SubString b)
{
    const ssize_t common = a.size() < b.size() ? a.size() : b.size();
    if (common > 0)
        if (const int order = std::memcmp(a.m_p1, b.m_p1, static_cast<std::size_t>(common)))
            return order;
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

inline int strcmp(SubString a, ConstStringZ b)
{
    return strcmp(a, SubString(b));
}

inline bool operator==(SubString a, SubString b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.m_p1, b.m_p1, static_cast<std::size_t>(a.size())) == 0);
}

} // namespace kelm
