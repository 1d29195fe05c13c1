#pragma once

// A program's function, called with values: whatever has one signature, whose parameters and result convert.

#include <kelm/Convert.h>
#include <kelm/Value.h>
#include <klObject/describe/ForeignForm.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm::evaluation
{

// One call: what goes in, and what comes out.
struct CallFrame
{
    const Slot* m_arguments;
    std::size_t m_count;
    Slot* m_result; // holds nothing before
    Failure* m_failure;
    int32 m_failed; // the argument that does not convert; -1 where what is given does not
};

// The record of a function. False from m_call where an argument, or what is given, does not convert.
struct Callable
{
    bool (*m_call)(void* function, CallFrame& frame) = nullptr;
    // Of a function of nothing but float64s that gives one, the same where all arguments are floats.
    float64 (*m_ofFloats)(void* function, const Slot* arguments) = nullptr;
    void (*m_address)() = nullptr; // of such a function of one or two, where it is no more than that
    void (*m_destroy)(void* function) noexcept = nullptr;
    void* m_function = nullptr;
    int32 m_min = 0;            // so many arguments,
    int32 m_max = 0;            // and at most so many; -1 for any number
    bool m_takesValues = false; // some of them as they are
    bool m_isMember = false;    // the first argument is the object
    Kind m_result = Kind::None; // where it is always a number or bool, which
    ReflectionByteCode m_class; // whose type this is
};

// --- Arguments -------------------------------------------------------------------------------------------------------

template <class P>
inline constexpr bool s_isSpan = std::is_same_v<std::remove_cvref_t<P>, std::span<const Value>>;

// What is converted lies here during the call; nothing of a type that does not.
template <class P>
struct CallArgument
{
    static constexpr bool s_isNone = true;
};

// No concept, of which compilers tell why it does not hold.
template <class P>
inline constexpr bool s_isParameter = !requires
{
    CallArgument<P>::s_isNone;
};

template <class P>
requires NumberOrBool<std::remove_cvref_t<P>> &&
    (!std::is_lvalue_reference_v<P> || std::is_const_v<std::remove_reference_t<P>>)struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure& failure) { return Convert(slot, m_value, failure); }
    std::remove_cvref_t<P>& Get() { return m_value; }
    std::remove_cvref_t<P> m_value;
};

template <class P>
requires std::same_as<std::remove_cvref_t<P>, std::string_view>
struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure& failure) { return ToText(slot, m_value, m_room, failure); }
    std::string_view& Get() { return m_value; }
    std::string_view m_value;
    std::string m_room;
};

template <class P>
requires std::same_as<std::remove_cvref_t<P>, std::string> &&
    (!std::is_lvalue_reference_v<P> || std::is_const_v<std::remove_reference_t<P>>)struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure& failure) { return Convert(slot, m_value, failure); }
    std::string&& Get() { return std::move(m_value); }
    std::string m_value;
};

template <class P>
requires std::same_as<std::remove_cvref_t<P>, Value>
struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure&)
    {
        m_value = &ValueAccess::AsValue(slot);
        return true;
    }
    const Value& Get() { return *m_value; }
    const Value* m_value;
};

// An optional that a function does not write: takes what it may hold, and null.
template <class P>
concept OptionalParameter = ForeignOptional<std::remove_cvref_t<P>> &&
    (!std::is_lvalue_reference_v<P> || std::is_const_v<std::remove_reference_t<P>>);

template <OptionalParameter P>
struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure& failure)
    {
        if (IsNull(slot))
            return true;
        return Convert(slot, m_value.emplace(), failure);
    }
    std::remove_cvref_t<P>&& Get() { return std::move(m_value); }
    std::remove_cvref_t<P> m_value;
};

// An enumeration, a duration, a path, or a text of ours that a function does not write: takes a text that says it, too.
template <class P>
concept TextParameter = (std::is_enum_v<std::remove_cvref_t<P>> || ForeignDuration<std::remove_cvref_t<P>> ||
                         ForeignPath<std::remove_cvref_t<P>> ||
                         std::same_as<std::remove_cvref_t<P>, xstring>)&&(!std::is_lvalue_reference_v<P> ||
                                                                          std::is_const_v<std::remove_reference_t<P>>);

template <TextParameter P>
requires s_isDescribable<std::remove_cvref_t<P>>
struct CallArgument<P>
{
    bool Read(const Slot& slot, Failure& failure) { return Convert(slot, m_value, failure); }
    std::remove_cvref_t<P>&& Get() { return std::move(m_value); }
    std::remove_cvref_t<P> m_value{};
};

