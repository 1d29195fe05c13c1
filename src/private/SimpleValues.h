#pragma once

// Values that do not nest, as the reader of data sources reads them: alone, and as the elements of a list.
//
// For each type there is what it looks like nearly always, read in registers (TryRead), and the typed read that knows
// all of its forms (Read). A value is stored when the token behind it is known to be one.

#include <klObject/types/ETypeByteCode.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/private/FastCursor.h>
#include <klUtils/text/private/FastReads.h>
#include <klUtils/text/private/TypedReads.h>
#include <klUtils/xstring.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <new>

namespace kelm
{

template <class T>
void Store(void* data, T value)
{
    std::memcpy(data, &value, sizeof value);
}

// In each of these, getPlace() tells where a value lies or is to lie: of a list, it adds an element.
template <class T>
struct NumberType
{
    using Value = T;

    template <class GetPlace>
    [[gnu::always_inline]] static bool TryRead(text::FastCursor& cursor, GetPlace getPlace)
    {
        T value;
        const text::Found found = text::FindNumber(cursor.FindNext(), cursor.GetEnd(), value);
        if (found.m_past == nullptr || !cursor.TryMove(found.m_last, found.m_past)) [[unlikely]]
            return false;
        Store(getPlace(), value);
        return true;
    }
    static void Read(text::Cursor& cursor, void* data) { Store(data, text::ReadNumber<T>(cursor)); }
};

struct BoolType
{
    using Value = bool;

    template <class GetPlace>
    [[gnu::always_inline]] static bool TryRead(text::FastCursor& cursor, GetPlace getPlace)
    {
        bool value = false;
        const text::Found found = text::FindBool(cursor.FindNext(), cursor.GetEnd(), value);
        if (found.m_past == nullptr || !cursor.TryMove(found.m_last, found.m_past)) [[unlikely]]
            return false;
        Store(getPlace(), value);
        return true;
    }
    static void Read(text::Cursor& cursor, void* data) { Store(data, text::ReadBool(cursor)); }
};

struct TextType
{
    using Value = xstring;

    template <class GetPlace>
    [[gnu::always_inline]] static bool TryRead(text::FastCursor& cursor, GetPlace getPlace)
    {
        const char* const quote = cursor.FindNext();
        const text::Found found = text::FindVerbatim(quote, cursor.GetEnd());
        if (found.m_past == nullptr)
        {
            const text::Place behind = TryReadEscaped(cursor, quote, getPlace);
            if (behind.m_start == nullptr) [[unlikely]]
                return false;
            cursor.Load(behind);
            return true;
        }
        if (!cursor.TryMove(quote, found.m_past)) [[unlikely]]
            return false;
        static_cast<xstring*>(getPlace())->AssignFrom(quote + 1, found.m_past - quote - 2, cursor.GetEnd());
        return true;
    }
    static void Read(text::Cursor& cursor, void* data) { text::ReadString(cursor, *static_cast<xstring*>(data)); }

private:
    // The place behind it; null where there is none, or something is unusual.
    template <class GetPlace>
    [[gnu::noinline]] static text::Place TryReadEscaped(text::FastCursor cursor, const char* quote, GetPlace getPlace)
    {
        xstring contents;
        const bool isQuote = quote != cursor.GetEnd() && *quote == '"';
        const char* const past = isQuote ? text::Decode(quote, cursor.GetEnd(), contents) : nullptr;
        if (past == nullptr || !cursor.TryMove(quote, past))
            return {};
        static_cast<xstring*>(getPlace())->swap(contents);
        return cursor.GetPlace();
    }
};

// A type whose values are always read by its typed read.
template <class T, void (*ReadInto)(text::Cursor&, T&)>
struct OtherType
{
    using Value = T;

