#pragma once

// Texts (ForeignForm.h): strings, paths, durations, and enumerations whose numbers have any width.

#include <klObject/describe/ForeignFormOf.h>
#include <klObject/values/DurationText.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <type_traits>

namespace kelm
{

template <class T>
concept ForeignString = ForeignClass<T> && requires(T& text, const char* p, std::size_t size)
{
    typename T::traits_type;
    text.assign(p, size);
    {
        text.data()
        } -> std::same_as<char*>;
    text.size();
};

template <class T>
inline SubString ViewOf(const T& text)
{
    return {text.data(), text.data() + text.size()};
}

template <ForeignString T>
struct ForeignForm<T> : ForeignFormOf<FF_TEXT>
{
    static constexpr ForeignTextFns s_fns = {
        [](const void* text, char*) { return ViewOf(*static_cast<const T*>(text)); },
        [](void* text, SubString characters)
        {
            static_cast<T*>(text)->assign(characters.data(), static_cast<std::size_t>(characters.size()));
            return true;
        },
        [](const void* a, const void* b)
        { return strcmp(ViewOf(*static_cast<const T*>(a)), ViewOf(*static_cast<const T*>(b))); },
        "string"};
};

// A path.
template <class T>
concept ForeignPath = ForeignClass<T> && requires(T& path, const char* p)
{
    T::preferred_separator;
    {
        path.native().data()
        } -> std::convertible_to<const char*>;
    path.assign(p, p);
};

template <ForeignPath T>
struct ForeignForm<T> : ForeignFormOf<FF_TEXT>
{
    static constexpr ForeignTextFns s_fns = {
        [](const void* text, char*) { return ViewOf(static_cast<const T*>(text)->native()); },
        [](void* text, SubString characters)
        {
            static_cast<T*>(text)->assign(characters.begin(), characters.end());
            return true;
        },
        [](const void* a, const void* b)
        { return strcmp(ViewOf(static_cast<const T*>(a)->native()), ViewOf(static_cast<const T*>(b)->native())); },
        "string"};
};

template <class T>
concept ForeignDuration = ForeignClass<T> && requires(const T& duration)
{
    typename T::rep;
    T::period::num;
    T::period::den;
    duration.count();
    T::zero();
};

template <ForeignDuration T>
struct ForeignForm<T> : ForeignFormOf<FF_TEXT>
{
    using Rep = typename T::rep;
    static constexpr int64 s_billion = 1000000000;
    static constexpr int64 s_nanoseconds = T::period::num * s_billion / T::period::den;
    static constexpr EObstacle Obstacle = std::is_arithmetic_v<Rep> && !std::is_same_v<Rep, long double> &&
                                                  s_nanoseconds > 0 && T::period::num* s_billion % T::period::den == 0
                                              ? EObstacle::None
                                              : EObstacle::Number;
    using Number = std::conditional_t<std::is_floating_point_v<Rep>, double, int64>;

    static constexpr ForeignTextFns s_fns = {
        [](const void* text, char* buffer)
        { return PutDuration(buffer, static_cast<Number>(static_cast<const T*>(text)->count()), s_nanoseconds); },
        [](void* text, SubString characters)
        {
            Number number = 0;
            if (!ReadDuration(characters, s_nanoseconds, number))
                return false;
            const auto ticks = static_cast<Rep>(number);
            if (std::is_integral_v<Rep> &&
                (static_cast<Number>(ticks) != number || (std::is_unsigned_v<Rep> && number < 0)))
                return false;
            *static_cast<T*>(text) = T(ticks);
            return true;
        },
        [](const void* a, const void* b)
        {
            const Rep x = static_cast<const T*>(a)->count();
            const Rep y = static_cast<const T*>(b)->count();
            return static_cast<int>(y < x) - static_cast<int>(x < y);
        },
        "duration",
        false,
        nullptr,
        0,
        nullptr,
        [](SubString characters)
        { return IsDurationOfAnySize(characters, s_nanoseconds, std::is_floating_point_v<Rep>); }};
};

// An enumeration of another width than 32 bits.
template <Described E>
requires std::derived_from<Description<E>, ForeignEnumDescription>
struct ForeignForm<E> : ForeignFormOf<FF_TEXT>
{
    static constexpr auto s_enumerators = Description<E>::Values();
    static constexpr auto s_names = []
    {
        std::array<ConstStringZ, s_enumerators.size()> names{};
        for (std::size_t i = 0; i < names.size(); ++i)
            names[i] = s_enumerators[i].m_name;
        return names;
    }();

    static constexpr TypeNotes s_notes = {nullptr, Description<E>::s_file, Description<E>::s_line, nullptr};

    static constexpr ForeignTextFns s_fns = {
        [](const void* value, char* buffer) -> SubString
        {
            for (const auto& enumerator : s_enumerators)
                if (*static_cast<const E*>(value) == static_cast<E>(enumerator.m_value))
                    return enumerator.m_name;
            return {buffer, buffer}; // none of them
        },
        [](void* value, SubString name)
        {
            for (const auto& enumerator : s_enumerators)
                if (strcmp(name, enumerator.m_name) == 0)
                {
                    *static_cast<E*>(value) = static_cast<E>(enumerator.m_value);
                    return true;
                }
            return false;
        },
        [](const void* a, const void* b)
        {
            const E x = *static_cast<const E*>(a);
            const E y = *static_cast<const E*>(b);
            return static_cast<int>(y < x) - static_cast<int>(x < y);
        },
        Description<E>::s_name,
        true,
        s_names.data(),
        static_cast<ssize_t>(s_names.size()),
        [](const void* value) { return static_cast<int64>(*static_cast<const E*>(value)); },
        nullptr,
        &s_notes,
        [](void* value, int64 number)
        {
            for (const auto& enumerator : s_enumerators)
                if (enumerator.m_value == number)
                {
                    *static_cast<E*>(value) = static_cast<E>(number);
                    return true;
                }
            return false;
        }};
};

template <Described E>
requires std::derived_from<Description<E>, ForeignEnumDescription>
struct FieldType<E> : PlainFieldType<E>
{
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Foreign(s_foreignType<E>.m_form, ForeignPartTables<ForeignParts<>>::Use);
    }
};

} // namespace kelm
