#pragma once

// basic_xstring: an owning, zero-terminated string of any bytes, zero bytes included.
//
// Three words (TextWords.h), of which a short text lies within, without a pointer into itself, so a string may be moved
// in memory as bytes and used wherever it lies (a script value keeps one at an offset of 4). All bytes zero is an empty
// string.
//
// It is a std::string_view wherever one is wanted, is made of one explicitly, and is added to, compared, hashed and
// written to standard streams as texts are.
//
// Throws std::bad_alloc where memory runs out, and nothing else; the string is unchanged then. A null text counts as
// empty, and a text that is given may be a part of the string. No length may be negative.

#include <klUtils/BasicSubString.h>
#include <klUtils/Compare.h>
#include <klUtils/TextWords.h>
#include <klUtils/types.h>

#include <compare>
#include <cstring>
#include <iosfwd>
#include <limits>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

template <class C>
class basic_xstring;

// A text other than our own strings: a literal, a SubString, a std::string_view or what becomes one.
template <class T, class C>
concept IsTextOf = std::is_constructible_v < BasicSubString<C>,
const T& > &&!std::is_base_of_v<basic_xstring<C>, T>;

template <class C>
class basic_xstring : TextWords<C>
{
    using Words = TextWords<C>;
    using Words::Allocate, Words::Bytes, Words::FreeHeapText, Words::HeapCapacity, Words::HeapSize, Words::HeapText;
    using Words::FrontHeader, Words::FrontRoom, Words::Memory, Words::SetHeapWithFront;
    using Words::InlineSize, Words::IsOnHeap, Words::m_units, Words::SetEmpty, Words::SetHeap, Words::SetInlineSize,
        Words::SetSize;
    using View = std::basic_string_view<C>;
    using Text = BasicSubString<C>; // what any text becomes

public:
    using value_type = C;
    using size_type = ssize_t;
    using difference_type = ssize_t;
    using reference = C&;
    using const_reference = const C&;
    using iterator = C*;
    using const_iterator = const C*;

    using Words::InlineCapacity;

    basic_xstring() noexcept { SetEmpty(); }
    basic_xstring(const C* textZ) : basic_xstring(BasicSubString<C>(textZ)) {}
    basic_xstring(const C* text, ssize_t length) { Construct(text, length); }
    explicit basic_xstring(Text text) { Construct(text.m_p1, text.size()); }
    explicit basic_xstring(View text) : basic_xstring(Text(text)) {}
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
    const C& operator[](ssize_t i) const noexcept { return data()[i]; }

    C* begin() noexcept { return data(); }
    C* end() noexcept { return data() + size(); }
    const C* begin() const noexcept { return data(); }
    const C* end() const noexcept { return data() + size(); }

    operator Text() const noexcept { return {data(), data() + size()}; }
    operator View() const noexcept { return view(); }
    View view() const noexcept { return {data(), static_cast<std::size_t>(size())}; }

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

    // As assign, of a text that is no part of this string; what lies behind it up to `end` can be read as well. A short
    // text is copied with all of its surroundings that have room: nothing is decided by its length.
    void AssignFrom(const C* text, ssize_t length, const C* end)
    {
        if (IsOnHeap())
            return assign(text, length);
        if (length > InlineCapacity)
        {
            C* const longText = Allocate(length);
            std::memcpy(longText, text, Bytes(length));
            SetHeap(longText, length, length);
            longText[length] = C();
        }
        else if (end - text >= static_cast<ssize_t>(std::size(m_units)))
        {
            std::memcpy(m_units, text, sizeof m_units);
            SetInlineSize(length);
        }
        else
        {
            if (length > 0)
                std::memcpy(m_units, text, Bytes(length));
            SetInlineSize(length);
        }
    }

    // Replaces the text by what write(address) writes at the address, where `maxLength` characters have room; it
    // returns the end. What `write` throws leaves the string as it was.
    template <class Write>
    void AssignWritten(ssize_t maxLength, Write write)
    {
        basic_xstring fresh;
        if (maxLength > InlineCapacity)
            fresh.SetHeap(Allocate(maxLength), 0, maxLength);
        C* const text = fresh.data();
        fresh.SetSize(write(text) - text);
        swap(fresh);
    }

