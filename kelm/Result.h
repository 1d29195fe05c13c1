#pragma once

// A value, or the error that kept it from being: what the twins of the functions that throw return.
//
//     if (kelm::Result<Order> order = kelm::TryReadFile<Order>("order.kds"))
//         Ship(*order);
//     else
//         Log(order.GetError().what());

#include <kelm/Error.h>

#include <optional>
#include <utility>
#include <variant>

namespace kelm
{

// What GetError gives where there is none: an error of kind Internal that says so.
KELM_API const Error& GetErrorOfNone();

template <class T>
class [[nodiscard]] Result
{
public:
    Result(T value) : m_outcome(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : m_outcome(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const noexcept { return m_outcome.index() == 0; }

    // Throw the error where there is no value. The * of a temporary gives the value itself:
    // `(*TryRead<Order>(text)).lines` may be gone through in a loop. What its -> leads to is valid until the end of the
    // expression.
    T& operator*() & { return Value(*this); }
    const T& operator*() const& { return Value(*this); }
    T operator*() && { return std::move(Value(*this)); }
    T* operator->() { return &Value(*this); }
    const T* operator->() const { return &Value(*this); }

    const Error& GetError() const& noexcept
    {
        const Error* const error = std::get_if<1>(&m_outcome);
        return error != nullptr ? *error : GetErrorOfNone();
    }
    Error GetError() const&& noexcept { return GetError(); }

private:
    template <class Self>
    static auto& Value(Self& self)
    {
        if (auto* const value = std::get_if<0>(&self.m_outcome)) [[likely]]
            return *value;
        throw *std::get_if<1>(&self.m_outcome);
    }

    std::variant<T, Error> m_outcome;
};

template <>
class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Error error) : m_error(std::move(error)) {}

    explicit operator bool() const noexcept { return !m_error; }

    // Throws the error where there is one.
    void operator*() const
    {
        if (m_error) [[unlikely]]
            throw Error(*m_error);
    }

    const Error& GetError() const& noexcept { return m_error ? *m_error : GetErrorOfNone(); }
    Error GetError() const&& noexcept { return GetError(); }

private:
    std::optional<Error> m_error;
};

} // namespace kelm
