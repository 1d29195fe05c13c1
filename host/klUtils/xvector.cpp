#include <klUtils/xvector.h>

#include <klUtils/KelmAssertionError.h>

#include <cstring>
#include <limits>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klUtils/xvector";

// Far beyond any memory, and small enough that no sum of two capacities overflows.
constexpr ssize_t s_maxCapacity = std::numeric_limits<ssize_t>::max() / 4;

std::size_t ToSize(ssize_t bytes)
{
    return static_cast<std::size_t>(bytes);
}

} // namespace

VectorOfByte::VectorOfByte(const VectorOfByte& other)
{
    insertbytes(0, other.m_data, other.m_size);
}

VectorOfByte& VectorOfByte::operator=(const VectorOfByte& other)
{
    if (this != &other)
    {
        VectorOfByte copy(other);
        swap(copy);
    }
    return *this;
}

void VectorOfByte::insertbytes(ssize_t at, const void* bytes, ssize_t count)
{
    KELM_ASSERT(0 <= at && at <= m_size);
    KELM_ASSERT(count >= 0);
    if (count == 0)
        return;
    Extend(count);
    std::memmove(m_data + at + count, m_data + at, ToSize(m_size - count - at));
    std::memcpy(m_data + at, bytes, ToSize(count));
}

void VectorOfByte::resize(ssize_t newSize)
{
    CheckSize(newSize);
    const ssize_t added = newSize - m_size;
    if (added > 0)
        std::memset(Extend(added), 0, ToSize(added));
    m_size = newSize;
}

void VectorOfByte::CheckSize(ssize_t newSize)
{
    KELM_ASSERT(newSize >= 0);
}

void VectorOfByte::reserve(ssize_t newCapacity)
{
    if (newCapacity <= m_capacity)
        return;
    if (newCapacity > s_maxCapacity)
        throw std::bad_alloc();
    char* const moved = static_cast<char*>(::operator new(ToSize(newCapacity)));
    if (m_size > 0)
        std::memcpy(moved, m_data, ToSize(m_size));
    ::operator delete(m_data);
    m_data = moved;
    m_capacity = newCapacity;
}

void VectorOfByte::Grow(ssize_t count)
{
    if (count > s_maxCapacity - m_size)
        throw std::bad_alloc();
    const ssize_t needed = m_size + count;
    const ssize_t doubled = 2 * m_capacity;
    reserve(needed > doubled ? needed : doubled);
}

} // namespace kelm
