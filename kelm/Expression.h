#pragma once

// Evaluating expressions, once (Evaluate) or often (Expression). The language is told in docs/language.md.
//
//     double area = kelm::Evaluate<double>("w * h / 2", scope);
//
//     kelm::Expression price("order.lines[i].price * rate", scope, {"i"});
//     for (std::size_t i = 0; i < order.lines.size(); ++i)
//         sum += price.Evaluate<double>(i);
//
// What can be found wrong with a text, its names and its numbers of arguments is found before anything is evaluated.
// Errors are kelm::Errors; what a program's functions throw passes through. The Try twins return a Result instead.

#include <kelm/Language.h>
#include <kelm/Result.h>
#include <kelm/Scope.h>
#include <kelm/Value.h>
#include <kelm/api.h>

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace kelm
{

namespace evaluation
{

// Takes the result of an evaluation, where it may be of no use any longer when it returns.
struct Receiver
{
    bool (*m_receive)(Slot& result, void* out, Failure& failure);
    void* m_out;
};

// An integer, or a bool as one; not there where the receiver has got the result instead.
struct IntegerResult
{
    int64 m_value;
    bool m_isThere;
};

KELM_API bool TakeValue(Slot& result, Value& out, Failure& failure);

template <class T>
bool Receive(Slot& result, void* out, Failure& failure)
{
    constexpr bool isResult = NumberOrBool<T> || std::is_same_v<T, std::string> || Object<T>;
    if constexpr (std::is_same_v<T, Value>)
        return TakeValue(result, *static_cast<Value*>(out), failure);
    else if constexpr (Object<T>)
        return CheckDescribable<T>() && Convert(result, *static_cast<T*>(out), failure);
    else if constexpr (isResult)
        return Convert(result, *static_cast<T*>(out), failure);
    else
    {
        static_assert(isResult, "Evaluate gives a number, bool, std::string, kelm::Value or described type: no view or "
                                "pointer of what may be gone");
        return false;
    }
}

// False, with the error, where there is one.
KELM_API bool EvaluateText(std::string_view text, const Scope* scope, Language language, const Receiver& receiver,
                           std::optional<Error>& error);

// A program's value as an argument: not copied.
template <class T>
Slot ArgumentOf(T&& x)
{
    using Type = std::remove_cvref_t<T>;
    Slot slot;
    if constexpr (std::is_same_v<Type, Value>)
        slot = ValueAccess::Of(x);
    else if constexpr (std::is_same_v<Type, bool>)
        slot.Set(x);
    else if constexpr (Floating<Type>)
        slot.Set(static_cast<float64>(x));
    else if constexpr (Integer<Type>)
    {
        // A character is a text, and what is no int64 an error where it is used.
        if (!IsCharacter<Type> && (std::is_signed_v<Type> || static_cast<int64>(x) >= 0))
            slot.Set(static_cast<int64>(x));
        else
            slot.SetPlace(&x, {&s_codeOf<Type>, nullptr}, true);
    }
    else if constexpr (std::is_convertible_v<T, std::string_view>)
        slot.SetText(x, nullptr);
    else
        slot.SetPlace(&x, TypeOf<Type>(),
                      !std::is_lvalue_reference_v<T> || std::is_const_v<std::remove_reference_t<T>>);
    return slot;
}

// What is asked of it may be a part of an object, and of a temporary one is to keep that: it becomes a Value as well.
template <class T, class Argument>
inline constexpr bool s_isKept =
    std::is_same_v<T, Value> && !std::is_reference_v<Argument> && Object<std::remove_const_t<Argument>>;

template <class T, class Argument>
Argument&& KeepFor(Argument&& x)
{
    return std::forward<Argument>(x);
}
template <class T, class Argument>
requires s_isKept<T, Argument> Value KeepFor(Argument&& x)
{
    Value value(std::forward<Argument>(x));
    ValueAccess::Of(value).m_isConst = true; // as every temporary
    return value;
}

template <class T>
inline constexpr bool s_isScope = std::is_same_v<std::remove_cvref_t<T>, Scope>;

} // namespace evaluation

// --- Once ------------------------------------------------------------------------------------------------------------

template <class T>
Result<T> TryEvaluate(std::string_view text, const Scope& scope, Language language = Language::Natural)
{
    T result{};
    std::optional<Error> error;
    if (!evaluation::EvaluateText(text, &scope, language, {evaluation::Receive<T>, &result}, error))
        return *std::move(error);
    return result;
}
template <class T>
Result<T> TryEvaluate(std::string_view text, Language language = Language::Natural)
{
    T result{};
    std::optional<Error> error;
    if (!evaluation::EvaluateText(text, nullptr, language, {evaluation::Receive<T>, &result}, error))
        return *std::move(error);
    return result;
}

template <class T>
T Evaluate(std::string_view text, const Scope& scope, Language language = Language::Natural)
{
    T result{};
    std::optional<Error> error;
    if (!evaluation::EvaluateText(text, &scope, language, {evaluation::Receive<T>, &result}, error)) [[unlikely]]
        throw *std::move(error);
    return result;
}
template <class T>
T Evaluate(std::string_view text, Language language = Language::Natural)
{
    T result{};
    std::optional<Error> error;
    if (!evaluation::EvaluateText(text, nullptr, language, {evaluation::Receive<T>, &result}, error)) [[unlikely]]
        throw *std::move(error);
    return result;
}

inline Result<Value> TryEvaluate(std::string_view text, const Scope& scope, Language language = Language::Natural)
{
    return TryEvaluate<Value>(text, scope, language);
}
inline Result<Value> TryEvaluate(std::string_view text, Language language = Language::Natural)
{
    return TryEvaluate<Value>(text, language);
}
inline Value Evaluate(std::string_view text, const Scope& scope, Language language = Language::Natural)
{
    return Evaluate<Value>(text, scope, language);
}
inline Value Evaluate(std::string_view text, Language language = Language::Natural)
{
    return Evaluate<Value>(text, language);
}

// --- Often -----------------------------------------------------------------------------------------------------------

// An expression that is kept. It owns its text; its scope must outlive it. Names are looked up when it is made, but for
// those that only a resolver knows. Several threads may evaluate one where their scopes and variables allow it. One
// that another has been moved from has no names, and an Error of kind Call instead of a value.
class KELM_API Expression
{
public:
    // Only tells of the names that the text uses (GetNames); to be evaluated with a scope.
    explicit Expression(std::string_view text, Language language = Language::Natural);

    // The parameters are names whose values each evaluation gives.
    Expression(std::string_view text, const Scope& scope, std::initializer_list<std::string_view> parameters = {},
               Language language = Language::Natural);
    Expression(std::string_view text, const Scope& scope, std::span<const std::string_view> parameters,
               Language language = Language::Natural);
    template <std::same_as<Scope> S>
    Expression(std::string_view text, S&&, std::span<const std::string_view> = {}, Language = Language::Natural)
        : Expression(text)
    {
        static_assert(evaluation::s_never<S>, "an Expression keeps its scope, which must outlive it: a variable");
    }
    template <std::same_as<Scope> S>
    Expression(std::string_view text, S&&, std::initializer_list<std::string_view>, Language = Language::Natural)
        : Expression(text)
    {
        static_assert(evaluation::s_never<S>, "an Expression keeps its scope, which must outlive it: a variable");
    }
    Expression(Expression&&) noexcept;
    Expression& operator=(Expression&&) noexcept;
    ~Expression();

    // With its own scope, and an argument for each parameter: evaluate<double>(1, order).
    template <class T = Value, class... Args>
    requires(!evaluation::s_isScope<Args> && ...) T Evaluate(Args&&... arguments)
    const { return EvaluateWith<T>(nullptr, std::forward<Args>(arguments)...); }
    // With another scope, which has the same names.
    template <class T = Value, class... Args>
    T Evaluate(const Scope& scope, Args&&... arguments) const
    {
        return EvaluateWith<T>(&scope, std::forward<Args>(arguments)...);
    }
    template <class T = Value, class... Args>
    requires(!evaluation::s_isScope<Args> && ...) Result<T> TryEvaluate(Args&&... arguments)
    const { return TryEvaluateWith<T>(nullptr, std::forward<Args>(arguments)...); }
    template <class T = Value, class... Args>
    Result<T> TryEvaluate(const Scope& scope, Args&&... arguments) const
    {
        return TryEvaluateWith<T>(&scope, std::forward<Args>(arguments)...);
    }

    // The names that the text uses, each once, in the order of the text: neither parameters nor built-in names, nor
    // functions that come with the library and are not hidden.
    const std::vector<std::string>& GetNames() const&;
    std::vector<std::string> GetNames() const&& { return GetNames(); }

private:
    struct Kept;

    template <class T, class... Args>
    T EvaluateWith(const Scope* scope, Args&&... arguments) const
    {
        constexpr bool isInteger = std::is_same_v<T, bool> || (Number<T> && evaluation::Integer<T>);
        T result{};
        const evaluation::Receiver receiver{evaluation::Receive<T>, &result};
        if constexpr (sizeof...(Args) == 0)
            if (scope == nullptr)
            {
                if constexpr (std::is_same_v<T, double>)
                    return ExecuteFloat();
                if constexpr (isInteger)
                {
                    Take(result, ExecuteInteger(std::is_same_v<T, bool>, receiver), receiver);
                    return result;
                }
            }
        WithArguments<T>(
            [&](const evaluation::Slot* slots, std::size_t count)
            {
                if constexpr (std::is_same_v<T, double>)
                    result = ExecuteFloat(scope, slots, count);
                else if constexpr (isInteger)
                    Take(result, ExecuteInteger(std::is_same_v<T, bool>, scope, slots, count, receiver), receiver);
                else
                    Execute(scope, slots, count, receiver);
            },
            std::forward<Args>(arguments)...);
        return result;
    }
    template <class T>
    void Take(T& result, const evaluation::IntegerResult& x, const evaluation::Receiver& receiver) const
    {
        if (!x.m_isThere) [[unlikely]]
            return;
        if constexpr (std::is_same_v<T, bool>)
            result = x.m_value != 0;
        else if (std::in_range<T>(x.m_value)) [[likely]]
            result = static_cast<T>(x.m_value);
        else
            Refuse(x.m_value, receiver);
    }
    template <class T, class... Args>
    Result<T> TryEvaluateWith(const Scope* scope, Args&&... arguments) const
    {
        T result{};
        std::optional<Error> error;
        const auto evaluate = [&](const evaluation::Slot* slots, std::size_t count) {
            TryExecute(scope, slots, count, {evaluation::Receive<T>, &result}, error);
        };
        WithArguments<T>(evaluate, std::forward<Args>(arguments)...);
        if (error)
            return *std::move(error);
        return result;
    }
    // For a result of type T.
    template <class T, class F, class... Args>
    static void WithArguments(const F& evaluate, Args&&... arguments)
    {
        if constexpr (sizeof...(Args) == 0)
            evaluate(nullptr, 0);
        else if constexpr ((evaluation::s_isKept<T, Args> || ...))
            WithArguments<void>(evaluate, evaluation::KeepFor<T>(std::forward<Args>(arguments))...);
        else
        {
            const evaluation::Slot slots[] = {evaluation::ArgumentOf(std::forward<Args>(arguments))...};
            evaluate(slots, sizeof...(Args));
        }
    }
    // These throw the error where there is one.
    float64 ExecuteFloat() const;
    float64 ExecuteFloat(const Scope* scope, const evaluation::Slot* arguments, std::size_t numArguments) const;
    float64 ExecuteAsFloat(const Scope* scope, const evaluation::Slot* arguments, std::size_t numArguments) const;
    evaluation::IntegerResult ExecuteInteger(bool isBool, const evaluation::Receiver& receiver) const;
    evaluation::IntegerResult ExecuteInteger(bool isBool, const Scope* scope, const evaluation::Slot* arguments,
                                             std::size_t numArguments, const evaluation::Receiver& receiver) const;
    [[noreturn]] void Refuse(int64 x, const evaluation::Receiver& receiver) const;
    void Execute(const Scope* scope, const evaluation::Slot* arguments, std::size_t numArguments,
                 const evaluation::Receiver& receiver) const;
    void TryExecute(const Scope* scope, const evaluation::Slot* arguments, std::size_t numArguments,
                    const evaluation::Receiver& receiver, std::optional<Error>& error) const;

    std::unique_ptr<Kept> m_kept;
};

} // namespace kelm
