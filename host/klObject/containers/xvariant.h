#pragma once

// xvariant: a value of one of several types, laid out as reflection wants it: the signed 32-bit index of the current
// alternative, then the alternatives, all at one offset. Never empty: a new one holds the first alternative,
// value-initialised. The names of the alternatives come with the description (KELM_VARIANT).
//
//     xvariant<double, Box> extent;
//     extent.Emplace<Box>(1.0, 2.0);
//     if (const Box* box = extent.TryGet<Box>())
//         ...
//
// A value: copied and compared by index and alternative. std::monostate stands for an alternative without a value. An
// alternative is chosen by its index, or by its type where that occurs once. Moved as bytes by its containers. Asking
// for an alternative that is not the current one is a broken invariant; what throws leaves the variant as it was.

#include <klUtils/Compare.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/types.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace kelm
{

template <class... As>
class xvariant
{
    static_assert(sizeof...(As) > 0);
    static_assert(((alignof(As) <= alignof(std::max_align_t)) && ...));

    template <class T>
    static constexpr bool OccursOnce = (static_cast<int>(std::is_same_v<T, As>) + ...) == 1;

    template <class T>
    static constexpr int32 IndexOf()
    {
        static_assert(OccursOnce<T>, "the variant has no such alternative, or several: use the index");
        int32 index = 0;
        static_cast<void>(((std::is_same_v<T, As> || (++index, false)) || ...));
        return index;
    }

public:
    static constexpr int32 NumAlternatives = static_cast<int32>(sizeof...(As));

    template <int32 I>
    using Alternative = std::tuple_element_t<static_cast<std::size_t>(I), std::tuple<As...>>;

    xvariant() : m_index(0) { ::new (Address()) Alternative<0>(); }
    template <class T>
    requires OccursOnce<T> xvariant(T value) : m_index(IndexOf<T>()) { ::new (Address()) T(std::move(value)); }
    xvariant(const xvariant& other) : m_index(other.m_index) { CopyAlternative(other); }
    xvariant(xvariant&& other) noexcept((std::is_nothrow_move_constructible_v<As> && ...)) : m_index(other.m_index)
    {
        other.Visit([this]<class T>(T& value) { ::new (Address()) T(std::move(value)); });
    }
    ~xvariant() { DestroyAlternative(); }
    xvariant& operator=(const xvariant& other)
    {
        if (this != &other)
            other.Visit([this, &other]<class T>(const T& value)
                        { this->Replace(other.m_index, [&value](void* place) { ::new (place) T(value); }); });
        return *this;
    }
    xvariant& operator=(xvariant&& other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(xvariant& other) noexcept
    {
        CheckRelocatable<xvariant>();
        auto* const mine = reinterpret_cast<char*>(this);
        std::swap_ranges(mine, mine + sizeof(xvariant), reinterpret_cast<char*>(&other));
    }
    friend void swap(xvariant& a, xvariant& b) noexcept { a.swap(b); }

    int32 index() const { return m_index; }

    // The current alternative if it is that one, otherwise null.
    template <int32 I>
    Alternative<I>* TryGet()
    {
        return m_index == I ? std::launder(static_cast<Alternative<I>*>(Address())) : nullptr;
    }
    template <int32 I>
    const Alternative<I>* TryGet() const
    {
        return const_cast<xvariant*>(this)->template TryGet<I>();
    }
    template <class T>
    T* TryGet()
    {
        return TryGet<IndexOf<T>()>();
    }
    template <class T>
    const T* TryGet() const
    {
        return TryGet<IndexOf<T>()>();
    }

    // The current alternative, which must be that one.
    template <int32 I>
    Alternative<I>& Get()
    {
        if (m_index != I)
            ThrowKelmAssertionError("m_index == I", "host/klObject/containers/xvariant", __LINE__);
        return *TryGet<I>();
    }
    template <int32 I>
    const Alternative<I>& Get() const
    {
        return const_cast<xvariant*>(this)->template Get<I>();
    }
    template <class T>
    T& Get()
    {
        return Get<IndexOf<T>()>();
    }
    template <class T>
    const T& Get() const
    {
        return Get<IndexOf<T>()>();
    }

    // Makes that alternative the current one, with a value made of the arguments, which may refer to the old value.
    template <int32 I, class... Args>
    Alternative<I>& Emplace(Args&&... args)
    {
        using T = Alternative<I>;
        Replace(I,
                [&](void* place)
                {
                    if constexpr (std::is_constructible_v<T, Args...>)
                        ::new (place) T(std::forward<Args>(args)...);
                    else
                        ::new (place) T{std::forward<Args>(args)...}; // an aggregate
                });
        return *TryGet<I>();
    }
    template <class T, class... Args>
    T& Emplace(Args&&... args)
    {
        return Emplace<IndexOf<T>()>(std::forward<Args>(args)...);
    }

    // Calls f with the current alternative.
    template <class F>
    void Visit(F&& f)
    {
        VisitAs(*this, f, std::make_integer_sequence<int32, NumAlternatives>());
    }
    template <class F>
    void Visit(F&& f) const
    {
        VisitAs(*this, f, std::make_integer_sequence<int32, NumAlternatives>());
    }

    friend bool operator==(const xvariant& a, const xvariant& b)
    {
        return CompareFor(Comparison<VALUES_EQUAL>(), a, b) == 0;
    }
    // By the index, then by the alternative.
    friend std::weak_ordering operator<=>(const xvariant& a, const xvariant& b)
    {
        return CompareFor(Comparison<VALUES_ORDER>(), a, b) <=> 0;
    }
    template <EComparison C>
    friend int CompareFor(Comparison<C> comparison, const xvariant& a, const xvariant& b)
    {
        int order = CompareScalars<C>(a.m_index, b.m_index);
        if (order != 0)
            return order;
        if constexpr (!(IsScalarType<As> && ...))
            if (IsStackLow()) // alternatives may hold variants of their own kind, nested to any depth
                return CallOnFreshSegment([&] { return CompareFor(comparison, a, b); });
        a.Visit([&]<class T>(const T& value)
                { order = Compare<C>(value, *std::launder(static_cast<const T*>(b.Address()))); });
        return order;
    }

    template <class T>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(T) == sizeof(xvariant) && (IsRelocatable<As> && ...);
    }

    // Where the alternatives lie, from the start of the variant.
    static constexpr ssize_t ValueOffset()
    {
        constexpr std::size_t alignment = std::max({alignof(int32), alignof(As)...});
        return static_cast<ssize_t>((sizeof(int32) + alignment - 1) / alignment * alignment);
    }

private:
    template <class Self, class F, int32... I>
    static void VisitAs(Self& self, F& f, std::integer_sequence<int32, I...>)
    {
        static_cast<void>(((self.m_index == I && (f(*self.template TryGet<I>()), true)) || ...));
    }

    void CopyAlternative(const xvariant& other)
    {
        if constexpr (!(std::is_trivially_copyable_v<As> && ...))
            if (IsStackLow()) // alternatives may hold variants of their own kind, nested to any depth
                return CallOnFreshSegment([&] { CopyAlternative(other); });
        other.Visit([this]<class T>(const T& value) { ::new (Address()) T(value); });
    }

    // A fresh alternative takes the place of the current one, to which what make(place) makes it of may refer: it is
    // made elsewhere, on the stack where that is small.
    template <class Make>
    void Replace(int32 index, Make make)
    {
        CheckRelocatable<xvariant>();
        constexpr std::size_t size = sizeof m_value;
        constexpr bool isSmall = size <= 256;
        alignas(std::max_align_t) char small[isSmall ? size : 1];
        std::unique_ptr<char[]> large;
        if constexpr (!isSmall)
            large.reset(new char[size]);
        char* const fresh = isSmall ? small : large.get();
        if constexpr (isSmall)
            std::memset(small, 0, size); // what the alternative leaves of it is copied, too
        make(static_cast<void*>(fresh));
        DestroyAlternative();
        m_index = index;
        std::memcpy(Address(), fresh, size);
    }

    void DestroyAlternative() noexcept
    {
        if constexpr (!(std::is_trivially_destructible_v<As> && ...))
            // Alternatives may hold variants of their own kind, nested to any depth.
            CallWithEnoughStack([this]() noexcept { Visit([]<class T>(T& value) noexcept { value.~T(); }); });
    }

    void* Address() { return m_value; }
    const void* Address() const { return m_value; }

    int32 m_index;
    alignas(As...) char m_value[std::max({sizeof(As)...})];
};

} // namespace kelm