    template <class GetPlace>
    static bool TryRead(text::FastCursor&, GetPlace)
    {
        return false;
    }
    static void Read(text::Cursor& cursor, void* data) { ReadInto(cursor, *static_cast<T*>(data)); }
};

inline void ReadCharacter(text::Cursor& cursor, xchar& c)
{
    Store(&c, text::ReadChar(cursor));
}

// A 16-bit character is written as an 8-bit one.
inline void ReadCharacter16(text::Cursor& cursor, char16_t& c)
{
    Store(&c, static_cast<char16_t>(static_cast<int16>(static_cast<signed char>(text::ReadChar(cursor)))));
}

void ReadText16(text::Cursor& cursor, xstring16& dst);

// Calls use(a type of those above) for the type of a code, and returns what it does; of any other code useNone().
template <class Use, class UseNone>
[[gnu::always_inline]] constexpr auto WithSimpleType(ETypeByteCode code, Use use, UseNone useNone)
{
    switch (code)
    {
    case FT_BOOL: return use(BoolType());
    case FT_INT8: return use(NumberType<int8>());
    case FT_INT16: return use(NumberType<int16>());
    case FT_INT32: return use(NumberType<int32>());
    case FT_INT64: return use(NumberType<int64>());
    case FT_UINT8: return use(NumberType<uint8>());
    case FT_UINT16: return use(NumberType<uint16>());
    case FT_UINT32: return use(NumberType<uint32>());
    case FT_UINT64: return use(NumberType<uint64>());
    case FT_FLOAT32: return use(NumberType<float32>());
    case FT_FLOAT64: return use(NumberType<float64>());
    case FT_CHAR8: return use(OtherType<xchar, ReadCharacter>());
    case FT_CHAR16: return use(OtherType<char16_t, ReadCharacter16>());
    case FT_STRING8: return use(TextType());
    case FT_STRING16: return use(OtherType<xstring16, ReadText16>());
    default: return useNone(); // whatever nests, and what no data source can hold
    }
}

constexpr bool IsSimple(ETypeByteCode code)
{
    return FT_BOOL <= code && code <= FT_STRING16 && code != FT_INT128 && code != FT_UINT128;
}

// A value behind an operator, read in registers: the place behind it, or null where something is unusual. These are
// functions of their own, so that what nests has small frames.
using SimpleRead = text::Place (*)(text::Cursor& home, SubString op, void* data);

template <class Type>
text::Place TryReadBehind(text::Cursor& home, SubString op, void* data)
{
    text::FastCursor cursor(home, op);
    return Type::TryRead(cursor, [data] { return data; }) ? cursor.GetPlace() : text::Place();
}

// By the types' codes: of a simple one readOf(a type of those above), of any other `none`.
template <class Read, class ReadOf>
constexpr auto MakeSimpleReads(ReadOf readOf, Read none)
{
    std::array<Read, FT_STRING16 + 1> reads{};
    for (std::size_t code = 0; code < reads.size(); ++code)
        reads[code] = WithSimpleType(static_cast<ETypeByteCode>(code), readOf, [none] { return none; });
    return reads;
}

// Those up to the last simple one that are not simple are always unusual.
inline constexpr auto s_simpleReads =
    MakeSimpleReads<SimpleRead>([](auto type) -> SimpleRead { return TryReadBehind<decltype(type)>; },
                                [](text::Cursor&, SubString, void*) { return text::Place(); });

// The elements of a list that is not empty, behind its bracket, in a loop that does not look at the type again. An
// element is there, and as it is by default, before its value is looked at.
template <class Type>
text::Place ReadElementsOf(text::Cursor& home, SubString bracket, VectorOfByte& vector)
{
    using Value = typename Type::Value;
    const auto add = [&vector] { return ::new (static_cast<void*>(vector.Extend(sizeof(Value)))) Value(); };

    text::FastCursor cursor(home, bracket);
    do
    {
        if (!Type::TryRead(cursor, add)) [[unlikely]]
        {
            cursor.GoHomeToNext();
            Type::Read(home, add());
            cursor.Load();
        }
    } while (cursor.TakeCommaOrPassEnd<']'>());
    return cursor.GetPlace();
}

// By the types' codes; null for those that are not simple.
using SimpleElementsRead = text::Place (*)(text::Cursor& home, SubString bracket, VectorOfByte& vector);
extern const std::array<SimpleElementsRead, FT_STRING16 + 1> s_simpleElementsReads;

} // namespace kelm
