#pragma once

// TextWords: the three words that a string is, and how a text lies in them. Up to InlineCapacity characters are kept
// inside, with their number in the last unit; a longer text lies on the heap, which the last unit's top bit marks. The
// bit below marks a heap text with room before it; the pointer directly before it says where its memory begins.

#include <klUtils/types.h>

#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace kelm
{

template <class C>
class TextWords
{
    static_assert(std::is_trivial_v<C> && sizeof(C) <= 2);

protected:
    static constexpr ssize_t InlineCapacity = static_cast<ssize_t>(24 / sizeof(C)) - 2;

    static std::size_t Bytes(ssize_t length) { return static_cast<std::size_t>(length) * sizeof(C); }

    // Room for a heap text and the zero behind it.
    static C* Allocate(ssize_t length)
    {
        if (length < 0 || length >= std::numeric_limits<ssize_t>::max() / static_cast<ssize_t>(2 * sizeof(C)))
            throw std::bad_alloc();
        return static_cast<C*>(::operator new(Bytes(length + 1)));
    }

    // A heap text's words: its address, its length, its capacity with the heap bit.
    uint64 Word(int i) const noexcept
    {
        uint64 word;
        std::memcpy(&word, reinterpret_cast<const char*>(m_units) + std::ptrdiff_t{8} * i, sizeof word);
        return word;
    }
    void SetWord(int i, uint64 word) noexcept
    {
        std::memcpy(reinterpret_cast<char*>(m_units) + std::ptrdiff_t{8} * i, &word, sizeof word);
    }

    // One byte, which is written by itself as well: a wider load would wait for that store.
    bool IsOnHeap() const noexcept { return reinterpret_cast<const signed char*>(m_units)[sizeof m_units - 1] < 0; }

    C* HeapText() const noexcept { return reinterpret_cast<C*>(Word(0)); }
    ssize_t HeapSize() const noexcept { return static_cast<ssize_t>(Word(1)); }
    ssize_t HeapCapacity() const noexcept { return static_cast<ssize_t>(Word(2) & ~(HeapBit | FrontBit)); }
    void SetHeap(C* text, ssize_t size, ssize_t capacity) noexcept
    {
        SetWord(0, reinterpret_cast<uint64>(text));
        SetWord(1, static_cast<uint64>(size));
        SetWord(2, static_cast<uint64>(capacity) | HeapBit);
    }

    void FreeHeapText() noexcept
    {
        if (IsOnHeap())
            ::operator delete(HasFront() ? Memory() : HeapText());
    }

    // The room before a heap text, in which it can grow there; and what says where that begins.
    static constexpr ssize_t FrontHeader = static_cast<ssize_t>(sizeof(C*) / sizeof(C));
    bool HasFront() const noexcept { return (Word(2) & FrontBit) != 0; }
    C* Memory() const noexcept
    {
        C* memory;
        std::memcpy(&memory, HeapText() - FrontHeader, sizeof memory);
        return memory;
    }
    ssize_t FrontRoom() const noexcept { return IsOnHeap() && HasFront() ? HeapText() - Memory() - FrontHeader : 0; }
    void SetHeapWithFront(C* memory, C* text, ssize_t size, ssize_t capacity) noexcept
    {
        SetHeap(text, size, capacity);
        SetWord(2, Word(2) | FrontBit);
        std::memcpy(text - FrontHeader, &memory, sizeof memory);
    }

    ssize_t InlineSize() const noexcept { return m_units[SizeUnit]; }

    void SetEmpty() noexcept { std::memset(m_units, 0, sizeof m_units); }
    void SetSize(ssize_t size) noexcept
    {
        if (IsOnHeap())
        {
            SetWord(1, static_cast<uint64>(size));
            HeapText()[size] = C();
        }
        else
            SetInlineSize(size);
    }
    void SetInlineSize(ssize_t size) noexcept
    {
        m_units[size] = C();
        m_units[SizeUnit] = static_cast<C>(size);
    }

    static constexpr uint64 HeapBit = uint64(1) << 63;
    static constexpr uint64 FrontBit = uint64(1) << 62; // which no capacity reaches
    static constexpr ssize_t SizeUnit = InlineCapacity + 1;

    alignas(8) C m_units[SizeUnit + 1];
};

} // namespace kelm