template <class P>
requires(Object<std::remove_cvref_t<P>> && !s_isSpan<P> && !OptionalParameter<P> && !TextParameter<P> &&
         s_isDescribable<std::remove_cvref_t<P>>) struct CallArgument<P>
{
    using Type = std::remove_cvref_t<P>;
    static constexpr bool s_isWritten = std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>;
    bool Read(const Slot& slot, Failure& failure)
    {
        return ToObject(slot, TypeOf<Type>(), s_isWritten, m_object, failure);
    }
    auto& Get()
    {
        if constexpr (s_isWritten)
            return *static_cast<Type*>(m_object);
        else
            return *static_cast<const Type*>(m_object);
    }
    void* m_object;
};

// All that are left.
template <class P>
requires s_isSpan<P>
struct CallArgument<P>
{
    bool Read(const Slot&, Failure&) { return true; }
};

template <class P>
bool ReadArgument(CallArgument<P>& argument, CallFrame& frame, int32 i)
{
    if constexpr (s_isSpan<P>)
        return true;
    else
    {
        if (argument.Read(frame.m_arguments[i], *frame.m_failure)) [[likely]]
            return true;
        frame.m_failed = i;
        return false;
    }
}

template <class P>
decltype(auto) GetArgument(CallArgument<P>& argument, const CallFrame& frame, std::size_t i)
{
    if constexpr (s_isSpan<P>)
        return std::span<const Value>(&ValueAccess::AsValue(*(frame.m_arguments + i)), frame.m_count - i);
    else
        return argument.Get();
}

// --- Results ---------------------------------------------------------------------------------------------------------

// An object, which is copied where it is no variable.
template <class R>
constexpr bool CanBeResult()
{
    return std::is_lvalue_reference_v<R> || std::is_constructible_v<Value, R>;
}

template <class R>
inline constexpr bool s_isResult = std::is_void_v<R> || NumberOrBool<std::remove_cvref_t<R>> ||
                                   (Object<std::remove_cvref_t<R>>
                                        ? s_isDescribable<std::remove_cvref_t<R>> && CanBeResult<R>()
                                        : std::is_constructible_v<Value, R>);

// False where it is beyond the integers of expressions.
template <class R>
bool StoreResult(Slot& slot, R&& result, Failure& failure)
{
    using Type = std::remove_cvref_t<R>;
    if constexpr (std::same_as<Type, bool> ||
                  (Integer<Type> && !IsCharacter<Type> && !(std::is_unsigned_v<Type> && sizeof(Type) == 8)))
        slot.Set(static_cast<std::conditional_t<std::same_as<Type, bool>, bool, int64>>(result));
    else if constexpr (Integer<Type> && !IsCharacter<Type>)
        return FromUnsigned(result, slot, failure);
    else if constexpr (Floating<Type>)
        slot.Set(static_cast<float64>(result));
    else if constexpr (Object<Type> && std::is_lvalue_reference_v<R>)
        slot.SetPlace(&result, TypeOf<Type>(), std::is_const_v<std::remove_reference_t<R>>);
    else
    {
        Value value(std::forward<R>(result));
        std::swap(slot, ValueAccess::Of(value));
        slot.m_isResult = Object<Type>;
    }
    return true;
}

// The kind of value that a result always is; None where that is not known, or no scalar.
template <class R>
constexpr Kind KindOfResult()
{
    using Type = std::remove_cvref_t<R>;
    if constexpr (std::same_as<Type, bool>)
        return Kind::Bool;
    else if constexpr (Integer<Type> && !IsCharacter<Type>)
        return Kind::Integer;
    else if constexpr (Floating<Type>)
        return Kind::Float;
    else
        return Kind::None;
}

// --- Signatures ------------------------------------------------------------------------------------------------------

template <class... Ps>
struct Parameters
{
    static constexpr bool s_isVariadic = (s_isSpan<Ps> || ...);
    static constexpr bool s_hasValues = s_isVariadic || (std::same_as<std::remove_cvref_t<Ps>, Value> || ...);
    static constexpr int32 s_count = static_cast<int32>(sizeof...(Ps)) - (s_isVariadic ? 1 : 0);
};

template <class F, class R, class... Ps>
struct Caller
{
    static bool Call(void* function, CallFrame& frame)
    {
        return CallWith(*static_cast<F*>(function), frame, std::index_sequence_for<Ps...>(), CallArgument<Ps>()...);
    }

    static float64 CallOfFloats(void* function, const Slot* arguments)
    {
        return CallWithFloats(*static_cast<F*>(function), arguments, std::index_sequence_for<Ps...>());
    }

private:
    template <std::size_t... Is>
    static float64 CallWithFloats(F& function, const Slot* arguments, std::index_sequence<Is...>)
    {
        return function(arguments[Is].m_float...);
    }
    template <std::size_t... Is>
    static bool CallWith(F& function, CallFrame& frame, std::index_sequence<Is...>, CallArgument<Ps>... arguments)
    {
        if (!(ReadArgument<Ps>(arguments, frame, static_cast<int32>(Is)) && ...))
            return false;
        if constexpr (std::is_void_v<R>)
            function(GetArgument<Ps>(arguments, frame, Is)...);
        else
            return StoreResult<R>(*frame.m_result, function(GetArgument<Ps>(arguments, frame, Is)...),
                                  *frame.m_failure);
        return true;
    }
};

