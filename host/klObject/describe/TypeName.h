#pragma once

// Types whose hooks (_GetReflected, _GetTypeOps) are written by hand, and their names at compile time.

#include <klObject/describe/Description.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/types.h>

#include <array>
#include <string_view>
#include <type_traits>
#include <utility>

// A namespace of its own: compilers leave out of a name what the function that asks is in.
namespace kelmTypeName
{

template <class T>
constexpr std::string_view Of()
{
    const std::string_view text = __PRETTY_FUNCTION__; // "... [T = kelm::IObject]", "... [with T = kelm::IObject; ...]"
    const std::size_t begin = text.find("T = ") + 4;
    return text.substr(begin, text.find_first_of(";]", begin) - begin);
}

} // namespace kelmTypeName

namespace kelm
{

template <class...>
inline constexpr bool s_isNever = false;

// Converts to a pointer to T and to nothing else, so that a hook for a base class of T does not answer for T.
template <class T>
struct ExactPointer
{
    template <class P>
    requires std::is_same_v<P, const T*>
    operator P() const noexcept;
};

template <class T>
concept HandDescribed = (std::is_class_v<T> || std::is_enum_v<T>)&&!std::is_const_v<T> && !Described<T> && requires
{
    _GetReflected(ExactPointer<T>());
};

template <HandDescribed T>
using HandWrittenDescriptor = std::remove_reference_t<decltype(_GetReflected(ExactPointer<T>()))>;

// The registered name of a type with hooks written by hand, as a constant: its qualified C++ name. Specialise it for a
// type that is registered under another.
template <class T>
struct HandWrittenName
{
    static constexpr auto s_name = []
    {
        constexpr std::string_view name = kelmTypeName::Of<T>();
        std::array<char, name.size() + 1> text{};
        for (std::size_t i = 0; i < name.size(); ++i)
            text[i] = name[i];
        return text;
    }();
};

// The name that a type is registered by.
template <class T>
constexpr ConstStringZ RegisteredName()
{
    if constexpr (Described<T>)
        return Description<T>::s_name;
    else
        return HandWrittenName<T>::s_name.data();
}

} // namespace kelm
