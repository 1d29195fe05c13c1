#include <klUtils/xvector.h>

#include <klUtils/KelmAssertionError.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klUtils/xvector";

// Far beyond any memory, and small enough that no sum of two capacities overflows.
constexpr ssize_t s_maxCapacity = std::numeric_limits<ssize_t>::max() / 4;

// What a vector that grows begins with.
constexpr ssize_t s_firstCapacity = 64;

std::size_t ToSize(ssize_t bytes)
{
    return static_cast<std::size_t>(bytes);
}

} // namespace

VectorOfByte::VectorOfByte(const VectorOfByte& other)
{
    reserve(other.m_size);
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
    const char* const source = static_cast<const char*>(bytes);
    const std::less<const char*> isBefore;
    const bool isOwn = !isBefore(source, m_data) && isBefore(source, m_data + m_size);
    const ssize_t start = isOwn ? source - m_data : 0;
    Extend(count);
    char* const gap = m_data + at;
    std::memmove(gap + count, gap, ToSize(m_size - count - at));
    if (!isOwn)
    {
        std::memcpy(gap, source, ToSize(count));
        return;
    }
    // Of its own bytes, those before the gap are where they were, the others behind it.
    const ssize_t before = std::clamp<ssize_t>(at - start, 0, count);
    if (before > 0)
        std::memcpy(gap, m_data + start, ToSize(before));
    if (before < count)
        std::memcpy(gap + before, m_data + start + before + count, ToSize(count - before));
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
    if (m_data != nullptr)
    {
        std::memcpy(moved, m_data, ToSize(m_size));
        ::operator delete(m_data);
    }
    m_data = moved;
    m_capacity = newCapacity;
}

ssize_t VectorOfByte::GetGrownCapacity(ssize_t count) const
{
    if (count > s_maxCapacity - m_size)
        throw std::bad_alloc();
    return std::max({m_size + count, 2 * m_capacity, s_firstCapacity});
}

void VectorOfByte::Grow(ssize_t count)
{
    reserve(GetGrownCapacity(count));
}

} // namespace kelm
