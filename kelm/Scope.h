#pragma once

// The names that an expression can use: a program's variables, values and functions.
//
//     double vat = 0.19;
//     kelm::Scope scope;
//     scope.Bind("vat", vat);
//     scope.Define("round2", [](double x) { return std::round(x * 100) / 100; });
//     double gross = kelm::Evaluate<double>("round2(9.99 * (1 + vat))", scope);
//
// A name that the scope does not have is looked for in its parent, which must outlive it and stay where it is. A name
// given again replaces the former; the built-in names of the language cannot be hidden. An Error of kind Name where a
// name is none or built in.
//
// Any number of threads may evaluate with one scope while nobody changes it; variables are the program's own concern.
// A scope that another has been moved from has no names.

#include <kelm/Callable.h>
#include <kelm/Value.h>
#include <kelm/api.h>

#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

namespace evaluation
{
struct Record;
}

class KELM_API Scope
{
public:
    explicit Scope(const Scope* parent = nullptr);
    Scope(Scope&& other) noexcept;
    Scope& operator=(Scope&& other) noexcept;
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope();

    // By reference: an expression sees the variable as it is then, and assigns to it where it is not const. A number,
    // bool, std::string, or a described type; it must outlive the scope.
    template <class T>
    Scope& Bind(std::string_view name, T&& variable) &
    {
        using Type = std::remove_cvref_t<T>;
        static_assert(std::is_lvalue_reference_v<T>,
                      "Bind takes a variable, which must outlive the scope; Set takes a value");
        constexpr bool isConst = std::is_const_v<std::remove_reference_t<T>>;
        if constexpr (evaluation::NumberOrBool<Type>)
            return BindScalar(name, &variable, s_scalarCode<Type>, isConst);
        else if constexpr (std::is_same_v<Type, std::string>)
            return BindText(name, &variable, isConst);
        else if constexpr (std::is_lvalue_reference_v<T>)
            return BindPlace(name, &variable, TypeOf<Type>(), isConst);
    }

    // The members of an object, each as a name: expressions see and assign to them as they do to object.member. The
    // object must outlive the scope. It takes the place of the one given before: members that it does not have are
    // errors then. What has no members, a null handle or a number, gives no names.
    template <class T>
    Scope& BindMembers(T&& object) &
    {
        using Type = std::remove_cvref_t<T>;
        if constexpr (std::is_same_v<Type, Value>)
            return BindMembersOf(object);
        else
        {
            static_assert(std::is_lvalue_reference_v<T>, "BindMembers takes a variable, which must outlive the scope");
            Value place;
            ValueAccess::Of(place).SetPlace(&object, TypeOf<Type>(), std::is_const_v<std::remove_reference_t<T>>);
            return BindMembersOf(place);
        }
    }

    // A value of the scope's own.
    Scope& Set(std::string_view name, Value value) &;

    // A function: anything of one signature whose parameters and result are numbers, bools, texts, Values, or described
    // objects by reference; std::span<const Value> as its last parameter takes all further arguments. A const member
    // function becomes one of the objects of its class. What it throws passes through evaluations unchanged.
    template <class F>
    Scope& Define(std::string_view name, F&& function) &
    {
        return DefineCallable(name, evaluation::MakeCallableFrom(std::forward<F>(function)));
    }

    // What is asked for names that nothing binds, anew at each evaluation: std::optional<Value>(std::string_view).
    template <class F>
    Scope& Resolve(F&& resolver) &
    {
        using Type = std::decay_t<F>;
        constexpr bool isResolver = std::is_invocable_r_v<std::optional<Value>, Type&, std::string_view>;
        static_assert(isResolver, "Resolve takes a std::optional<kelm::Value>(std::string_view)");
        if constexpr (isResolver)
            return SetResolver(
                [](void* f, std::string_view name) -> std::optional<Value> { return (*static_cast<Type*>(f))(name); },
                [](void* f) noexcept { delete static_cast<Type*>(f); }, new Type(std::forward<F>(resolver)));
        else
            return *this;
    }

    // Of a temporary, which becomes the scope that is given: kelm::Scope scope = kelm::Scope().Bind("x", x);
    template <class T>
    Scope Bind(std::string_view name, T&& variable) &&
    {
        return std::move(Bind(name, std::forward<T>(variable)));
    }
    template <class T>
    Scope BindMembers(T&& object) &&
    {
        return std::move(BindMembers(std::forward<T>(object)));
    }
    Scope Set(std::string_view name, Value value) && { return std::move(Set(name, std::move(value))); }
    template <class F>
    Scope Define(std::string_view name, F&& function) &&
    {
        return std::move(Define(name, std::forward<F>(function)));
    }
    template <class F>
    Scope Resolve(F&& resolver) &&
    {
        return std::move(Resolve(std::forward<F>(resolver)));
    }

private:
    friend struct ScopeAccess;
    struct Names;
    using Resolver = std::optional<Value> (*)(void* function, std::string_view name);

    evaluation::Record& NewRecord(std::string_view name);
    Scope& BindScalar(std::string_view name, const void* variable, ETypeByteCode type, bool isConst);
    Scope& BindText(std::string_view name, const std::string* variable, bool isConst);
    Scope& BindPlace(std::string_view name, const void* variable, const ReflectionByteCode& type, bool isConst);
    Scope& BindMembersOf(const Value& object);
    Scope& DefineCallable(std::string_view name, evaluation::Callable callable);
    Scope& SetResolver(Resolver resolver, void (*destroy)(void*) noexcept, void* function);

    std::unique_ptr<Names> m_names;
};

} // namespace kelm
