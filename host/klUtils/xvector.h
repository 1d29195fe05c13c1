#pragma once

// xvector: a vector of elements in a VectorOfByte. Growing moves the elements as bytes (IsRelocatable.h).
//
// What throws, std::bad_alloc or an element's own exception, leaves the vector as it was; arguments may refer to its
// elements. A negative size is a broken invariant.

#include <klUtils/Compare.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/StackSegment.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/types.h>

#include <concepts>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace kelm
{

// T may be incomplete where the vector is declared, so that a type can hold a vector of itself.
template <class T>
class xvector
{
public:
    using value_type = T;
    using size_type = ssize_t;
    using difference_type = ssize_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = T*;
    using const_iterator = const T*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    xvector() noexcept = default;
    // These delegate, so that the elements made so far are destroyed when one cannot be made.
    explicit xvector(ssize_t count) : xvector() { resize(count); }
    xvector(std::initializer_list<T> elements) : xvector()
    {
        AppendCopies(elements.begin(), static_cast<ssize_t>(elements.size()));
    }
    template <std::input_iterator Iterator, std::sentinel_for<Iterator> Sentinel>
    xvector(Iterator first, Sentinel last) : xvector()
    {
        append(std::move(first), std::move(last));
    }
    template <class Range>
    requires(!std::derived_from<std::remove_cvref_t<Range>, xvector> &&
             requires(Range && range) { T(*std::begin(range)); }) explicit xvector(Range&& range)
        : xvector(std::begin(range), std::end(range))
    {
    }
    xvector(const xvector& other) : xvector() { AppendCopies(other.begin(), other.size()); }
    xvector(xvector&& other) noexcept = default;
    ~xvector() { clear(); }
    xvector& operator=(const xvector& other)
    {
        if (this != &other)
        {
            xvector copy(other);
            swap(copy);
        }
        return *this;
    }
    xvector& operator=(xvector&& other) noexcept
    {
        swap(other);
        return *this;
    }

    ssize_t size() const noexcept { return m_bytes.size() / ElementSize; }
    ssize_t capacity() const noexcept { return m_bytes.capacity() / ElementSize; }
    bool empty() const noexcept { return m_bytes.empty(); }

    T* data() noexcept { return reinterpret_cast<T*>(m_bytes.data()); }
    const T* data() const noexcept { return reinterpret_cast<const T*>(m_bytes.data()); }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + size(); }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + size(); }
    const T* cbegin() const noexcept { return begin(); }
    const T* cend() const noexcept { return end(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    // No index is checked; front and back need an element.
    T& operator[](ssize_t i) noexcept { return data()[i]; }
    const T& operator[](ssize_t i) const noexcept { return data()[i]; }
    T& front() noexcept { return data()[0]; }
    const T& front() const noexcept { return data()[0]; }
    T& back() noexcept { return data()[size() - 1]; }
    const T& back() const noexcept { return data()[size() - 1]; }

    void reserve(ssize_t count)
    {
        CheckRelocatable<T>();
        if (count > capacity())
            m_bytes.reserve(ToBytes(count));
    }

    template <class... Args>
    T& emplace_back(Args&&... args)
    {
        CheckRelocatable<T>();
        static_assert(alignof(T) <= alignof(std::max_align_t));
        if (m_bytes.m_capacity - m_bytes.m_size < ElementSize)
            return *EmplaceGrowing(size(), std::forward<Args>(args)...);
        T* const element = ::new (static_cast<void*>(m_bytes.m_data + m_bytes.m_size)) T(std::forward<Args>(args)...);
        m_bytes.m_size += ElementSize;
        return *element;
    }
    void push_back(const T& element) { emplace_back(element); }
    void push_back(T&& element) { emplace_back(std::move(element)); }
    void pop_back() noexcept
    {
        back().~T();
        m_bytes.m_size -= ElementSize;
    }

    // Inserts an element before `at`, and returns where it is.
    template <class... Args>
    T* emplace(const T* at, Args&&... args)
    {
        CheckRelocatable<T>();
        const ssize_t index = at - begin();
        if (m_bytes.m_capacity - m_bytes.m_size < 2 * ElementSize)
            return EmplaceGrowing(index, std::forward<Args>(args)...);
        // Made behind the last but one place, before anything moves.
        T* const made = ::new (static_cast<void*>(end() + 1)) T(std::forward<Args>(args)...);
        T* const place = begin() + index;
        MoveBytes(place + 1, place, size() - index);
        MoveBytes(place, made, 1);
        m_bytes.m_size += ElementSize;
        return place;
    }
    T* insert(const T* at, const T& element) { return emplace(at, element); }
    T* insert(const T* at, T&& element) { return emplace(at, std::move(element)); }

    // Appends [first, last), which may not lie in this vector.
    template <std::input_iterator Iterator, std::sentinel_for<Iterator> Sentinel>
    void append(Iterator first, Sentinel last)
    {
        const ssize_t before = size();
        try
        {
            if constexpr (std::forward_iterator<Iterator>)
            {
                ssize_t count = 0;
                if constexpr (std::sized_sentinel_for<Sentinel, Iterator>)
                    count = static_cast<ssize_t>(last - first);
                else
                    for (Iterator i = first; i != last; ++i)
                        ++count;
                m_bytes.MakeRoom(ToBytes(count));
            }
            for (; first != last; ++first)
                emplace_back(*first);
        }
        catch (...)
        {
            Shrink(before);
            throw;
        }
    }

    // Erases [first, last), and returns where what was behind it is.
    T* erase(const T* first, const T* last)
    {
        T* const place = begin() + (first - begin());
        const ssize_t count = last - first;
        DestroyEach(place, count);
        MoveBytes(place, place + count, end() - last);
        m_bytes.m_size -= count * ElementSize;
        return place;
    }
    T* erase(const T* at) { return erase(at, at + 1); }

    // New elements are value-initialised.
    void resize(ssize_t count)
    {
        VectorOfByte::CheckSize(count);
        if constexpr (IsScalarType<T>)
            m_bytes.resize(ToBytes(count)); // zero bytes are their initial value
        else if (count <= size())
            Shrink(count);
        else
            AppendEach(count - size(), [](void* place, ssize_t) { ::new (place) T(); });
    }

    void clear() noexcept
    {
        if constexpr (!std::is_trivially_destructible_v<T>)
            if (!empty())
                DestroyEach(begin(), size());
        m_bytes.clear();
    }

    void swap(xvector& other) noexcept { m_bytes.swap(other.m_bytes); }
    friend void swap(xvector& a, xvector& b) noexcept { a.swap(b); }

    friend bool operator==(const xvector& a, const xvector& b)
    {
        return CompareFor(Comparison<VALUES_EQUAL>(), a, b) == 0;
    }
    // By the first element that differs; of two vectors of which one begins the other, the shorter is less.
    friend std::weak_ordering operator<=>(const xvector& a, const xvector& b)
    {
        return CompareFor(Comparison<VALUES_ORDER>(), a, b) <=> 0;
    }
    template <EComparison C>
    friend int CompareFor(Comparison<C> comparison, const xvector& a, const xvector& b)
    {
        if (Comparison<C>::s_isEquality && a.size() != b.size())
            return 1;
        const ssize_t common = a.size() < b.size() ? a.size() : b.size();
        if constexpr (!IsScalarType<T>)
            if (IsStackLow()) // elements may hold vectors of their own kind, nested to any depth
                return CallOnFreshSegment([&] { return CompareFor(comparison, a, b); });
        for (ssize_t i = 0; i < common; ++i)
            if (const int order = Compare<C>(a[i], b[i]))
                return order;
        return CompareScalars<C>(a.size(), b.size());
    }

    template <class U>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(U) == sizeof(VectorOfByte);
    }

private:
    static constexpr ssize_t ElementSize = static_cast<ssize_t>(sizeof(T));

    static ssize_t ToBytes(ssize_t count)
    {
        if (count > std::numeric_limits<ssize_t>::max() / ElementSize)
            throw std::bad_alloc();
        return count * ElementSize;
    }

    static void MoveBytes(void* to, const void* from, ssize_t count)
    {
        if (count > 0)
            std::memmove(to, from, static_cast<std::size_t>(count * ElementSize));
    }

    static void DestroyEach(T* elements, ssize_t count) noexcept
    {
        if constexpr (!std::is_trivially_destructible_v<T>)
            // Elements may hold vectors of their own kind, nested to any depth.
            CallWithEnoughStack(
                [&]() noexcept
                {
                    for (ssize_t i = 0; i < count; ++i)
                        elements[i].~T();
                });
    }

    void Shrink(ssize_t count) noexcept
    {
        if (count < size())
            DestroyEach(begin() + count, size() - count);
        m_bytes.m_size = count * ElementSize;
    }

    // The new element is made in the larger buffer while the elements still are in the old one, to which the arguments
    // may refer.
    template <class... Args>
    [[gnu::noinline]] T* EmplaceGrowing(ssize_t index, Args&&... args)
    {
        VectorOfByte larger;
        larger.reserve(m_bytes.GetGrownCapacity(ElementSize));
        T* const elements = reinterpret_cast<T*>(larger.m_data);
        T* const made = ::new (static_cast<void*>(elements + index)) T(std::forward<Args>(args)...);
        MoveBytes(elements, begin(), index);
        MoveBytes(elements + index + 1, begin() + index, size() - index);
        larger.m_size = m_bytes.m_size + ElementSize;
        m_bytes.swap(larger);
        return made;
    }

    // Appends `count` elements that make(place, i) constructs.
    template <class Make>
    void AppendEach(ssize_t count, Make make)
    {
        CheckRelocatable<T>();
        m_bytes.MakeRoom(ToBytes(count));
        ssize_t i = 0;
        try
        {
            for (; i < count; ++i)
                make(static_cast<void*>(end() + i), i);
        }
        catch (...)
        {
            DestroyEach(end(), i);
            throw;
        }
        m_bytes.m_size += count * ElementSize;
    }

    // To an empty vector.
    void AppendCopies(const T* elements, ssize_t count)
    {
        reserve(count);
        if constexpr (std::is_trivially_copyable_v<T>)
            m_bytes.insertbytes(0, elements, count * ElementSize);
        else if (IsStackLow()) // elements may hold vectors of their own kind, nested to any depth
            CallOnFreshSegment([&] { AppendCopies(elements, count); });
        else
            AppendEach(count, [elements](void* place, ssize_t i) { ::new (place) T(elements[i]); });
    }

    VectorOfByte m_bytes;
};

static_assert(sizeof(xvector<int>) == 24);

} // namespace kelm
