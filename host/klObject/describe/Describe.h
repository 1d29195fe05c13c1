#pragma once

// Describing C++ types to reflection. One declaration describes a type, one call registers it; byte code, string
// tables and function tables follow from the C++ types at compile time. docs/describing-types.md shows every kind.
//
//     namespace geom
//     {
//     enum class Colour : kelm::int32 { RED, GREEN };
//     struct Point { double x = 0; double y = 0; };
//     struct Circle { Point centre; double radius = 1; Colour colour = Colour::RED; double area = 0; };
//     }
//
//     KELM_ENUM(geom::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
//     KELM_CLASS(geom::Point, KELM_MODEL(x), KELM_MODEL(y))
//     KELM_CLASS(geom::Circle, KELM_MODEL(centre), KELM_MODEL(radius), KELM_MODEL(colour).AddedIn(1), KELM_FIELD(area))
//
//     kelm::RegisterTypes<geom::Colour, geom::Point, geom::Circle>(target);
//
// The declarations stand at global scope, each type under its full name, which is the name that it is registered by.
// Types may use each other in any order; all must be described where one of them is registered. A class that keeps its
// fields to itself makes Description a friend: `friend struct kelm::Description<geom::Point>;`.

#include <klObject/api.h>
#include <klObject/describe/Enumerators.h>
#include <klObject/describe/ForEach.h>
#include <klObject/describe/ForeignForm.h>
#include <klObject/describe/Records.h>
#include <klObject/describe/StructMember.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/types/Registry.h>
#include <klUtils/text/QualifiedName.h>

#include <array>
#include <cstddef>
#include <type_traits>

// As ForEach.h says.
#pragma GCC system_header

