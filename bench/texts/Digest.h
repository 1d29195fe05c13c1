#pragma once

// A number for what an object holds, the same whoever's types it is made of: how results are compared with each other
// across libraries that share no types.

#include <bit>
#include <concepts>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace kelm::bench
{

class Digest
{
public:
    template <class T>
    void Add(const T& value)
    {
        if constexpr (std::is_same_v<T, double>)
            Mix(std::bit_cast<std::uint64_t>(value));
        else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>)
            Mix(static_cast<std::uint64_t>(value));
        else if constexpr (requires { value.view(); })
            AddText(value.view());
        else if constexpr (std::is_convertible_v<const T&, std::string_view>)
            AddText(value);
        else if constexpr (requires { value.begin()->m_key; })
            AddEach(value,
                    [this](const auto& entry)
                    {
                        Add(entry.m_key);
                        Add(entry.m_value);
                    });
        else if constexpr (requires { value.begin()->first; })
            AddEach(value,
                    [this](const auto& entry)
                    {
                        Add(entry.first);
                        Add(entry.second);
                    });
        else if constexpr (requires { value.begin(); })
            AddEach(value, [this](const auto& element) { Add(element); });
        else
            ForEachMember(value, [this](const char*, const auto& member) { Add(member); });
    }

    std::uint64_t Get() const { return m_state; }

private:
    void Mix(std::uint64_t word) { m_state = (std::rotl(m_state, 23) ^ word) * 0x9E3779B97F4A7C15u; }

    void AddText(std::string_view text)
    {
        Mix(text.size());
        for (const char c : text)
            Mix(static_cast<unsigned char>(c));
    }

    template <class Elements, class AddOne>
    void AddEach(const Elements& elements, AddOne addOne)
    {
        Mix(static_cast<std::uint64_t>(elements.size()));
        for (const auto& element : elements)
            addOne(element);
    }

    std::uint64_t m_state = 1;
};

template <class T>
std::uint64_t DigestOf(const T& value)
{
    Digest digest;
    digest.Add(value);
    return digest.Get();
}

} // namespace kelm::bench
