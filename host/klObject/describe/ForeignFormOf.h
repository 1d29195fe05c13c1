#pragma once

// What the forms of foreign types have in common (ForeignForm.h).

#include <klObject/describe/FieldType.h>
#include <klObject/objects/GcObject.h>
#include <klObject/types/ForeignType.h>

#include <array>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace kelm
{

// A class that is neither described nor ours.
template <class T>
concept ForeignClass = std::is_class_v<T> && !std::is_const_v<T> && !std::is_volatile_v<T> && !Described<T> &&
                       !HandDescribed<T> && !AnswersIsRelocatable<T>;

// Without the qualifiers: whoever writes through it knows them from the byte code.
template <class T>
void* AddressOf(T& variable)
{
    return const_cast<void*>(static_cast<const volatile void*>(__builtin_addressof(variable)));
}

// How a foreign class is described: specialised for each kind. Each has Parts, the FieldTypes of its parts, and the
// functions of its form.
template <class T>
struct ForeignForm;

template <class... FieldTypes>
struct ForeignParts
{
};

// What all of them have.
template <EForeignForm F, class... FieldTypes>
struct ForeignFormOf
{
    using Parts = ForeignParts<FieldTypes...>;
    static constexpr EForeignForm Form = F;
    static constexpr EObstacle Obstacle = FirstObstacle({EObstacle::None, FieldTypes::Obstacle...});
};

template <class T>
concept DescribableForeign = ForeignClass<T> && requires
{
    ForeignForm<T>::Form;
};

template <class Parts>
struct ForeignPartTables;
template <class... FieldTypes>
struct ForeignPartTables<ForeignParts<FieldTypes...>>
{
    static constexpr TypeTables<FieldTypes...> s_tables{};
    static constexpr auto s_parts = []
    {
        std::array<ForeignPart, sizeof...(FieldTypes)> parts{};
        for (std::size_t i = 0; i < parts.size(); ++i)
            parts[i] = {s_tables.ByteCode(i), s_tables.m_names.data(), s_tables.Functions(i)};
        return parts;
    }();
    static void Use(UsedTypes& used) { used.AddAll(s_tables.m_uses.data()); }
};
template <>
struct ForeignPartTables<ForeignParts<>>
{
    static constexpr std::array<ForeignPart, 0> s_parts{};
    static void Use(UsedTypes&) {}
};

template <class T>
void ExchangeTwo(void* a, void* b)
{
    using std::swap;
    swap(*static_cast<T*>(a), *static_cast<T*>(b));
}

template <class T>
inline constexpr ForeignType s_foreignType = []
{
    using Form = ForeignForm<T>;
    ForeignType type{};
    type.m_form = Form::Form;
    type.m_name = kelmTypeName::Of<T>();
    type.m_size = sizeof(T);
    type.Construct = ConstructOne<T>;
    type.Destruct = DestroyOne<T>;
    if constexpr (std::is_swappable_v<T>)
        type.Exchange = ExchangeTwo<T>;
    type.m_parts = ForeignPartTables<typename Form::Parts>::s_parts.data();
    type.m_numParts = static_cast<int32>(ForeignPartTables<typename Form::Parts>::s_parts.size());
    if constexpr (Form::Form == FF_TEXT)
        type.m_text = &Form::s_fns;
    else if constexpr (Form::Form == FF_LIST)
        type.m_list = &Form::s_fns;
    else if constexpr (Form::Form == FF_MAP)
        type.m_map = &Form::s_fns;
    else
        type.m_choice = &Form::s_fns;
    return type;
}();

template <DescribableForeign T>
struct FieldType<T>
{
    using Value = T;
    static constexpr bool HasFunctions = false; // parts have tables of their own
    static constexpr EObstacle Obstacle = ForeignForm<T>::Obstacle;
    static constexpr void Emit(TypeEmitter& out)
    {
        if constexpr (Obstacle == EObstacle::None)
            out.Foreign(s_foreignType<T>.m_form, ForeignPartTables<typename ForeignForm<T>::Parts>::Use);
    }
};

// Parts are constructed where they are read.
template <class T>
constexpr EObstacle FindObstacleToCreating()
{
    return std::is_default_constructible_v<T> ? EObstacle::None : EObstacle::NotCreatable;
}

} // namespace kelm
