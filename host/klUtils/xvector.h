#pragma once

// VectorOfByte and xvector: growable contiguous storage of three words (buffer, size in bytes, capacity in bytes).
//
// The words are the same for every element type, so that the reflection layer can work on a vector whose element type
// it knows only from byte code. Growing moves the elements as bytes: an element type must not hold a pointer into
// itself. Both own their buffer. They throw std::bad_alloc where memory runs out and leave the vector unchanged then.
// A negative size is a broken invariant.

#include <klUtils/StackSegment.h>
#include <klUtils/api.h>
#include <klUtils/types.h>

#include <initializer_list>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace kelm
{

class KLUTILS_API VectorOfByte
{
public:
    VectorOfByte() noexcept = default;
    VectorOfByte(const VectorOfByte& other);
    VectorOfByte(VectorOfByte&& other) noexcept { swap(other); }
    ~VectorOfByte() { ::operator delete(m_data); }
    VectorOfByte& operator=(const VectorOfByte& other);
    VectorOfByte& operator=(VectorOfByte&& other) noexcept
    {
        swap(other);
        return *this;
    }

    char* data() noexcept { return m_data; }
    const char* data() const noexcept { return m_data; }
    ssize_t size() const noexcept { return m_size; }         // in bytes
    ssize_t capacity() const noexcept { return m_capacity; } // in bytes
    bool empty() const noexcept { return m_size == 0; }

    void clear() noexcept { m_size = 0; }

    // Inserts `count` bytes from `bytes` before position `at`; `bytes` must not lie in this vector.
    void insertbytes(ssize_t at, const void* bytes, ssize_t count);

    // New bytes are zero. Growing by little steps stays linear: the capacity at least doubles.
    void resize(ssize_t newSize);

    // Room for at least `newCapacity` bytes; exactly that many are allocated.
    void reserve(ssize_t newCapacity);

    // Room for `count` bytes more; the capacity at least doubles when it grows.
    void MakeRoom(ssize_t count)
    {
        if (count > m_capacity - m_size)
            Grow(count);
    }

    // Adds `count` bytes that the caller writes before anything reads them, and returns their address.
    char* Extend(ssize_t count)
    {
        MakeRoom(count);
        char* const added = m_data + m_size;
        m_size += count;
        return added;
    }

    // Fails the assertion that a size is not negative.
    static void CheckSize(ssize_t newSize);

    void swap(VectorOfByte& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

private:
    void Grow(ssize_t count);

    char* m_data = nullptr;
    ssize_t m_size = 0;
    ssize_t m_capacity = 0;
};

// T may be incomplete where the vector is declared, so that a type can hold a vector of itself.
template <class T>
class xvector
{
public:
    using value_type = T;

    xvector() noexcept = default;
    // These delegate, so that the elements made so far are destroyed when one cannot be made.
    explicit xvector(ssize_t count) : xvector() { resize(count); }
    xvector(std::initializer_list<T> elements) : xvector()
    {
        AppendCopies(elements.begin(), static_cast<ssize_t>(elements.size()));
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

    // No index is checked; front and back need an element.
    T& operator[](ssize_t i) noexcept { return data()[i]; }
    const T& operator[](ssize_t i) const noexcept { return data()[i]; }
    T& front() noexcept { return data()[0]; }
    const T& front() const noexcept { return data()[0]; }
    T& back() noexcept { return data()[size() - 1]; }
    const T& back() const noexcept { return data()[size() - 1]; }

    void reserve(ssize_t count)
    {
        if (count > capacity())
            m_bytes.reserve(ToBytes(count));
    }

    // The arguments may refer to elements of this vector.
    template <class... Args>
    T& emplace_back(Args&&... args)
    {
        static_assert(alignof(T) <= alignof(std::max_align_t));
        alignas(T) char fresh[sizeof(T)];
        T* const element = ::new (static_cast<void*>(fresh)) T(std::forward<Args>(args)...);
        char* place;
        try
        {
            place = m_bytes.Extend(ElementSize);
        }
        catch (...)
        {
            element->~T();
            throw;
        }
        __builtin_memcpy(place, fresh, sizeof fresh); // moved as bytes, like every element of a growing vector
        return *std::launder(reinterpret_cast<T*>(place));
    }
    void push_back(const T& element) { emplace_back(element); }
    void push_back(T&& element) { emplace_back(std::move(element)); }
    void pop_back() noexcept
    {
        back().~T();
        m_bytes.resize(m_bytes.size() - ElementSize);
    }

    // New elements are value-initialised; those made so far stay when one cannot be made.
    void resize(ssize_t count)
    {
        VectorOfByte::CheckSize(count);
        if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>)
            m_bytes.resize(ToBytes(count)); // zero bytes are their initial value
        else
        {
            while (size() > count)
                pop_back();
            if (count > size())
                m_bytes.MakeRoom(ToBytes(count) - m_bytes.size());
            while (size() < count)
                emplace_back();
        }
    }

    void clear() noexcept
    {
        if constexpr (!std::is_trivially_destructible_v<T>)
            if (!empty())
                // Elements may hold vectors of their own kind, nested to any depth.
                CallWithEnoughStack(
                    [this]() noexcept
                    {
                        for (T& element : *this)
                            element.~T();
                    });
        m_bytes.clear();
    }

    void swap(xvector& other) noexcept { m_bytes.swap(other.m_bytes); }

    friend bool operator==(const xvector& a, const xvector& b)
    {
        if (a.size() != b.size())
            return false;
        for (ssize_t i = 0; i < a.size(); ++i)
            if (!(a[i] == b[i]))
                return false;
        return true;
    }
    friend bool operator<(const xvector& a, const xvector& b)
    {
        const ssize_t common = a.size() < b.size() ? a.size() : b.size();
        for (ssize_t i = 0; i < common; ++i)
        {
            if (a[i] < b[i])
                return true;
            if (b[i] < a[i])
                return false;
        }
        return a.size() < b.size();
    }

private:
    static constexpr ssize_t ElementSize = static_cast<ssize_t>(sizeof(T));

    static ssize_t ToBytes(ssize_t count)
    {
        if (count > std::numeric_limits<ssize_t>::max() / ElementSize)
            throw std::bad_alloc();
        return count * ElementSize;
    }

    void AppendCopies(const T* elements, ssize_t count)
    {
        if constexpr (std::is_trivially_copyable_v<T>)
            m_bytes.insertbytes(m_bytes.size(), elements, ToBytes(count));
        else if (IsStackLow()) // elements may hold vectors of their own kind, nested to any depth
            CallOnFreshSegment([&] { AppendCopies(elements, count); });
        else
        {
            m_bytes.MakeRoom(ToBytes(count));
            for (ssize_t i = 0; i < count; ++i)
                push_back(elements[i]);
        }
    }

    VectorOfByte m_bytes;
};

static_assert(sizeof(VectorOfByte) == 24 && sizeof(xvector<int>) == 24);

} // namespace kelm
