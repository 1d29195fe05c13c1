#pragma once

// basic_xstring: an owning, zero-terminated string of any bytes, zero bytes included.
//
// Three words, without a pointer into itself, so a string may be moved in memory as bytes and used wherever it lies
// (a script value keeps one at an offset of 4). Up to InlineCapacity characters are kept inside the three words, with
// their number in the last unit; a longer text lives on the heap and is owned alone, which the last unit's top bit
// marks. All bytes zero is an empty string.
//
// Throws std::bad_alloc where memory runs out, and nothing else; the string is unchanged then. A null text counts as
// empty. No length may be negative.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

template <class C>
class basic_xstring
{
    static_assert(std::is_trivial_v<C> && sizeof(C) <= 2);

public:
    static constexpr ssize_t InlineCapacity = static_cast<ssize_t>(24 / sizeof(C)) - 2;

    basic_xstring() noexcept { SetEmpty(); }
    basic_xstring(const C* textZ) : basic_xstring(BasicSubString<C>(textZ)) {}
    basic_xstring(const C* text, ssize_t length) { Construct(text, length); }
    explicit basic_xstring(BasicSubString<C> text) { Construct(text.m_p1, text.size()); }
    basic_xstring(const basic_xstring& other) { CopyFrom(other); }
    basic_xstring(basic_xstring&& other) noexcept
    {
        std::memcpy(m_units, other.m_units, sizeof m_units);
        other.SetEmpty();
    }
    ~basic_xstring() { FreeHeapText(); }

    basic_xstring& operator=(const basic_xstring& other)
    {
        if (this != &other)
            assign(other.data(), other.size());
        return *this;
    }
    basic_xstring& operator=(basic_xstring&& other) noexcept
    {
        swap(other);
        return *this;
    }
    basic_xstring& operator=(const C* textZ)
    {
        const BasicSubString<C> text(textZ);
        assign(text.m_p1, text.size());
        return *this;
    }

    const C* c_str() const noexcept { return IsOnHeap() ? HeapText() : m_units; }
    const C* data() const noexcept { return c_str(); }
    C* data() noexcept { return const_cast<C*>(c_str()); }
    ssize_t size() const noexcept { return IsOnHeap() ? HeapSize() : InlineSize(); }
    ssize_t length() const noexcept { return size(); }
    bool empty() const noexcept { return size() == 0; }
    ssize_t capacity() const noexcept { return IsOnHeap() ? HeapCapacity() : InlineCapacity; }

    // No index is checked.
    C& operator[](ssize_t i) noexcept { return data()[i]; }
    C operator[](ssize_t i) const noexcept { return data()[i]; }

    const C* begin() const noexcept { return data(); }
    const C* end() const noexcept { return data() + size(); }

    operator BasicSubString<C>() const noexcept { return {data(), data() + size()}; }
    std::basic_string_view<C> view() const noexcept { return {data(), static_cast<std::size_t>(size())}; }

    void clear() noexcept { SetSize(0); }

    // The text may be a part of this string.
    void assign(const C* text, ssize_t length)
    {
        if (length <= capacity())
        {
            if (length > 0)
                std::memmove(data(), text, Bytes(length));
            SetSize(length);
        }
        else
        {
            basic_xstring fresh(text, length);
            swap(fresh);
        }
    }
    void append(const C* text, ssize_t length)
    {
        const ssize_t oldSize = size();
        if (length > capacity() - oldSize)
        {
            basic_xstring longer;
            longer.reserve(GrownCapacity(oldSize + length));
            longer.SetSize(oldSize + length);
            std::memcpy(longer.data(), data(), Bytes(oldSize));
            std::memcpy(longer.data() + oldSize, text, Bytes(length));
            swap(longer);
            return;
        }
        if (length > 0)
            std::memmove(data() + oldSize, text, Bytes(length));
        SetSize(oldSize + length);
    }
    void append(BasicSubString<C> text) { append(text.m_p1, text.size()); }
    void push_back(C c) { append(&c, 1); }

    // Makes room for `length` characters without changing the text.
    void reserve(ssize_t length)
    {
        if (length <= capacity())
            return;
        const ssize_t oldSize = size();
        C* text = Allocate(length);
        std::memcpy(text, data(), Bytes(oldSize + 1));
        FreeHeapText();
        SetHeap(text, oldSize, length);
    }

    // New characters are zero.
    void resize(ssize_t length)
    {
        const ssize_t oldSize = size();
        if (length > capacity())
            reserve(GrownCapacity(length));
        if (length > oldSize)
            std::memset(static_cast<void*>(data() + oldSize), 0, Bytes(length - oldSize));
        SetSize(length);
    }

