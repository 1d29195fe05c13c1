#pragma once

// VectorOfByte: growable contiguous storage of three words (buffer, size in bytes, capacity in bytes), of which every
// xvector is made.
//
// The words are the same for every element type, so that the reflection layer can work on a vector whose element type
// it knows only from byte code. It owns its buffer. What throws std::bad_alloc leaves it as it was. A negative size is
// a broken invariant.

#include <klUtils/api.h>
#include <klUtils/types.h>

#include <new>
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

    // Inserts `count` bytes from `bytes` before position `at`.
    void insertbytes(ssize_t at, const void* bytes, ssize_t count);

    // New bytes are zero. Growing by little steps stays linear: the capacity at least doubles.
    void resize(ssize_t newSize);

    // Room for at least `newCapacity` bytes; exactly that many are allocated.
    void reserve(ssize_t newCapacity);

    // Room for `count` bytes more; the capacity at least doubles when it grows, and begins with 64 bytes.
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

    template <class T>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(T) == sizeof(VectorOfByte);
    }

    void swap(VectorOfByte& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

private:
    template <class T>
    friend class xvector;

    void Grow(ssize_t count);

    // The capacity with which it grows by `count` bytes.
    ssize_t GetGrownCapacity(ssize_t count) const;

    char* m_data = nullptr;
    ssize_t m_size = 0;
    ssize_t m_capacity = 0;
};

static_assert(sizeof(VectorOfByte) == 24);

} // namespace kelm
