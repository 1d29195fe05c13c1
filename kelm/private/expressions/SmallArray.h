#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

namespace kelm::evaluation
{

// A growing array of plain data, of which the first N elements lie within.
template <class T, std::size_t N>
class SmallArray
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    SmallArray() {} // NOLINT: the elements are left as they are
    SmallArray(const SmallArray&) = delete;
    SmallArray& operator=(const SmallArray&) = delete;

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    T* data() { return m_data; }
    const T* data() const { return m_data; }
    T& operator[](std::size_t i) { return m_data[i]; }
    const T& operator[](std::size_t i) const { return m_data[i]; }
    T& back() { return m_data[m_size - 1]; }
    T* begin() { return m_data; }
    T* end() { return m_data + m_size; }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + m_size; }

    T& Add(const T& x)
    {
        if (m_size == m_capacity) [[unlikely]]
            Grow();
        return *::new (static_cast<void*>(m_data + m_size++)) T(x);
    }
    // One that is as it is.
    T& Add()
    {
        if (m_size == m_capacity) [[unlikely]]
            Grow();
        return m_data[m_size++];
    }
    void Shrink(std::size_t size) { m_size = size; }

private:
    [[gnu::noinline]] void Grow()
    {
        std::unique_ptr<unsigned char[]> heap(new unsigned char[2 * m_capacity * sizeof(T)]);
        std::memcpy(heap.get(), static_cast<const void*>(m_data), m_size * sizeof(T));
        m_heap = std::move(heap);
        m_data = reinterpret_cast<T*>(m_heap.get());
        m_capacity *= 2;
    }

    alignas(T) unsigned char m_room[N * sizeof(T)];
    std::unique_ptr<unsigned char[]> m_heap;
    T* m_data = reinterpret_cast<T*>(m_room);
    std::size_t m_size = 0;
    std::size_t m_capacity = N;
};

} // namespace kelm::evaluation