    void append(const C* text, ssize_t length)
    {
        const ssize_t oldSize = size();
        if (length > capacity() - oldSize)
        {
            if (length > std::numeric_limits<ssize_t>::max() - oldSize)
                throw std::bad_alloc();
            basic_xstring longer;
            longer.MakeRoom(FrontRoom(), GrownCapacity(oldSize + length));
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
    void append(Text text) { append(text.m_p1, text.size()); }
    void push_back(C c) { append(&c, 1); }
    basic_xstring& operator+=(Text text)
    {
        append(text);
        return *this;
    }
    basic_xstring& operator+=(C c)
    {
        push_back(c);
        return *this;
    }

    // Puts a text, which is no part of this string, before it. Done piece by piece this is linear, as appending is.
    void prepend(Text text)
    {
        const ssize_t length = text.size();
        const ssize_t oldSize = size();
        if (length > std::numeric_limits<ssize_t>::max() / 4 - oldSize)
            throw std::bad_alloc();
        if (length > FrontRoom())
            MakeRoom(oldSize + 2 * length, capacity());
        if (length == 0)
            return;
        C* const begin = HeapText() - length;
        SetHeapWithFront(Memory(), begin, oldSize + length, HeapCapacity() + length);
        std::memcpy(begin, text.m_p1, Bytes(length));
    }

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

    void swap(basic_xstring& other) noexcept { std::swap(static_cast<Words&>(*this), static_cast<Words&>(other)); }

    friend void swap(basic_xstring& a, basic_xstring& b) noexcept { a.swap(b); }

    friend basic_xstring operator+(const basic_xstring& a, const basic_xstring& b) { return Join(a, b); }
    friend basic_xstring operator+(basic_xstring&& a, const basic_xstring& b) { return std::move(a += b); }
    template <IsTextOf<C> T>
    friend basic_xstring operator+(const basic_xstring& a, const T& b)
    {
        return Join(a, Text(b));
    }
    template <IsTextOf<C> T>
    friend basic_xstring operator+(basic_xstring&& a, const T& b)
    {
        return std::move(a += Text(b));
    }
    template <IsTextOf<C> T>
    friend basic_xstring operator+(const T& a, const basic_xstring& b)
    {
        return Join(Text(a), b);
    }

    friend bool operator==(const basic_xstring& a, const basic_xstring& b) noexcept { return a.Equals(b); }
    template <IsTextOf<C> T>
    friend bool operator==(const basic_xstring& a, const T& b) noexcept
    {
        return a.Equals(Text(b));
    }

    // By unsigned units; when one text begins the other, the shorter is less.
    friend std::strong_ordering operator<=>(const basic_xstring& a, const basic_xstring& b) noexcept
    {
        return a.Compare(b) <=> 0;
    }
    template <IsTextOf<C> T>
    friend std::strong_ordering operator<=>(const basic_xstring& a, const T& b) noexcept
    {
        return a.Compare(Text(b)) <=> 0;
    }
    template <EComparison Q>
    friend int CompareFor(Comparison<Q>, const basic_xstring& a, const basic_xstring& b) noexcept
    {
        if constexpr (Comparison<Q>::s_isEquality)
            return a.Equals(b) ? 0 : 1;
        else
            return a.Compare(b);
    }

    template <class Traits>
    friend std::basic_ostream<C, Traits>& operator<<(std::basic_ostream<C, Traits>& os, const basic_xstring& text)
    {
        return os << std::basic_string_view<C, Traits>(text.data(), static_cast<std::size_t>(text.size()));
    }

    // The first eight bytes as a number that is ordered as they are, zeros behind a shorter text.
    uint64 GetPrefix() const noexcept requires(sizeof(C) == 1)
    {
        uint64 word; // there are eight bytes, whatever the size
        std::memcpy(&word, data(), sizeof word);
        const ssize_t n = size();
        word = __builtin_bswap64(word);
        return n >= 8 ? word : n == 0 ? 0 : word & ~uint64(0) << (64 - 8 * n);
    }
    // The same of the bytes from a place on, which is not behind the end.
    uint64 GetPrefixFrom(ssize_t from) const noexcept requires(sizeof(C) == 1)
    {
        const ssize_t n = size() - from;
        if (n == 0 || size() < 8)
            return n == 0 ? 0 : GetPrefix() << 8 * from;
        uint64 word;
        std::memcpy(&word, data() + (n >= 8 ? from : size() - 8), sizeof word);
        word = __builtin_bswap64(word);
        return n >= 8 ? word : word << (64 - 8 * n);
    }

    template <class T>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(T) == sizeof(basic_xstring);
    }

    bool Equals(Text other) const noexcept
    {
        const ssize_t n = size();
        return n == other.size() && (n == 0 || std::memcmp(data(), other.data(), Bytes(n)) == 0);
    }

    int Compare(Text other) const noexcept
    {
        using Unit = std::make_unsigned_t<C>;
        const ssize_t common = size() < other.size() ? size() : other.size();
        const C* a = data();
        const C* b = other.data();
        if constexpr (sizeof(C) == 1)
        {
            if (const int order = common > 0 ? std::memcmp(a, b, Bytes(common)) : 0)
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
    // New memory, with room for so many characters before the text and for a text of so many.
    void MakeRoom(ssize_t front, ssize_t capacity)
    {
        if (front == 0)
            return reserve(capacity);
        const ssize_t oldSize = size();
        C* const memory = Allocate(FrontHeader + front + capacity);
        C* const text = memory + FrontHeader + front;
        std::memcpy(text, data(), Bytes(oldSize + 1));
        FreeHeapText();
        SetHeapWithFront(memory, text, oldSize, capacity);
    }

    static basic_xstring Join(Text a, Text b)
    {
        basic_xstring text;
        if (b.size() > std::numeric_limits<ssize_t>::max() - a.size())
            throw std::bad_alloc();
        text.reserve(a.size() + b.size());
        text.append(a);
        text.append(b);
        return text;
    }

    // Doubling keeps a text built piece by piece linear.
    ssize_t GrownCapacity(ssize_t needed) const
    {
        const ssize_t doubled = 2 * capacity();
        return needed > doubled ? needed : doubled;
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
};

using xstring = basic_xstring<char>;
using xstring16 = basic_xstring<uint16>;

static_assert(sizeof(xstring) == 24 && sizeof(xstring16) == 24);

} // namespace kelm

// As the same text is hashed as a std::string_view.
template <>
struct std::hash<kelm::xstring>
{
    std::size_t operator()(const kelm::xstring& text) const noexcept { return hash<string_view>()(text.view()); }
};
