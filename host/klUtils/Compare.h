#pragma once

// Compare: the one three-way comparison of all types. It is negative, zero or positive as `a` comes before, with or
// behind `b`, and takes time in proportion to the data, however deeply that is nested.
//
// A comparison asks one question. Of values, it may be whether they are equal, or how they are ordered: a NaN is
// neither equal to anything nor less, so that where the order is asked for, it leaves the answer to what comes behind
// it. The keys of maps and the elements of sets have one total order wherever they are found, compared or written: a
// NaN is equal to every NaN and behind all numbers, and -0.0 is equal to 0.0.
//
// Our own types have a friend CompareFor(Comparison<C>, a, b), which a class may have as well. Any other class is
// compared by its ==, its <=>, or else its <, which is asked both ways; so a class that nests without limit has a <=>.

#include <compare>
#include <type_traits>

namespace kelm
{

enum EComparison
{
    VALUES_EQUAL, // not zero says no more than that they differ
    VALUES_ORDER,
    KEYS_EQUAL,
    KEYS_ORDER,
};

template <EComparison C>
struct Comparison
{
    static constexpr bool s_isOfKeys = C == KEYS_EQUAL || C == KEYS_ORDER;
    static constexpr bool s_isEquality = C == VALUES_EQUAL || C == KEYS_EQUAL;

    // The same question asked of the keys of what is compared.
    static constexpr EComparison s_ofKeys = s_isEquality ? KEYS_EQUAL : KEYS_ORDER;
};

// What is compared by its own operators of the language.
template <class T>
inline constexpr bool IsScalarType = std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>;

template <EComparison C, class T>
constexpr int CompareScalars(T a, T b)
{
    if constexpr (std::is_same_v<T, char>) // has a sign, whatever the processor
        return CompareScalars<C>(static_cast<signed char>(a), static_cast<signed char>(b));
    if constexpr (Comparison<C>::s_isOfKeys && std::is_floating_point_v<T>)
        if (a != a || b != b)
            return (a != a) - (b != b);
    if constexpr (Comparison<C>::s_isEquality)
        return a == b ? 0 : 1;
    else
        return (b < a) - (a < b);
}

template <EComparison C, class T>
constexpr int Compare(const T& a, const T& b)
{
    if constexpr (IsScalarType<T>)
        return CompareScalars<C, T>(a, b);
    else if constexpr (requires { CompareFor(Comparison<C>(), a, b); })
        return CompareFor(Comparison<C>(), a, b);
    else if constexpr (Comparison<C>::s_isEquality && requires { static_cast<bool>(a == b); })
        return a == b ? 0 : 1;
    else if constexpr (requires { (a <=> b) < 0; })
    {
        const auto order = a <=> b;
        return order < 0 ? -1 : order > 0;
    }
    else
        return a < b ? -1 : static_cast<int>(static_cast<bool>(b < a));
}

} // namespace kelm