// The type's name, which is told here, where the program wrote it.
#define KELM_NAME_OF_DESCRIPTION(TYPE)                                                                                 \
    static constexpr char s_name[] = #TYPE;                                                                            \
    static_assert(::kelm::IsQualifiedName(#TYPE),                                                                      \
                  "a type is described under its full name, identifiers with \"::\" between them");                    \
    static_assert(!std::is_union_v<TYPE>,                                                                              \
                  "a union cannot be described, since nothing says which of its members it holds: use std::variant");

#define KELM_NO_ENUMERATION(TYPE)                                                                                      \
    static_assert(!std::is_enum_v<TYPE>, #TYPE " is an enumeration, which KELM_DESCRIBE_ENUM describes");

// The names of members and base classes. clang would look for a wrong one again and again: a warning that is fatal
// stops it.
#define KELM_CHECK_NAMES(NAMES)                                                                                        \
    static_assert(!::kelm::HasQualifiedName(NAMES),                                                                    \
                  "a member or base class is named as the class itself may name it: Shape, and not geom::Shape");      \
    KELM_FATAL_WARNINGS static_assert(sizeof(::kelm::GoesOn<!::kelm::HasQualifiedName(NAMES)>) != 0);                  \
    KELM_WARNINGS
#ifdef __clang__
#define KELM_FATAL_WARNINGS                                                                                            \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic fatal \"-Wdeprecated-declarations\"")
#define KELM_WARNINGS _Pragma("clang diagnostic pop")
#else
#define KELM_FATAL_WARNINGS
#define KELM_WARNINGS
#endif

// Of several lines, g++ tells the one in which the description begins, and clang the one in which it ends.
#define KELM_PLACE_OF_DESCRIPTION                                                                                      \
    static constexpr ::kelm::ConstStringZ s_file = __FILE__;                                                           \
    static constexpr ::kelm::int32 s_line = __builtin_LINE();

// offsetof of a class that is not of standard layout works where no virtual base is in the way, which the compiler
// refuses by itself.
#define KELM_DESCRIPTION(TYPE, KIND, ...)                                                                              \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"") template <>                \
    struct kelm::Description<TYPE> : ::kelm::KIND                                                                      \
    {                                                                                                                  \
        using Self = TYPE;                                                                                             \
        KELM_NAME_OF_DESCRIPTION(TYPE)                                                                                 \
        KELM_PLACE_OF_DESCRIPTION                                                                                      \
        __VA_ARGS__                                                                                                    \
    };                                                                                                                 \
    _Pragma("GCC diagnostic pop")

// A struct, its members and base classes by name: KELM_DESCRIBE(geom::Circle, Shape, centre, radius), up to 64 of them.
// Its bases are described in the same way. No more is used of it than that: neither operators nor copying.
#define KELM_DESCRIBE(TYPE, ...)                                                                                       \
    KELM_CHECK_NAMES(#__VA_ARGS__)                                                                                     \
    KELM_DESCRIPTION(TYPE, StructDescription, KELM_NO_ENUMERATION(TYPE) KELM_STRUCT_MEMBERS(TYPE, __VA_ARGS__))
#define KELM_STRUCT_MEMBERS(TYPE, ...)                                                                                 \
    template <class Self_ = ::kelm::ClassItself<TYPE>>                                                                 \
    static constexpr auto Members()                                                                                    \
    {                                                                                                                  \
        return ::kelm::ListMembers(__VA_OPT__(KELM_FOR_EACH(KELM_STRUCT_MEMBER, KELM_COMMA, Self_, __VA_ARGS__)));     \
    }                                                                                                                  \
    template <class Self_ = ::kelm::ClassItself<TYPE>>                                                                 \
    static void Check()                                                                                                \
    {                                                                                                                  \
        __VA_OPT__(KELM_FOR_EACH(KELM_CHECK_MEMBER, KELM_NOTHING, TYPE, __VA_ARGS__))                                  \
    }

// An enumeration of any width: KELM_DESCRIBE_ENUM(geom::Colour, RED, GREEN).
#define KELM_DESCRIBE_ENUM(TYPE, ...)                                                                                  \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wshadow\"") template <>                          \
    struct kelm::Description<TYPE>                                                                                     \
        : ::kelm::EnumDescriptionOf<TYPE, []                                                                           \
                                    {                                                                                  \
                                        using enum TYPE;                                                               \
                                        return ::kelm::DoEnumeratorsFit<TYPE>({__VA_ARGS__});                          \
                                    }()>                                                                               \
    {                                                                                                                  \
        using Self = TYPE;                                                                                             \
        KELM_NAME_OF_DESCRIPTION(TYPE)                                                                                 \
        KELM_PLACE_OF_DESCRIPTION                                                                                      \
        static constexpr auto Values()                                                                                 \
        {                                                                                                              \
            using enum TYPE;                                                                                           \
            return ::kelm::ListEnumerators<TYPE, ::kelm::CountEnumerators(#__VA_ARGS__)>({__VA_ARGS__}, s_texts);      \
        }                                                                                                              \
        static constexpr auto s_texts = ::kelm::SplitEnumerators<sizeof #__VA_ARGS__>(#__VA_ARGS__);                   \
    };                                                                                                                 \
    _Pragma("GCC diagnostic pop")

// A class: KELM_CLASS(geom::Point, kelm::Persistable(), KELM_MODEL(x), KELM_MODEL(y)), with any number of fields and
// options, in the order in which positional data sources give them.
#define KELM_CLASS(TYPE, ...)                                                                                          \
    KELM_DESCRIPTION(                                                                                                  \
        TYPE, ClassDescription,                                                                                        \
        KELM_NO_ENUMERATION(TYPE) static constexpr auto Members() { return ::kelm::ListMembers(__VA_ARGS__); })

// A model field, which may be followed by .AddedIn(release), .DroppedIn(release), .As<typedef>() and .Doc("text").
#define KELM_MODEL(MEMBER)                                                                                             \
    ::kelm::MakeModelField<decltype(Self::MEMBER)>(#MEMBER, offsetof(Self, MEMBER), KELM_CHECK_TYPE(MEMBER))

// An ordinary field.
#define KELM_FIELD(MEMBER)                                                                                             \
    ::kelm::MakeOrdinaryField<decltype(Self::MEMBER)>(#MEMBER, offsetof(Self, MEMBER), KELM_CHECK_TYPE(MEMBER))

// A base class, described: an object of the class can be had as one of the base (CastObject, pref).
#define KELM_BASE(BASE) ::kelm::MakeBase<BASE, Self>()

// In place of model fields: the class has the model of its member, or of a member's member, a described class.
#define KELM_MODEL_OF(MEMBER) ::kelm::MakeEmbeddedModel<decltype(Self::MEMBER)>(offsetof(Self, MEMBER))

// An enumeration of 32 bits, its values contiguous or not: KELM_ENUM(geom::Colour, KELM_VALUE(RED), KELM_VALUE(BLUE)).
#define KELM_ENUM(TYPE, ...)                                                                                           \
    KELM_DESCRIPTION(                                                                                                  \
        TYPE, EnumDescription,                                                                                         \
        static constexpr auto Values() { return std::to_array<::kelm::EnumValue>({__VA_ARGS__}); })
#define KELM_VALUE(ENUMERATOR) ::kelm::MakeEnumValue(#ENUMERATOR, Self::ENUMERATOR)

// A variant, a name for each alternative: KELM_VARIANT(geom::Extent, "radius", "box").
#define KELM_VARIANT(TYPE, ...)                                                                                        \
    KELM_DESCRIPTION(                                                                                                  \
        TYPE, VariantDescription,                                                                                      \
        static constexpr auto AlternativeNames() { return std::to_array<::kelm::ConstStringZ>({__VA_ARGS__}); })

// A typedef: KELM_TYPEDEF(geom::Metres, double), where Metres is a class that is declared and no more. Fields of the
// type double are described as Metres by KELM_MODEL(length).As<geom::Metres>().
#define KELM_TYPEDEF(TYPE, ...) KELM_DESCRIPTION(TYPE, TypedefDescription, using Type = __VA_ARGS__;)

namespace kelm
{

// Register a descriptor under a target; a name that the registry refuses fails an assertion.
KLOBJECT_API void RegisterDescriptor(const ReflectedClass& descriptor, XTarget* target);
KLOBJECT_API void RegisterDescriptor(const ReflectedVariant& descriptor, XTarget* target);
KLOBJECT_API void RegisterDescriptor(const ReflectedEnum& descriptor, XTarget* target);
KLOBJECT_API void RegisterDescriptor(const ReflectedTypedef& descriptor, XTarget* target);
KLOBJECT_API void RegisterDescriptor(const ReflectedInterface& descriptor, XTarget* target);

// Registers a type, described here or by hand.
template <class T>
void Register(XTarget* target)
{
    if constexpr (!Described<T> && !HandDescribed<T>)
        static_assert(s_isNever<T>, "this type is not described: KELM_CLASS, KELM_ENUM, KELM_VARIANT or KELM_TYPEDEF "
                                    "must stand before");
    else
    {
        if constexpr (!CheckMembers<T>())
            return;
        else if constexpr (Described<T>)
            RegisterDescriptor(RecordOf<T>::s_record, target); // one step fewer to its mistakes than by _GetReflected
        else
            RegisterDescriptor(_GetReflected(static_cast<const T*>(nullptr)), target);
    }
}

template <class... Ts>
void RegisterTypes(XTarget* target)
{
    (Register<Ts>(target), ...);
}

} // namespace kelm
