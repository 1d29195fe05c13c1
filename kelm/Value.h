#pragma once

// What an expression gives: nothing, a bool, an integer, a float, a text, or an object.
//
//     kelm::Value v = kelm::Evaluate("order.lines[0]", scope);
//     if (v.GetKind() == kelm::Value::Kind::Object)
//         Print(v.As<const Line&>());
//
// Copying a value is cheap and keeps what it holds: a text, or an object that a function returned. An object that a
// program has bound stays the program's; a value that stands for it, or for a part of it, is valid as long as that is.
// Distinct values may be used on distinct threads.

#include <kelm/Convert.h>
#include <kelm/Slot.h>
#include <kelm/api.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace kelm
{

class KELM_API Value
{
public:
    enum class Kind : uint8
    {
        None,
        Bool,
        Integer,
        Float,
        Text,
        Object,
    };

    Value() noexcept { m_slot.SetNone(); }
    template <evaluation::NumberOrBool T>
    Value(T x)
    {
        if constexpr (std::is_same_v<T, bool>)
            m_slot.Set(x);
        else if constexpr (IsCharacter<T>)
            SetCharacter(evaluation::s_codeOf<T>, &x);
        else if constexpr (std::is_floating_point_v<T>)
            m_slot.Set(static_cast<float64>(x));
        else if constexpr (std::is_unsigned_v<T> && sizeof(T) == sizeof(uint64))
            SetUnsigned(x);
        else
            m_slot.Set(static_cast<int64>(x));
    }
    Value(std::string_view text) { evaluation::SetOwnText(m_slot, text); }
    Value(const std::string& text) : Value(std::string_view(text)) {}
    Value(const char* text) : Value(std::string_view(text)) {}

    // A copy of a described object.
    template <class T>
    requires evaluation::Object<std::remove_cvref_t<T>>
    explicit Value(T&& object)
    {
        using Type = std::remove_cvref_t<T>;
        constexpr bool isMade = std::is_same_v<T, Type> || !HasPart<Type, CannotBeCopied>;
        static_assert(isMade,
                      "a Value copies the object, and the type cannot be copied: move it, or Bind it in a Scope");
        if constexpr (isMade)
        {
            struct ObjectHolder : evaluation::Holder
            {
                explicit ObjectHolder(T&& x) : m_object(std::forward<T>(x))
                {
                    m_destroy = [](evaluation::Holder* holder) noexcept { delete static_cast<ObjectHolder*>(holder); };
                }
                Type m_object;
            };
            auto* const holder = new ObjectHolder(std::forward<T>(object));
            m_slot.SetPlace(&holder->m_object, TypeOf<Type>(), false, holder);
        }
    }

    Value(const Value& other) : m_slot(other.m_slot) { Keep(); }
    Value(Value&& other) noexcept : m_slot(std::exchange(other.m_slot, None())) {}
    Value& operator=(Value other) noexcept
    {
        std::swap(m_slot, other.m_slot);
        return *this;
    }
    ~Value() { m_slot.Release(); }

    // None of an empty optional, too.
    Kind GetKind() const;

    // The value as a T: a number, bool, text, Value or described type (T, or const T& and T& for the object itself).
    // Throws an Error of kind Type or Range (Convert.h). A std::string_view is valid as long as the value; a reference
    // as long as the program's object for which the value stands, else as long as the value.
    template <class T>
    T As() const&
    {
        evaluation::Failure failure;
        if constexpr (std::is_reference_v<T>)
        {
            using Type = std::remove_cvref_t<T>;
            static_assert(evaluation::Object<Type>, "only objects are had by reference");
            void* object = nullptr;
            if (!evaluation::ToObject(m_slot, TypeOf<Type>(), !std::is_const_v<std::remove_reference_t<T>>, object,
                                      failure))
                evaluation::ThrowWithoutPlace(failure);
            return *static_cast<Type*>(object);
        }
        else if constexpr (std::is_same_v<T, Value>)
            return *this;
        else if constexpr (std::is_same_v<T, std::string_view>)
            return GetText();
        else
        {
            T x{};
            if (!evaluation::Convert(m_slot, x, failure))
                evaluation::ThrowWithoutPlace(failure);
            return x;
        }
    }

    // Of a temporary, only what outlives it: no std::string_view, and of objects by reference the program's own. An
    // object that the value alone keeps is refused, with an Error of kind Type.
    template <class T>
    T As() const&&
    {
        constexpr bool isView = std::is_same_v<T, std::string_view>;
        static_assert(!isView, "As gives a std::string_view of a Value that is kept: of a variable");
        if constexpr (std::is_reference_v<T>)
            CheckItLasts();
        if constexpr (!isView)
            return As<T>();
    }

    // Of an object, the members that expressions can name; of anything else, and where there is no object, none.
    std::vector<std::string> GetMemberNames() const;

    // As text, for people: true, 12, 1.5, a text as its characters; an object as its data source text.
    std::string ToText() const;
    KELM_API friend std::ostream& operator<<(std::ostream& os, const Value& value);

private:
    friend struct ValueAccess;

    static evaluation::Slot None() noexcept
    {
        evaluation::Slot slot;
        slot.SetNone();
        return slot;
    }
    void SetUnsigned(uint64 x);
    void SetCharacter(const uint8& code, const void* character);
    void CheckItLasts() const
    {
        if (m_slot.m_kind != evaluation::Kind::Place || m_slot.m_holder == nullptr)
            return;
        evaluation::Failure failure;
        evaluation::Fail(failure, ErrorKind::Type,
                         "The object ends with the temporary Value: a reference to it needs the Value in a variable");
        evaluation::ThrowWithoutPlace(failure);
    }
    std::string_view GetText() const;
    void Keep();

    evaluation::Slot m_slot;
};

// For what evaluates: a value's inside.
struct ValueAccess
{
    static evaluation::Slot& Of(Value& value) { return value.m_slot; }
    static const evaluation::Slot& Of(const Value& value) { return value.m_slot; }
    static const Value& AsValue(const evaluation::Slot& slot) { return reinterpret_cast<const Value&>(slot); }
};
static_assert(sizeof(Value) == sizeof(evaluation::Slot));

} // namespace kelm
