#pragma once

// Fields of a program's objects, by their paths.
//
//     double price = kelm::Get<double>(order, ".lines[0].price");
//     kelm::Set(order, ".rates[\"EUR\"]", 1.08);
//
// A path begins at a described object, or at a Root or an Object, which stand for what they keep. Its steps are those
// of docs/paths.md: ".name" to a member, "[2]" to an element; and "[\"key\"]", with a key of whatever type, to what a
// map has under it. Constant members can be read, and nothing grows. A key that is not there is an error where it is
// read; where it is the last step of a path that is set, an entry is made.
//
// Numbers, bools and texts become each other by the table of Scalar.h. Everything else, whole objects and containers
// among it, is copied, and must be of the type that is asked for. What an optional or a handle holds is reached through
// it. Checks are asked by Set; a value that is refused changes nothing.

#include <kelm/Convert.h>
#include <kelm/Files.h>
#include <kelm/Object.h>
#include <kelm/Result.h>
#include <kelm/Scalar.h>
#include <kelm/UsedType.h>
#include <kelm/Value.h>
#include <kelm/api.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

template <class T, class Whole>
T Get(const Whole& whole, std::string_view path);
template <class T, class Whole>
Result<T> TryGet(const Whole& whole, std::string_view path);

template <class Whole, class V>
void Set(Whole&& whole, std::string_view path, const V& value);
template <class Whole, class V>
Result<void> TrySet(Whole&& whole, std::string_view path, const V& value);

// Whether something is there: false where a name, an index, a key or an object on the way is missing, and for an empty
// optional and a null handle. A path that no object of the type could have is an error nevertheless.
template <class Whole>
bool Has(const Whole& whole, std::string_view path);

// --- The inside

// Where a path begins: at a variable, or at an object.
struct FieldStart
{
    const UsedType* m_type = nullptr;
    const ReflectionByteCode* m_reached = nullptr; // the type, where something else has come to the variable
    void* m_data = nullptr;
    ptr<IObject> m_object = nullptr;
};

// Each is false where it fails: with the error in the result, or thrown where there is no result.

// Into a variable of another type or of the same, which is copied.
KELM_API bool GetField(const FieldStart& start, std::string_view path, const UsedType& wanted, void* value,
                       const evaluation::Copying& copying, Result<void>* result);
// A scalar; null where it is none.
KELM_API bool SetField(const FieldStart& start, std::string_view path, const Scalar& value, Result<void>* result);
KELM_API bool SetField(const FieldStart& start, std::string_view path, const Value& value, Result<void>* result);
// `exchange` exchanges the value with a field of the same type.
KELM_API bool SetField(const FieldStart& start, std::string_view path, const UsedType& type, void* value,
                       void (*exchange)(void* a, void* b), Result<void>* result);
KELM_API bool HasField(const FieldStart& start, std::string_view path);

template <class T>
bool GetFieldInto(T& value, const FieldStart& start, std::string_view path, Result<void>* result)
{
    constexpr bool isView = std::is_same_v<T, std::string_view> || std::is_pointer_v<T>;
    constexpr bool isCopied = !HasPart<T, CannotBeAssigned>;
    static_assert(!isView, "Get gives copies: ask for a std::string");
    static_assert(!std::is_same_v<T, Value>,
                  "Get gives what a field holds: ask for a number, a text or the field's type");
    static_assert(isCopied, "Get gives a copy of the field, and the type cannot be copied: get what is in it");
    if constexpr (!isView && isCopied && !std::is_same_v<T, Value>)
        return GetField(start, path, s_typeOf<T>, &value, evaluation::s_copying<T>, result);
    else
        return false;
}

template <class T>
T GetFieldAs(const FieldStart& start, std::string_view path)
{
    T value{};
    GetFieldInto(value, start, path, nullptr);
    return value;
}
template <class T>
Result<T> TryGetFieldAs(const FieldStart& start, std::string_view path)
{
    T value{};
    Result<void> result;
    if (GetFieldInto(value, start, path, &result))
        return Result<T>(std::move(value));
    return Result<T>(result.GetError());
}

template <class V>
bool SetFieldTo(const FieldStart& start, std::string_view path, const V& value, Result<void>* result)
{
    if constexpr (std::is_same_v<V, Value>)
        return SetField(start, path, value, result);
    else if constexpr (Number<V> || std::is_same_v<V, bool>)
        return SetField(start, path, Scalar(value), result);
    else if constexpr (std::is_same_v<V, std::nullptr_t> || std::is_same_v<V, std::nullopt_t>)
        return SetField(start, path, Scalar(), result);
    else if constexpr (std::is_convertible_v<const V&, std::string_view>)
        return SetField(start, path, Scalar(static_cast<std::string_view>(value)), result);
    else if constexpr (HasPart<V, CannotBeCopied>)
    {
        static_assert(s_isNever<V>, "Set copies the value, and the type cannot be copied: set what is in it");
        return false;
    }
    else
    {
        V copy(value);
        return SetField(
            start, path, s_typeOf<V>, &copy,
            [](void* a, void* b)
            {
                using std::swap;
                swap(*static_cast<V*>(a), *static_cast<V*>(b));
            },
            result);
    }
}

template <class Whole>
FieldStart StartOf(const Whole& whole)
{
    if constexpr (std::is_same_v<Whole, Object> || IsRoot<Whole>)
        return {.m_object = whole.GetHandle()};
    else if constexpr (CheckDescribable<Whole>())
        return {.m_type = &s_typeOf<Whole>, .m_data = const_cast<void*>(static_cast<const void*>(&whole))};
    else
        return {};
}

template <class T, class Whole>
T Get(const Whole& whole, std::string_view path)
{
    return GetFieldAs<T>(StartOf(whole), path);
}

template <class T, class Whole>
Result<T> TryGet(const Whole& whole, std::string_view path)
{
    return TryGetFieldAs<T>(StartOf(whole), path);
}

template <class Whole>
constexpr void CheckSettable()
{
    using W = std::remove_reference_t<Whole>;
    static_assert(std::is_same_v<std::remove_const_t<W>, Object> || IsRoot<std::remove_const_t<W>> ||
                      (std::is_lvalue_reference_v<Whole> && !std::is_const_v<W>),
                  "Set changes a field of a variable, which must neither be constant nor a temporary");
}

template <class Whole, class V>
void Set(Whole&& whole, std::string_view path, const V& value)
{
    CheckSettable<Whole>();
    SetFieldTo(StartOf(std::as_const(whole)), path, value, nullptr);
}

template <class Whole, class V>
Result<void> TrySet(Whole&& whole, std::string_view path, const V& value)
{
    CheckSettable<Whole>();
    Result<void> result;
    SetFieldTo(StartOf(std::as_const(whole)), path, value, &result);
    return result;
}

template <class Whole>
bool Has(const Whole& whole, std::string_view path)
{
    return HasField(StartOf(whole), path);
}

} // namespace kelm
