#pragma once

// FieldType of the standard library's types, which become ForeignTypes. A type is recognised by what it offers and not
// by its name, so that none of the library's headers is needed here, and whatever offers the same is described as well:
//
//     strings, paths, durations                         a text
//     vectors, pairs                                    a list
//     maps, unordered maps; sets                        a map; one without payloads
//     optionals, unique and shared pointers; variants   a choice
//
// std::array is an array of ours.

#include <klObject/describe/ForeignFormOf.h>
#include <klObject/describe/ForeignText.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <memory> // and std::less, for which <functional> would bring far more
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kelm
{

// --- lists

template <class T>
concept ForeignVector = ForeignClass<T> && !ForeignString<T> && requires(T & list)
{
    typename T::value_type;
    list.emplace_back();
    list.clear();
    list[0];
    list.size();
};

template <class T>
using ElementOf = std::remove_const_t<typename T::value_type>;

template <class T>
inline constexpr bool s_hasProxies = !std::is_reference_v<decltype(std::declval<T&>()[0])>;

// The elements of a vector of bits have no address; those of two constants stand for them.
inline constexpr bool s_bits[] = {false, true};

template <ForeignVector T>
struct ForeignForm<T>
    : ForeignFormOf<FF_LIST, FieldType<std::conditional_t<s_hasProxies<T>, const ElementOf<T>, ElementOf<T>>>>
{
    using Element = ElementOf<T>;
    using Base = ForeignFormOf<FF_LIST, FieldType<Element>>;
    static constexpr EObstacle Obstacle = FirstObstacle({Base::Obstacle, FindObstacleToCreating<Element>()});

    static constexpr ForeignListFns MakeFns()
    {
        ForeignListFns fns{};
        fns.Count = [](const void* list) { return static_cast<ssize_t>(static_cast<const T*>(list)->size()); };
        fns.Clear = [](void* list) { static_cast<T*>(list)->clear(); };
        if constexpr (s_hasProxies<T>)
        {
            fns.At = [](void* list, ssize_t i) -> void*
            { return const_cast<bool*>(&s_bits[(*static_cast<T*>(list))[static_cast<std::size_t>(i)] ? 1 : 0]); };
            fns.Assign = [](void* list, ssize_t i, const void* value)
            { (*static_cast<T*>(list))[static_cast<std::size_t>(i)] = *static_cast<const Element*>(value); };
        }
        else
        {
            fns.At = [](void* list, ssize_t i) -> void*
            { return AddressOf((*static_cast<T*>(list))[static_cast<std::size_t>(i)]); };
            fns.Append = [](void* list) -> void* { return AddressOf(static_cast<T*>(list)->emplace_back()); };
        }
        if constexpr (std::is_arithmetic_v<Element> || std::is_enum_v<Element>)
            fns.AppendCopies = [](void* list, const void* elements, ssize_t size)
            {
                T& all = *static_cast<T*>(list);
                const auto* const first = static_cast<const Element*>(elements);
                const auto* const past = first + size / static_cast<ssize_t>(sizeof(Element));
                if constexpr (requires { all.assign(first, past); })
                    if (all.size() == 0)
                        return all.assign(first, past);
                all.insert(all.end(), first, past);
            };
        fns.m_isContiguous = requires(T & list)
        {
            {
                list.data()
                } -> std::same_as<Element*>;
        };
        return fns;
    }
    static constexpr ForeignListFns s_fns = MakeFns();
};

template <class T>
concept ForeignPair = ForeignClass<T> && requires(T& pair)
{
    typename T::first_type;
    typename T::second_type;
    pair.first;
    pair.second;
};

template <ForeignPair T>
struct ForeignForm<T> : ForeignFormOf<FF_LIST, FieldType<typename T::first_type>, FieldType<typename T::second_type>>
{
    using Base = ForeignFormOf<FF_LIST, FieldType<typename T::first_type>, FieldType<typename T::second_type>>;
    static constexpr EObstacle Obstacle = FirstObstacle({Base::Obstacle, FindObstacleToCreating<T>()});
    static constexpr ForeignListFns s_fns = {[](const void*) -> ssize_t { return 2; },
                                             [](void* pair, ssize_t i) -> void*
                                             {
                                                 auto& both = *static_cast<T*>(pair);
                                                 return i == 0 ? AddressOf(both.first) : AddressOf(both.second);
                                             },
                                             nullptr,
                                             nullptr,
                                             [](void*) {}, // GCOVR_EXCL_LINE: what is fixed is not cleared
                                             true,
                                             false};
};

// --- maps and sets

template <class T>
concept ForeignMap = ForeignClass<T> && requires(T& map)
{
    typename T::key_type;
    typename T::mapped_type;
    map.try_emplace(std::declval<typename T::key_type>());
    map.clear();
};

template <class T>
concept ForeignSet = ForeignClass<T> && !ForeignMap<T> && requires(T & set)
{
    typename T::key_type;
    set.insert(std::declval<typename T::key_type>()).second;
    set.clear();
};

template <class T>
inline constexpr bool s_isOrderedForeign = requires
{
    typename T::key_compare;
};

// Whether keys are found: std::less and std::equal_to say of themselves that they take everything.
template <class T>
constexpr EObstacle FindObstacleToKeys()
{
    using Key = typename T::key_type;
    bool isFound = true;
    if constexpr (s_isOrderedForeign<T>)
    {
        if constexpr (std::is_same_v<typename T::key_compare, std::less<Key>>)
            isFound = requires(const Key& key)
            {
                key < key;
            };
    }
    else if constexpr (requires { typename T::hasher; })
    {
        isFound = std::is_default_constructible_v<typename T::hasher>;
        if constexpr (std::is_same_v<typename T::key_equal, std::equal_to<Key>>)
            isFound = isFound && requires(const Key& key)
            {
                key == key;
            };
    }
    return isFound ? EObstacle::None : EObstacle::KeysNotFound;
}

// The payload under a key, which a map may know how to compare in another form than its own.
template <class T, class Key>
void* FindPayload(const void* map, const Key& key)
{
    T& entries = *const_cast<T*>(static_cast<const T*>(map));
    const auto found = entries.find(key);
    return found == entries.end() ? nullptr : AddressOf(found->second);
}

template <class T>
concept IntegerKey = std::is_integral_v<T> && sizeof(T) <= sizeof(int64) && !std::is_same_v<T, bool> &&
                     !std::is_same_v<T, char> && !std::is_same_v<T, char8_t> && !std::is_same_v<T, char16_t> &&
                     !std::is_same_v<T, char32_t> && !std::is_same_v<T, wchar_t>;

template <ForeignMap T>
struct ForeignForm<T> : ForeignFormOf<FF_MAP, FieldType<typename T::key_type>, FieldType<typename T::mapped_type>>
{
    using Key = typename T::key_type;
    using Payload = typename T::mapped_type;
    using Base = ForeignFormOf<FF_MAP, FieldType<Key>, FieldType<Payload>>;
    static constexpr EObstacle Obstacle = FirstObstacle(
        {Base::Obstacle, FindObstacleToCreating<Key>(), FindObstacleToCreating<Payload>(), FindObstacleToKeys<T>()});
    static constexpr auto GetFindText() -> void* (*)(const void*, SubString)
    {
        if constexpr (ForeignString<Key>)
            return [](const void* map, SubString key)
            {
                const std::string_view text(key.data(), static_cast<std::size_t>(key.size()));
                if constexpr (requires(T & entries) { entries.find(text); })
                    return FindPayload<T>(map, text);
                else
                    return FindPayload<T>(map, Key(text));
            };
        else
            return nullptr;
    }
    static constexpr auto GetFindInteger() -> void* (*)(const void*, int64)
    {
        if constexpr (IntegerKey<Key>)
            return [](const void* map, int64 key)
            { return std::in_range<Key>(key) ? FindPayload<T>(map, static_cast<Key>(key)) : nullptr; };
        else
            return nullptr;
    }
    static constexpr ForeignMapFns s_fns = {
        [](const void* map) { return static_cast<ssize_t>(static_cast<const T*>(map)->size()); },
        [](void* map, void* key) -> void*
        { return AddressOf(static_cast<T*>(map)->try_emplace(std::move(*static_cast<Key*>(key))).first->second); },
        [](const void* map, const void* key) -> void* { return FindPayload<T>(map, *static_cast<const Key*>(key)); },
        [](void* map, const void* key) { return static_cast<T*>(map)->erase(*static_cast<const Key*>(key)) > 0; },
        [](void* map) { static_cast<T*>(map)->clear(); },
        [](const void* map, EntryVisitor visitor, void* context)
        {
            for (auto& [key, payload] : *const_cast<T*>(static_cast<const T*>(map)))
                if (!visitor(context, AddressOf(key), AddressOf(payload)))
                    return;
        },
        s_isOrderedForeign<T>,
        GetFindText(),
        GetFindInteger()};
};

template <ForeignSet T>
struct ForeignForm<T> : ForeignFormOf<FF_MAP, FieldType<typename T::key_type>>
{
    using Key = typename T::key_type;
    using Base = ForeignFormOf<FF_MAP, FieldType<Key>>;
    static constexpr EObstacle Obstacle =
        FirstObstacle({Base::Obstacle, FindObstacleToCreating<Key>(), FindObstacleToKeys<T>()});
    static constexpr ForeignMapFns s_fns = {
        [](const void* set) { return static_cast<ssize_t>(static_cast<const T*>(set)->size()); },
        [](void* set, void* key) -> void*
        {
            static_cast<T*>(set)->insert(std::move(*static_cast<Key*>(key)));
            return nullptr;
        },
        [](const void* set, const void* key) -> void*
        {
            const T& elements = *static_cast<const T*>(set);
            const auto found = elements.find(*static_cast<const Key*>(key));
            return found == elements.end() ? nullptr : AddressOf(*found);
        },
        [](void* set, const void* key) { return static_cast<T*>(set)->erase(*static_cast<const Key*>(key)) > 0; },
        [](void* set) { static_cast<T*>(set)->clear(); },
        [](const void* set, EntryVisitor visitor, void* context)
        {
            for (const auto& key : *static_cast<const T*>(set))
                if (!visitor(context, AddressOf(key), nullptr))
                    return;
        },
        s_isOrderedForeign<T>};
};

// --- choices

template <class T>
concept ForeignOptional = ForeignClass<T> && requires(T& optional)
{
    typename T::value_type;
    optional.has_value();
    optional.reset();
    *optional;
};

// One that deletes by itself what it points to.
template <class T>
concept ForeignPointer = ForeignClass<T> && requires(T& pointer)
{
    typename T::element_type;
    pointer.reset(static_cast<typename T::element_type*>(nullptr));
    *pointer.get();
    requires !std::is_array_v<typename T::element_type> && !std::is_const_v<typename T::element_type>;
    requires !requires
    {
        pointer[0];
    };
};

template <template <class...> class V, class... As>
concept ForeignVariant = sizeof...(As) > 0 && ForeignClass<V<As...>>&& requires(V<As...>& variant)
{
    variant.valueless_by_exception();
    variant.index();
};

inline constexpr ConstStringZ s_nullName = "null";

// The name of an alternative: that of a described type, or of its form.
template <class T>
struct AlternativeName
{
    static constexpr ConstStringZ Get()
    {
        if constexpr (Described<T> || HandDescribed<T>)
            return RegisteredName<T>();
        else if constexpr (requires { ForeignForm<T>::Form; })
            return GetOfForeign();
        else
            return GetOfCode();
    }

private:
    static constexpr ConstStringZ GetOfForeign()
    {
        using Form = ForeignForm<T>;
        if constexpr (ForeignPath<T>)
            return "path";
        else if constexpr (Form::Form == FF_TEXT)
            return Form::s_fns.m_what;
        else if constexpr (ForeignPair<T>)
            return "pair";
        else if constexpr (Form::Form == FF_LIST)
            return "list";
        else if constexpr (Form::Form == FF_MAP)
            return ForeignMap<T> ? "map" : "set";
        else
            return Form::s_fns.m_names == nullptr ? "optional" : "variant";
    }
    struct NamedCode
    {
        ETypeByteCode m_code;
        ConstStringZ m_name;
    };
    static constexpr NamedCode s_names[] = {
        {FT_VOID, s_nullName},   {FT_BOOL, "bool"},         {FT_INT8, "int8"},     {FT_INT16, "int16"},
        {FT_INT32, "int32"},     {FT_INT64, "int64"},       {FT_INT128, "int128"}, {FT_UINT8, "uint8"},
        {FT_UINT16, "uint16"},   {FT_UINT32, "uint32"},     {FT_UINT64, "uint64"}, {FT_UINT128, "uint128"},
        {FT_FLOAT32, "float32"}, {FT_FLOAT64, "float64"},   {FT_CHAR8, "char8"},   {FT_CHAR16, "char16"},
        {FT_STRING8, "string"},  {FT_STRING16, "string16"}, {FT_VECTOR, "list"},   {FT_DYNARRAY, "list"},
        {FT_ARRAY, "list"},      {FT_MAP, "map"},           {FT_SET, "set"},       {FT_INTERFACE_POINTER, "object"},
        {FT_PREF, "reference"},
    };
    static constexpr ConstStringZ GetOfCode()
    {
        if (FieldType<T>::Obstacle != EObstacle::None)
            return "";
        const TypeTables<FieldType<T>> tables;
        for (const NamedCode& row : s_names)
            if (row.m_code == *tables.ByteCode(0))
                return row.m_name;
        return "";
    }
};

// Whether the text of a T may be `null`.
template <class T>
struct MayBeNull
{
    static constexpr bool value = ForeignOptional<T> || ForeignPointer<T>;
};
template <class T>
struct MayBeNull<const T> : MayBeNull<T>
{
};
template <class I>
struct MayBeNull<ptr<I>> : std::true_type
{
};
template <class C>
struct MayBeNull<pref<C>> : std::true_type
{
};
template <>
struct MayBeNull<prefbase> : std::true_type
{
};
template <template <class...> class V, class... As>
requires ForeignVariant<V, As...>
struct MayBeNull<V<As...>>
{
    static constexpr bool value = ((std::string_view(AlternativeName<As>::Get()) == s_nullName) || ...);
};
template <Described T>
requires std::is_enum_v<T>
struct MayBeNull<T>
{
    static constexpr bool value = []
    {
        for (const auto& enumerator : Description<T>::Values())
            if (std::string_view(enumerator.m_name) == s_nullName)
                return true;
        return false;
    }();
};

template <class T>
constexpr EObstacle FindObstacleToOptional()
{
    if constexpr (FieldType<T>::Obstacle != EObstacle::None)
        return FieldType<T>::Obstacle;
    else if constexpr (MayBeNull<T>::value)
        return EObstacle::Ambiguous;
    else
        return FindObstacleToCreating<T>();
}

template <ForeignOptional T>
struct ForeignForm<T> : ForeignFormOf<FF_CHOICE, FieldType<typename T::value_type>>
{
    using Payload = typename T::value_type;
    static constexpr EObstacle Obstacle = FindObstacleToOptional<Payload>();
    static constexpr ForeignChoiceFns s_fns = {
        [](const void* optional) { return static_cast<const T*>(optional)->has_value() ? 0 : -1; },
        [](const void* optional) -> void* { return AddressOf(**static_cast<const T*>(optional)); },
        [](void* optional, int32) -> void* { return AddressOf(static_cast<T*>(optional)->emplace()); },
        [](void* optional) { static_cast<T*>(optional)->reset(); },
        nullptr,
        false};
};

template <ForeignPointer T>
struct ForeignForm<T> : ForeignFormOf<FF_CHOICE, FieldType<typename T::element_type>>
{
    using Payload = typename T::element_type;
    static constexpr EObstacle Obstacle = FindObstacleToOptional<Payload>();
    static constexpr auto FindIsShared() -> bool (*)(const void*)
    {
        if constexpr (requires(const T& pointer) { pointer.use_count(); })
            return [](const void* pointer) { return static_cast<const T*>(pointer)->use_count() > 1; };
        else
            return nullptr;
    }
    static constexpr auto FindShare() -> void (*)(void*, const void*)
    {
        if constexpr (requires(const T& pointer) { pointer.use_count(); })
            return [](void* to, const void* from) { *static_cast<T*>(to) = *static_cast<const T*>(from); };
        else
            return nullptr;
    }
    static constexpr ForeignChoiceFns s_fns = {
        [](const void* pointer) { return static_cast<const T*>(pointer)->get() != nullptr ? 0 : -1; },
        [](const void* pointer) -> void* { return static_cast<const T*>(pointer)->get(); },
        [](void* pointer, int32) -> void*
        {
            static_cast<T*>(pointer)->reset(new Payload());
            return static_cast<T*>(pointer)->get();
        },
        [](void* pointer) { static_cast<T*>(pointer)->reset(); },
        nullptr,
        true,
        FindIsShared(),
        FindShare()};
};

template <template <class...> class V, class... As>
requires ForeignVariant<V, As...>
struct ForeignForm<V<As...>> : ForeignFormOf<FF_CHOICE, FieldType<As>...>
{
    using Variant = V<As...>;
    using Base = ForeignFormOf<FF_CHOICE, FieldType<As>...>;

    static constexpr std::array<ConstStringZ, sizeof...(As)> s_names = {AlternativeName<As>::Get()...};
    static constexpr bool HaveSameNames()
    {
        for (std::size_t i = 0; i < s_names.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (std::string_view(s_names[i]) == s_names[j])
                    return true;
        return false;
    }
    static constexpr EObstacle Obstacle = FirstObstacle(
        {Base::Obstacle, FindObstacleToCreating<As>()..., HaveSameNames() ? EObstacle::SameNames : EObstacle::None});

    template <std::size_t... Is>
    static void* GetAt(const Variant& variant, std::index_sequence<Is...>)
    {
        void* value = nullptr;
        ((variant.index() == Is ? void(value = AddressOf(get<Is>(variant))) : void()), ...);
        return value;
    }
    // Where the new value cannot be made the old one stays, as far as its kind allows; a variant is never left without.
    template <std::size_t I>
    static void* Emplace(Variant& variant)
    {
        using A = std::tuple_element_t<I, std::tuple<As...>>;
        if constexpr (!std::is_nothrow_default_constructible_v<A> && std::is_nothrow_move_constructible_v<A>)
        {
            A fresh{};
            return AddressOf(variant.template emplace<I>(std::move(fresh)));
        }
        else
        {
            try
            {
                return AddressOf(variant.template emplace<I>());
            }
            catch (...)
            {
                if (variant.valueless_by_exception())
                    FillAgain(variant, std::index_sequence_for<As...>());
                throw;
            }
        }
    }
    template <std::size_t... Is>
    static void FillAgain(Variant& variant, std::index_sequence<Is...>)
    {
        [[maybe_unused]] const auto fill = [&variant]<std::size_t I>(std::integral_constant<std::size_t, I>)
        {
            if constexpr (std::is_nothrow_default_constructible_v<std::tuple_element_t<I, std::tuple<As...>>>)
                if (variant.valueless_by_exception())
                    variant.template emplace<I>();
        };
        (fill(std::integral_constant<std::size_t, Is>()), ...);
    }
    template <std::size_t... Is>
    static void* EmplaceAt(Variant& variant, int32 index, std::index_sequence<Is...>)
    {
        void* value = nullptr;
        ((index == static_cast<int32>(Is) ? void(value = Emplace<Is>(variant)) : void()), ...);
        return value;
    }

    static constexpr ForeignChoiceFns s_fns = {
        [](const void* variant)
        {
            const Variant& v = *static_cast<const Variant*>(variant);
            return v.valueless_by_exception() ? -1 : static_cast<int32>(v.index());
        },
        [](const void* variant)
        { return GetAt(*static_cast<const Variant*>(variant), std::index_sequence_for<As...>()); },
        [](void* variant, int32 index)
        { return EmplaceAt(*static_cast<Variant*>(variant), index, std::index_sequence_for<As...>()); },
        nullptr,
        s_names.data(),
        false};
};

// --- what our own containers may hold of them

namespace ForeignDetail
{

// Of those that no pointer leads into themselves, the library's own, known by their names.
template <class T>
constexpr bool IsKnownToMove()
{
    const std::string_view name = kelmTypeName::Of<T>();
    for (const std::string_view known : {"std::vector<", "std::unique_ptr<", "std::shared_ptr<"})
        if (name.substr(0, known.size()) == known)
            return true;
    return false;
}

template <class Parts>
inline constexpr bool s_doPartsMove = false;
template <class... FieldTypes>
inline constexpr bool s_doPartsMove<ForeignParts<FieldTypes...>> =
    (IsRelocatable<std::remove_cv_t<typename FieldTypes::Value>> && ...);

} // namespace ForeignDetail

template <DescribableForeign T>
inline constexpr bool IsRelocatable<T> = std::is_trivially_copyable_v<T> || ForeignDetail::IsKnownToMove<T>() ||
                                         ((ForeignPair<T> || ForeignForm<T>::Form == FF_CHOICE) && !ForeignPointer<T> &&
                                          ForeignDetail::s_doPartsMove<typename ForeignForm<T>::Parts>);

} // namespace kelm
