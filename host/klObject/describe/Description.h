#pragma once

// What a description of a C++ type is, and the hooks that every described type has. Describe.h tells how to write one.

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <concepts>

namespace kelm
{

// The description of T: specialised by KELM_CLASS, KELM_ENUM, KELM_VARIANT and KELM_TYPEDEF. Each specialisation has
// the described type as Self, its registered name as s_name, and a base that says what is described.
template <class T>
struct Description;

template <class T>
concept Described = requires
{
    Description<T>::s_name;
};

class TypeEmitter;

// Why a type, or a member of a class, cannot be described.
enum class EObstacle
{
    None,
    NoMember,         // there is none, nor a base class, of that name
    NoField,          // static, or a function
    BaseNotDescribed, // a base class
    NotDescribed,
    NotNamed,       // an xvariant without KELM_VARIANT
    Pointer,        // or a reference
    Number,         // long double, wchar_t
    NotCreatable,   // an element without a default constructor
    NotRelocatable, // an element of ours that does not move as bytes
    Ambiguous,      // an optional of what may be null itself
    SameNames,      // two alternatives of a variant have one name
    KeysNotFound,   // keys of a map or set without what finds them
    MapInKey,       // keys of ours with a map or set in them
    NotPersistable, // what a pref leads to
    MapInField,     // a map or set of ours in a field that is none of the model
    NotAClass,      // a member whose model would be the class's
    NoModel,        // the same, of a class without model fields of its own
};

// By a name, of which compilers tell no more than that it is false; of a comparison they tell all of the macros again.
template <EObstacle Obstacle, EObstacle Other>
inline constexpr bool s_isNot = Obstacle != Other;

// What stands for a member of a description that is no field.
struct NoFieldType
{
    static constexpr void Emit(TypeEmitter&) {}
};

struct ClassDescription
{
    using Descriptor = ReflectedClass;
    static constexpr ETypeByteCode s_code = FT_CLASS;
};
// A class of which no more is used than its description tells: neither its operators nor its copying.
struct StructDescription : ClassDescription
{
};
template <class T>
concept DescribedClass = Described<T> && std::derived_from<Description<T>, ClassDescription>;

struct VariantDescription
{
    using Descriptor = ReflectedVariant;
    static constexpr ETypeByteCode s_code = FT_VARIANT;
};
struct EnumDescription
{
    using Descriptor = ReflectedEnum;
    static constexpr ETypeByteCode s_code = FT_ENUM;
};
// An enumeration of another width than 32 bits, or with values that 32 bits do not hold, which is a foreign type.
struct ForeignEnumDescription
{
};
struct TypedefDescription
{
    using Descriptor = ReflectedTypedef;
    static constexpr ETypeByteCode s_code = FT_TYPEDEF;
};

// One member of a class description. The classes derived from it carry the type.
enum EMember : int32
{
    MEMBER_MODEL_FIELD,
    MEMBER_ORDINARY_FIELD,
    MEMBER_EMBEDDED_MODEL,
    MEMBER_PERSISTABLE,
    MEMBER_NOT_CREATABLE,
    MEMBER_BASE,
    MEMBER_DOC,
};

// The checking function of a member that has none, or one that is called without an object.
struct NoFunction
{
};

// As RefuseField, of a member that has no type.
struct NoRefusal
{
    template <class M>
    void operator()(M*) const
    {
    }
};

struct Member
{
    using Function = NoFunction;
    using Refusal = NoRefusal;
    static constexpr EObstacle Obstacle = EObstacle::None;
    static constexpr NoFunction m_function{};

    EMember m_kind;
    ConstStringZ m_name = nullptr;
    ssize_t m_offset = 0;
    int64 m_rsn1 = 0;  // the release that added a model field
    int64 m_rsn2 = -1; // the release that dropped it; -1 while it is present
    FieldRule m_rule = {};
    void* (*m_fromDerived)(void* derived) = nullptr; // of a base class
    ConstStringZ m_doc = nullptr;                    // what people are told of it, or of the class

    // An embedded model has its own (MemberList::CheckEmbeddedModel).
    template <class Check>
    static constexpr bool CheckModel(Check)
    {
        return true;
    }
};

// Options of a class.
struct Persistable : Member // its objects can be stored, and held by pref
{
    using FieldTypeOf = NoFieldType;
    constexpr Persistable() : Member{MEMBER_PERSISTABLE} {}
};
struct NotCreatable : Member // data sources cannot make objects of it
{
    using FieldTypeOf = NoFieldType;
    constexpr NotCreatable() : Member{MEMBER_NOT_CREATABLE} {}
};
struct Doc : Member // what editors show of the class
{
    using FieldTypeOf = NoFieldType;
    constexpr Doc(ConstStringZ text) : Member{MEMBER_DOC} { m_doc = text; }
};

// The descriptor of a described type, and the operations on arrays of it. The argument selects the type and is not
// used. A function of the same name for one type, written by hand beside that type, is preferred.
template <Described T>
const typename Description<T>::Descriptor& _GetReflected(const T*);
template <Described T>
const TypeOps* _GetTypeOps(const T*);

} // namespace kelm
