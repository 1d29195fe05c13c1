#pragma once

// Reading and writing: texts and files that hold a program's own types.
//
//     Order order = kelm::ReadFile<Order>("order.kds");
//     kelm::WriteFile("order.kds", order);
//
// A text holds the class's name and a body, or the body alone, and nothing behind it. What it does not mention keeps
// the value that a new T has; a list or a map that it gives replaces what is there; a member given twice or unknown is
// an error, and so is one that is required and missing, or whose check refuses the value.
//
// A T that holds handles of collected objects is read into a Root<T>, which keeps them alive; an Object is of the class
// that the text names.
//
// Every failure is an Error, thrown, or given by the twins. std::bad_alloc, and what a program's own functions throw,
// pass through.

#include <kelm/Error.h>
#include <kelm/FilePath.h>
#include <kelm/Object.h>
#include <kelm/Result.h>
#include <kelm/UsedType.h>
#include <kelm/api.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

// What becomes of members that a class does not have.
enum class UnknownMembers
{
    Refuse,   // an error, with the nearest name
    PassOver, // they are passed over whole, whatever their value is
};

template <class T>
T Read(std::string_view text, UnknownMembers unknown = UnknownMembers::Refuse);
template <class T>
Result<T> TryRead(std::string_view text, UnknownMembers unknown = UnknownMembers::Refuse);

template <class T>
T ReadFile(const FilePath& path, UnknownMembers unknown = UnknownMembers::Refuse);
template <class T>
Result<T> TryReadFile(const FilePath& path, UnknownMembers unknown = UnknownMembers::Refuse);

// The text that reads back equal, over several lines. A Root<T> and an Object are written as what they hold.
template <class T>
std::string Write(const T& value);

// The whole file or nothing: whoever looks at any moment, after a crash too, finds the old text or the new one.
template <class T>
void WriteFile(const FilePath& path, const T& value);
template <class T>
Result<void> TryWriteFile(const FilePath& path, const T& value);

// --- The inside

// Where something is read from, or written to.
class KELM_API TextPlace
{
public:
    explicit TextPlace(std::string_view text) : m_text(text) {}
    explicit TextPlace(const FilePath& path) : m_path(&path) {}
    TextPlace(const FilePath& path, std::string_view text) : m_text(text), m_path(&path) {} // of the file's text

    // Into a constructed variable.
    void Read(const UsedType& type, void* data, UnknownMembers unknown) const;
    Result<void> TryRead(const UsedType& type, void* data, UnknownMembers unknown) const;
    Result<Object> TryReadObject(UnknownMembers unknown) const;

private:
    std::string_view m_text;
    const FilePath* m_path = nullptr;
};

KELM_API Result<std::string> WriteText(const UsedType& type, const void* data);
KELM_API Result<std::string> WriteText(const Object& object);
KELM_API Result<void> WriteTextFile(const FilePath& path, const Result<std::string>& text);

template <class T>
inline constexpr bool IsRoot = false;
template <class T>
inline constexpr bool IsRoot<Root<T>> = true;

// What must be described for a T to be read and written: nothing of an Object, whose class the text names.
template <class T>
struct DescribedIn
{
    using Type = T;
};
template <class T>
struct DescribedIn<Root<T>>
{
    using Type = T;
};
template <>
struct DescribedIn<Object>
{
    using Type = bool;
};
template <class T>
using DescribedInType = typename DescribedIn<T>::Type;

// Where what is read goes.
template <class T>
void* ContentsOf(T& value)
{
    if constexpr (IsRoot<T>)
        return &*value;
    else
        return &value;
}

// A T, or a Result<T>. Where there is none to be made, a type that is read costs the compiler half.
template <class T, class Returned = T>
Returned ReadFrom(const TextPlace& place, UnknownMembers unknown)
{
    constexpr bool isResult = !std::is_same_v<Returned, T>;
    if constexpr (!CheckDescribable<DescribedInType<T>>())
        throw GetErrorOfNone();
    else if constexpr (std::is_same_v<T, Object>)
    {
        Result<Object> object = place.TryReadObject(unknown);
        if constexpr (isResult)
            return object;
        else
            return *std::move(object);
    }
    else
    {
        if constexpr (!IsRoot<T>)
            static_assert(!HoldsHandles<T>, "a type that holds handles of collected objects (ptr, pref) is read into a "
                                            "kelm::Root<T>, which keeps them alive");
        T value{};
        if constexpr (isResult)
        {
            const Result<void> result = place.TryRead(s_typeOf<DescribedInType<T>>, ContentsOf(value), unknown);
            return result ? Returned(std::move(value)) : Returned(result.GetError());
        }
        else
        {
            place.Read(s_typeOf<DescribedInType<T>>, ContentsOf(value), unknown);
            return value;
        }
    }
}

template <class T>
Result<std::string> WriteValue(const T& value)
{
    if constexpr (!CheckDescribable<DescribedInType<T>>())
        return std::string();
    else if constexpr (std::is_same_v<T, Object>)
        return WriteText(value);
    else if constexpr (IsRoot<T>)
        return WriteText(Object(value.GetHandle()));
    else
        return WriteText(s_typeOf<T>, &value);
}

template <class T>
T Read(std::string_view text, UnknownMembers unknown)
{
    return ReadFrom<T>(TextPlace(text), unknown);
}

template <class T>
Result<T> TryRead(std::string_view text, UnknownMembers unknown)
{
    return ReadFrom<T, Result<T>>(TextPlace(text), unknown);
}

template <class T>
T ReadFile(const FilePath& path, UnknownMembers unknown)
{
    return ReadFrom<T>(TextPlace(path), unknown);
}

template <class T>
Result<T> TryReadFile(const FilePath& path, UnknownMembers unknown)
{
    return ReadFrom<T, Result<T>>(TextPlace(path), unknown);
}

template <class T>
std::string Write(const T& value)
{
    return *WriteValue(value);
}

template <class T>
void WriteFile(const FilePath& path, const T& value)
{
    *WriteTextFile(path, WriteValue(value));
}

template <class T>
Result<void> TryWriteFile(const FilePath& path, const T& value)
{
    return WriteTextFile(path, WriteValue(value));
}

} // namespace kelm
