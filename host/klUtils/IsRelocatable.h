#pragma once

// IsRelocatable<T>: whether a T may be moved in memory as bytes, as our vectors, maps and sets move what they hold.
// Known of types that are trivially copyable, of our own types, of arrays, and of described classes of such members. A
// class of which nothing is known does not compile where it would be moved. One that holds no pointer into itself and
// whose address nobody keeps says so:
//
//     template <>
//     inline constexpr bool kelm::IsRelocatable<Account> = true;

#include <array>
#include <cstddef>
#include <type_traits>

namespace kelm
{

// Our own types have a function MovesAsBytes<T>, which answers for themselves and for a T that derives from one of them
// and adds nothing.
template <class T>
concept AnswersIsRelocatable = requires
{
    T::template MovesAsBytes<T>();
};

template <class T>
inline constexpr bool IsRelocatable = std::is_trivially_copyable_v<T>;

template <AnswersIsRelocatable T>
inline constexpr bool IsRelocatable<T> = T::template MovesAsBytes<T>();

template <class T, std::size_t N>
inline constexpr bool IsRelocatable<T[N]> = IsRelocatable<T>;

template <class T, std::size_t N>
inline constexpr bool IsRelocatable<std::array<T, N>> = IsRelocatable<T>;

// Asked in the bodies that move, where T is complete, so that T may hold a container of its own kind.
template <class T>
constexpr void CheckRelocatable()
{
    static_assert(IsRelocatable<T>,
                  "T is not known to be relocatable, and our containers move what they hold as bytes: describe it with "
                  "all of its members, or hold it by a handle; or, if it holds no pointer into itself and nobody keeps "
                  "its address, say so: template <> inline constexpr bool kelm::IsRelocatable<T> = true;");
}

} // namespace kelm