    void swap(basic_xstring& other) noexcept
    {
        C units[SizeUnit + 1];
        std::memcpy(units, m_units, sizeof units);
        std::memcpy(m_units, other.m_units, sizeof units);
        std::memcpy(other.m_units, units, sizeof units);
    }

    friend bool operator==(const basic_xstring& a, const basic_xstring& b) noexcept
    {
        const ssize_t n = a.size();
        return n == b.size() && std::memcmp(a.data(), b.data(), Bytes(n)) == 0;
    }
    friend bool operator==(const basic_xstring& a, const C* b) noexcept
    {
        const BasicSubString<C> text(b);
        return a.size() == text.size() && (text.empty() || std::memcmp(a.data(), b, Bytes(text.size())) == 0);
    }

    // By unsigned units; when one text begins the other, the shorter is less.
    friend bool operator<(const basic_xstring& a, const basic_xstring& b) noexcept { return a.Compare(b) < 0; }

    int Compare(const basic_xstring& other) const noexcept
    {
        using Unit = std::make_unsigned_t<C>;
        const ssize_t common = size() < other.size() ? size() : other.size();
        const C* a = data();
        const C* b = other.data();
        if constexpr (sizeof(C) == 1)
        {
            if (const int order = std::memcmp(a, b, Bytes(common)))
                return order;
        }
        else
        {
            for (ssize_t i = 0; i < common; ++i)
                if (a[i] != b[i])
                    return static_cast<Unit>(a[i]) < static_cast<Unit>(b[i]) ? -1 : 1;
        }
        return size() < other.size() ? -1 : size() > other.size();
    }

private:
    static constexpr uint64 HeapBit = uint64(1) << 63;
    static constexpr ssize_t SizeUnit = InlineCapacity + 1;

    static std::size_t Bytes(ssize_t length) { return static_cast<std::size_t>(length) * sizeof(C); }

    // Doubling keeps a text built piece by piece linear.
    ssize_t GrownCapacity(ssize_t needed) const
    {
        const ssize_t doubled = 2 * capacity();
        return needed > doubled ? needed : doubled;
    }

    static C* Allocate(ssize_t length)
    {
        if (length < 0 || length >= std::numeric_limits<ssize_t>::max() / static_cast<ssize_t>(2 * sizeof(C)))
            throw std::bad_alloc();
        return static_cast<C*>(::operator new(Bytes(length + 1)));
    }

    void Construct(const C* text, ssize_t length)
    {
        if (length <= InlineCapacity)
            SetEmpty();
        else
            SetHeap(Allocate(length), 0, length);
        if (length > 0)
            std::memcpy(data(), text, Bytes(length));
        SetSize(length);
    }
    void CopyFrom(const basic_xstring& other)
    {
        if (other.IsOnHeap())
            Construct(other.HeapText(), other.HeapSize());
        else
            std::memcpy(m_units, other.m_units, sizeof m_units);
    }

    // The three words of a heap text: its address, its length, its capacity with the heap bit.
    uint64 Word(int i) const noexcept
    {
        uint64 word;
        std::memcpy(&word, reinterpret_cast<const char*>(m_units) + 8 * i, sizeof word);
        return word;
    }
    void SetWord(int i, uint64 word) noexcept
    {
        std::memcpy(reinterpret_cast<char*>(m_units) + 8 * i, &word, sizeof word);
    }

    // One byte, which is written by itself as well: a wider load would wait for that store.
    bool IsOnHeap() const noexcept { return reinterpret_cast<const signed char*>(m_units)[sizeof m_units - 1] < 0; }

    C* HeapText() const noexcept { return reinterpret_cast<C*>(Word(0)); }
    ssize_t HeapSize() const noexcept { return static_cast<ssize_t>(Word(1)); }
    ssize_t HeapCapacity() const noexcept { return static_cast<ssize_t>(Word(2) & ~HeapBit); }
    void SetHeap(C* text, ssize_t size, ssize_t capacity) noexcept
    {
        SetWord(0, reinterpret_cast<uint64>(text));
        SetWord(1, static_cast<uint64>(size));
        SetWord(2, static_cast<uint64>(capacity) | HeapBit);
    }

    void FreeHeapText() noexcept
    {
        if (IsOnHeap())
            ::operator delete(HeapText());
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
        {
            m_units[size] = C();
            m_units[SizeUnit] = static_cast<C>(size);
        }
    }

    alignas(8) C m_units[SizeUnit + 1];
};

using xstring = basic_xstring<char>;
using xstring16 = basic_xstring<uint16>;

static_assert(sizeof(xstring) == 24 && sizeof(xstring16) == 24);

} // namespace kelm