template <class F, class R, class... Ps>
Callable MakeCallable(F function)
{
    using List = Parameters<Ps...>;
    Callable callable;
    constexpr bool areParameters = (s_isParameter<Ps> && ...);
    static_assert(areParameters,
                  "a parameter of a function in a Scope is a number, bool, std::string, std::string_view, kelm::Value, "
                  "std::optional of one, std::span<const kelm::Value> at the end, or a described type");
    static_assert(s_isResult<R>, "the result of a function in a Scope is nothing, a number, bool, text, kelm::Value or "
                                 "described type");
    if constexpr (areParameters && s_isResult<R>)
        callable.m_call = Caller<F, R, Ps...>::Call;
    if constexpr (sizeof...(Ps) > 0 && (std::same_as<Ps, float64> && ...) && std::same_as<R, float64>)
    {
        callable.m_ofFloats = Caller<F, R, Ps...>::CallOfFloats;
        using Address = R (*)(Ps...);
        if constexpr (sizeof...(Ps) <= 2 && std::is_convertible_v<F, Address>)
            callable.m_address = reinterpret_cast<void (*)()>(static_cast<Address>(function));
    }
    callable.m_destroy = [](void* f) noexcept { delete static_cast<F*>(f); };
    callable.m_min = List::s_count;
    callable.m_max = List::s_isVariadic ? -1 : List::s_count;
    callable.m_takesValues = List::s_hasValues;
    callable.m_result = KindOfResult<R>();
    callable.m_function = new F(std::move(function));
    return callable;
}

// A member function is a function of the object.
template <class Pointer, class C>
struct MemberCall
{
    Pointer m_pointer;
    template <class... Ps>
    decltype(auto) operator()(C& object, Ps&&... arguments) const
    {
        return (object.*m_pointer)(std::forward<Ps>(arguments)...);
    }
};

template <class Pointer, class C, class R, class... Ps>
Callable MakeMemberCallable(Pointer pointer)
{
    Callable callable = MakeCallable<MemberCall<Pointer, C>, R, C&, Ps...>(MemberCall<Pointer, C>{pointer});
    callable.m_isMember = true;
    callable.m_class = TypeOf<std::remove_const_t<C>>();
    return callable;
}

// The signature of what is called.
template <class F, class M>
struct OfCallOperator;
template <class F, class C, class R, class... Ps>
struct OfCallOperator<F, R (C::*)(Ps...)>
{
    static Callable Make(F f) { return MakeCallable<F, R, Ps...>(std::move(f)); }
};
template <class F, class C, class R, class... Ps>
struct OfCallOperator<F, R (C::*)(Ps...) const> : OfCallOperator<F, R (C::*)(Ps...)>
{
};
template <class F, class C, class R, class... Ps>
struct OfCallOperator<F, R (C::*)(Ps...) noexcept> : OfCallOperator<F, R (C::*)(Ps...)>
{
};
template <class F, class C, class R, class... Ps>
struct OfCallOperator<F, R (C::*)(Ps...) const noexcept> : OfCallOperator<F, R (C::*)(Ps...)>
{
};

template <class R, class... Ps>
Callable MakeCallableOf(R (*function)(Ps...))
{
    return MakeCallable<R (*)(Ps...), R, Ps...>(function);
}
template <class R, class... Ps>
Callable MakeCallableOf(R (*function)(Ps...) noexcept)
{
    return MakeCallable<R (*)(Ps...), R, Ps...>(function);
}
template <class C, class R, class... Ps>
Callable MakeCallableOf(R (C::*function)(Ps...) const)
{
    return MakeMemberCallable<R (C::*)(Ps...) const, const C, R, Ps...>(function);
}
template <class C, class R, class... Ps>
Callable MakeCallableOf(R (C::*function)(Ps...) const noexcept)
{
    return MakeMemberCallable<R (C::*)(Ps...) const, const C, R, Ps...>(function);
}
template <class C, class R, class... Ps>
Callable MakeCallableOf(R (C::*)(Ps...))
{
    static_assert(s_never<C>, "a member function in a Scope is const");
    return {};
}

template <class F>
concept HasCallOperator = requires
{
    &F::operator();
};

template <class F>
Callable MakeCallableFrom(F&& function)
{
    using Type = std::decay_t<F>;
    if constexpr (HasCallOperator<Type>)
        return OfCallOperator<Type, decltype(&Type::operator())>::Make(std::forward<F>(function));
    else if constexpr (requires { MakeCallableOf(std::forward<F>(function)); })
        return MakeCallableOf(std::forward<F>(function));
    else
    {
        static_assert(s_never<F>, "Define takes a function of one signature: a function, a lambda that is not generic, "
                                  "or a const member function");
        return {};
    }
}

} // namespace kelm::evaluation
