#pragma once

// The enumerators of KELM_DESCRIBE_ENUM, whose names come as one text.

#include <klObject/describe/Description.h>
#include <klObject/describe/Records.h>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <type_traits>

namespace kelm
{

constexpr std::size_t CountEnumerators(ConstStringZ names)
{
    std::size_t count = 1;
    for (; *names != '\0'; ++names)
        count += *names == ',';
    return count;
}

// The names, each with a null behind it.
template <std::size_t Size>
constexpr std::array<char, Size> SplitEnumerators(const char (&names)[Size])
{
    std::array<char, Size> texts{};
    std::size_t end = 0;
    for (const char c : names)
        if (c != ' ')
            texts[end++] = c == ',' ? '\0' : c;
    return texts;
}

template <class E, std::size_t Count, std::size_t Size>
constexpr std::array<EnumValue, Count> ListEnumerators(std::initializer_list<E> values,
                                                       const std::array<char, Size>& texts)
{
    std::array<EnumValue, Count> enumerators{};
    const char* name = texts.data();
    auto value = values.begin();
    for (EnumValue& enumerator : enumerators)
    {
        enumerator = MakeEnumValue(name, *value++);
        while (*name != '\0')
            ++name;
        ++name;
    }
    return enumerators;
}

template <class E>
constexpr bool DoEnumeratorsFit(std::initializer_list<E> values)
{
    for (const E value : values)
        if (static_cast<int64>(value) != static_cast<int32>(value))
            return false;
    return sizeof(E) == sizeof(int32);
}

template <class E, bool Fits>
using EnumDescriptionOf = std::conditional_t<Fits, EnumDescription, ForeignEnumDescription>;

} // namespace kelm
