// Values of foreign types, such as those of the standard library. A list or map that is written replaces what is there,
// an optional and a pointer get a new value.

#include <klKelmScript/private/DataSourceReader.h>

#include <klKelmScript/private/DataSourceItems.h>
#include <klKelmScript/private/ReadingErrors.h>
#include <klKelmScript/private/SimplePayloads.h>
#include <klKelmScript/private/SimpleValues.h>
#include <klKelmScript/private/UnknownNameException.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/private/FastCursor.h>
#include <klUtils/text/private/FastReads.h>
#include <klUtils/text/private/TypedReads.h>

#include <cstddef>

namespace kelm
{

UnknownNameException::~UnknownNameException() = default;

// For readers that go on behind errors.
template <class Rules>
template <class ReadElement>
void BasicDataSourceReader<Rules>::ReadListItems(ssize_t count, const ReadElement& readElement, bool isMap)
{
    if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
        m_cursor.ThrowExpected("[");
    ReadItems(
        TOKEN_LEFT_SQUARE, count,
        [&](ssize_t i, const char*& item)
        {
            item = nullptr;
            readElement(i);
        },
        isMap);
}

namespace
{

// Foreign values are destroyed by their own destructors, which recurse on whatever stack the program has then; so texts
// may not nest them without limit.
constexpr int s_maxForeignDepth = 1000;

class Deeper
{
public:
    explicit Deeper(int& depth) : m_depth(depth) { ++m_depth; }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    ~Deeper() { --m_depth; }

private:
    int& m_depth;
};

// A variable for as long as it is needed, on the stack unless it is large.
class TemporaryVariable
{
public:
    explicit TemporaryVariable(const ReflectionByteCode& type) : m_type(type)
    {
        const ssize_t size = type.GetTypeSize();
        if (size > static_cast<ssize_t>(sizeof m_small))
            m_large.resize(size);
        ConstructReflectedVariable(m_type, Get());
    }
    TemporaryVariable(const TemporaryVariable&) = delete;
    TemporaryVariable& operator=(const TemporaryVariable&) = delete;
    ~TemporaryVariable() { DestructReflectedVariable(m_type, Get()); }

    void* Get() { return m_large.empty() ? m_small : m_large.data(); }

private:
    ReflectionByteCode m_type;
    alignas(std::max_align_t) char m_small[128];
    VectorOfByte m_large;
};

// What stands between two elements: true at the closing bracket, which is consumed, and past a comma otherwise.
bool PassEndOrComma(text::Cursor& cursor)
{
    const bool isEnd = cursor.Is(TOKEN_RIGHT_SQUARE);
    if (!isEnd && !cursor.Is(TOKEN_COMMA)) [[unlikely]]
        cursor.ThrowExpected(",");
    cursor.Next();
    return isEnd;
}

} // namespace

template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeign(const ForeignType& type, void* data)
{
    if (type.GetForm() == FF_TEXT)
        return ReadForeignText(*type.m_text, data);
    if (m_foreignDepth == s_maxForeignDepth) [[unlikely]]
        m_cursor.Throw("Lists, maps and optionals are nested more than ", s_maxForeignDepth, " deep");
    const Deeper deeper(m_foreignDepth);
    switch (type.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_TEXT: return; // GCOVR_EXCL_LINE: it has been read above
    case FF_LIST: return ReadForeignList(type, data);
    case FF_MAP: return ReadForeignMap(type, data);
    case FF_CHOICE: return ReadForeignChoice(type, data);
    }
}

// At a token of the text.
template <class Rules>
template <class... Parts>
void BasicDataSourceReader<Rules>::ThrowUnknownOf(std::span<const ConstStringZ> existing, SubString name,
                                                  const text::Cursor& at, const Parts&... parts) const
{
    if constexpr (Rules::s_goesOn)
        m_rules.m_errors->SetAbout(at.GetText().m_p1);
    throw UnknownNameException(MessageOf(parts...), at.GetToken(), name, existing);
}

// By its name or by its value, as those of 32 bits.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeignEnumerator(const ForeignTextFns& fns, void* data)
{
    const SubString written = m_cursor.GetText();
    if (m_cursor.Is(TOKEN_INTEGER))
    {
        const int64 value = m_cursor.GetToken().GetLiteralInt64();
        if (!fns.SetNumber(data, value))
            ThrowUnknown("value", NumberText(value), "enum", fns.m_what, written.m_p1);
    }
    else if (!m_cursor.Is(TOKEN_IDENTIFIER))
        m_cursor.ThrowExpected("identifier");
    else if (!fns.Set(data, written))
        ThrowUnknownOf({fns.m_names, static_cast<std::size_t>(fns.m_numNames)}, written, m_cursor, "Unknown member '",
                       written, "' of enum ", fns.m_what);
    m_cursor.Next();
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeignText(const ForeignTextFns& fns, void* data)
{
    if (fns.m_isIdentifier)
        return ReadForeignEnumerator(fns, data);
    if (!m_cursor.IsQuoted()) [[unlikely]]
        m_cursor.ThrowExpected(fns.m_what);
    const auto take = [&](SubString contents)
    {
        if (fns.Set(data, contents)) [[likely]]
            return;
        if (fns.IsBeyondRange != nullptr && fns.IsBeyondRange(contents))
            m_cursor.Throw("Value ", m_cursor.GetText(), " is out of range of ", fns.m_what);
        m_cursor.ThrowExpected(fns.m_what);
    };
    if (m_cursor.IsVerbatim()) [[likely]]
    {
        const SubString literal = m_cursor.GetText();
        take({literal.m_p1 + 1, literal.m_p2 - 1});
    }
    else
    {
        xstring contents;
        text::Cursor copy = static_cast<const text::Cursor&>(m_cursor);
        text::ReadString(copy, contents);
        take(contents);
    }
    m_cursor.Next();
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeignList(const ForeignType& type, void* list)
{
    const ForeignListFns& fns = *type.m_list;
    if (fns.m_isFixed)
    {
        if constexpr (Rules::s_goesOn)
            return ReadListItems(fns.Count(list),
                                 [&](ssize_t i) { ReadVariable(type.GetElementType(i), fns.At(list, i)); });
        m_cursor.Pass(TOKEN_LEFT_SQUARE, "[");
        for (ssize_t i = 0; i < fns.Count(list); ++i)
        {
            if (i > 0)
                m_cursor.Pass(TOKEN_COMMA, ",");
            m_rules.AtIndex([i] { return i; }, [&] { ReadVariable(type.GetElementType(i), fns.At(list, i)); });
        }
        return m_cursor.Pass(TOKEN_RIGHT_SQUARE, "]");
    }
    const ReflectionByteCode elementType = type.GetElementType(0);
    if (fns.Count(list) > 0)
    {
        m_cursor.Show();
        fns.Clear(list);
    }
    if (fns.AppendCopies != nullptr)
    {
        m_copies.clear();
        ReadVector(elementType, m_copies);
        if (!m_copies.empty())
            fns.AppendCopies(list, m_copies.data(), m_copies.size());
        return;
    }
    if constexpr (Rules::s_goesOn)
        return ReadListItems(s_anyNumber,
                             [&](ssize_t)
                             {
                                 m_cursor.Show();
                                 ReadVariable(elementType, fns.Append(list));
                             });
    if (!PassListStart())
        return;
    if (const ReflectedClass* const rc = elementType.GetReflectedClass())
    {
        const ClassShape shape(*rc);
        do
        {
            m_cursor.Show();
            auto* const element = static_cast<char*>(fns.Append(list));
            m_rules.AtIndex([&] { return fns.Count(list) - 1; }, [&] { ReadInstance(shape, element); });
        } while (!PassEndOrComma(m_cursor));
        return;
    }
    do
    {
        m_cursor.Show();
        void* const element = fns.Append(list);
        m_rules.AtIndex([&] { return fns.Count(list) - 1; }, [&] { ReadVariable(elementType, element); });
    } while (!PassEndOrComma(m_cursor));
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeignMap(const ForeignType& type, void* map)
{
    const ForeignMapFns& fns = *type.m_map;
    const ReflectionByteCode keyType = type.GetPartType(0);
    m_cursor.Show();
    fns.Clear(map);
    const bool hasPayload = type.m_numParts == 2;
    if constexpr (Rules::s_goesOn)
        return ReadListItems(
            s_anyNumber,
            [&](ssize_t)
            {
                m_cursor.Show();
                TemporaryVariable key(keyType);
                const char* const keyPlace = m_cursor.GetText().m_p1;
                ReadVariable(keyType, key.Get());
                const SubString writtenKey(keyPlace, m_cursor.GetText().m_p1);
                if (hasPayload)
                    m_cursor.Pass(TOKEN_MINUS_GREATER, "->");
                m_cursor.Show();
                void* const payload = fns.Insert(map, key.Get());
                if (hasPayload)
                    m_rules.AtKey(writtenKey, [&] { ReadVariable(type.GetPartType(1), payload); });
            },
            hasPayload);
    if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
        m_cursor.ThrowExpected("[");
    text::FastCursor cursor(m_cursor, m_cursor.GetOperator());
    if (!cursor.TryPassEmpty<']'>())
        ReadForeignEntries(type, map, cursor);
    cursor.GoHome();
}

template <class Rules>
inline void BasicDataSourceReader<Rules>::ReadForeignEntries(const ForeignType& type, void* map,
                                                             text::FastCursor& cursor)
{
    const ForeignMapFns& fns = *type.m_map;
    const ReflectionByteCode keyType = type.GetPartType(0);
    const ReflectionByteCode payloadType = type.m_numParts == 2 ? type.GetPartType(1) : ReflectionByteCode();
    // Where nobody looks between, a simple payload is read before it is inserted.
    const SimplePayloadRead readSimple =
        Rules::s_isRuled && payloadType.m_bc != nullptr ? GetSimplePayloadRead(payloadType.GetCode()) : nullptr;
    do
    {
        ShowBehind(cursor);
        TemporaryVariable key(keyType);
        const char* const keyPlace = cursor.FindNext();
        cursor.Load(ReadOneBehind(cursor, keyType, static_cast<char*>(key.Get())));
        const SubString writtenKey(keyPlace, cursor.GetStart());
        if (payloadType.m_bc == nullptr)
        {
            if constexpr (!Rules::s_isRuled)
            {
                cursor.GoHome();
                m_cursor.Show();
            }
            fns.Insert(map, key.Get());
            continue;
        }
        cursor.TakeArrowOrThrow();
        text::Place behind = {};
        if (readSimple != nullptr)
            behind = readSimple(m_cursor, cursor.GetOperator(), {fns, map, key.Get()});
        if (behind.m_start == nullptr) [[unlikely]]
        {
            cursor.RequireNext();
            ShowBehind(cursor);
            auto* const payload = static_cast<char*>(fns.Insert(map, key.Get()));
            behind = m_rules.AtKey(writtenKey, [&, cursor] { return ReadOneBehind(cursor, payloadType, payload); });
        }
        cursor.Load(behind);
    } while (cursor.TakeCommaOrPassEnd<']'>());
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadForeignChoice(const ForeignType& type, void* choice)
{
    int32 index = 0;
    if (!type.IsOptional())
    {
        const text::Cursor before = static_cast<const text::Cursor&>(m_cursor);
        const xstring written = text::ReadPath(m_cursor);
        index = FindForeignAlternative(type, written);
        if (index < 0)
            ThrowUnknownOf({type.m_choice->m_names, static_cast<std::size_t>(type.m_numParts)}, written, before,
                           "Unknown alternative '", written, "' of a variant");
    }
    else if (m_cursor.IsText("null"))
    {
        m_cursor.Show();
        type.m_choice->Reset(choice);
        return m_cursor.Next();
    }
    m_cursor.Show();
    ReadVariable(type.GetPartType(index), type.m_choice->Emplace(choice, index));
}

// --- Behind an operator that the cursor need not have come to
//
// Values of the forms that are nearly always written: the place behind one. Null where anything is unusual, with
// nothing done that reading it by the cursor does not do again.

// A quoted text or an enumerator.
text::Place TryReadForeignText(text::Cursor& home, SubString op, const ForeignTextFns& fns, void* data)
{
    text::FastCursor cursor(home, op);
    const char* const next = cursor.FindNext();
    const text::Found found =
        fns.m_isIdentifier ? text::FindName(next, cursor.GetEnd()) : text::FindVerbatim(next, cursor.GetEnd());
    const int quote = fns.m_isIdentifier ? 0 : 1;
    if (found.m_past == nullptr || !cursor.TryMove(next, found.m_past) ||
        !fns.Set(data, {next + quote, found.m_past - quote})) [[unlikely]]
        return {};
    return cursor.GetPlace();
}

template <class Rules>
text::Place BasicDataSourceReader<Rules>::TryReadForeign(text::FastCursor cursor, const ForeignType& type, char* data)
{
    if constexpr (Rules::s_goesOn)
        return {}; // GCOVR_EXCL_LINE: such a reader reads nothing in registers
    if (type.GetForm() == FF_TEXT)
        return TryReadForeignText(m_cursor, cursor.GetOperator(), *type.m_text, data);
    if (m_foreignDepth == s_maxForeignDepth) [[unlikely]]
        return {};
    const char* const next = cursor.FindNext();
    const char first = next != cursor.GetEnd() ? *next : '\0';
    if (type.GetForm() == FF_LIST && !type.m_list->m_isFixed && first == '[')
    {
        if (type.m_list->Count(data) > 0)
        {
            ShowBehind(cursor);
            type.m_list->Clear(data);
        }
        const SubString bracket(next, next + 1);
        return type.m_list->AppendCopies != nullptr ? ReadForeignCopies(bracket, type, data)
                                                    : ReadForeignElements(bracket, type, data);
    }
    if (type.IsOptional() && first != 'n' && !IsStackLow())
    {
        const Deeper deeper(m_foreignDepth);
        ShowBehind(cursor);
        return ReadOneBehind(cursor, type.GetPartType(0), static_cast<char*>(type.m_choice->Emplace(data, 0)));
    }
    return {};
}

// From the bracket on, of an empty list whose elements are copied as bytes. They do not nest.
template <class Rules>
inline text::Place BasicDataSourceReader<Rules>::ReadForeignCopies(SubString bracket, const ForeignType& type,
                                                                   void* list)
{
    text::FastCursor cursor(m_cursor, bracket);
    if (cursor.TryPassEmpty<']'>())
        return cursor.GetPlace();
    m_copies.clear();
    const ReflectionByteCode elementType = type.GetElementType(0);
    const text::Place behind =
        IsSimple(elementType.GetCode())
            ? m_rules.AtIndex([&] { return GetLastIndex(elementType, m_copies); },
                              [&] { return s_simpleElementsReads[elementType.GetCode()](m_cursor, bracket, m_copies); })
            : ReadElements(bracket, elementType, m_copies);
    type.m_list->AppendCopies(list, m_copies.data(), m_copies.size());
    return behind;
}

// The same of any elements. A null place, with nothing done, where there is no stack for them.
template <class Rules>
inline text::Place BasicDataSourceReader<Rules>::ReadForeignElements(SubString bracket, const ForeignType& type,
                                                                     void* list)
{
    if (IsStackLow()) [[unlikely]]
        return {};
    const Deeper deeper(m_foreignDepth);
    const ForeignListFns& fns = *type.m_list;
    const ReflectionByteCode elementType = type.GetElementType(0);
    text::FastCursor cursor(m_cursor, bracket);
    if (cursor.TryPassEmpty<']'>())
        return cursor.GetPlace();
    const auto readEach = [&](const auto& readOne) __attribute__((always_inline))
    {
        text::FastCursor at = cursor;
        do
        {
            ShowBehind(at);
            auto* const element = static_cast<char*>(fns.Append(list));
            at.Load(m_rules.AtIndex([&] { return fns.Count(list) - 1; }, [&, at] { return readOne(at, element); }));
        } while (at.TakeCommaOrPassEnd<']'>());
        return at.GetPlace();
    };
    const ReflectedClass* const rc = elementType.GetReflectedClass();
    if (rc == nullptr)
        return readEach([&](const text::FastCursor& at, char* element)
                        { return ReadOneBehind(at, elementType, element); });
    const ClassShape shape(*rc);
    return readEach(
        [&](const text::FastCursor& at, char* element)
        {
            const char* const next = at.FindNext();
            if (next != at.GetEnd() && *next == '{') [[likely]]
                return ReadMembers({next, next + 1}, shape, element);
            at.GoHomeToNext();
            ReadInstance(shape, element);
            return m_cursor.GetPlace();
        });
}

template text::Place BasicDataSourceReader<ExactRules>::TryReadForeign(text::FastCursor, const ForeignType&, char*);
template text::Place BasicDataSourceReader<ProgramRules>::TryReadForeign(text::FastCursor, const ForeignType&, char*);
template text::Place BasicDataSourceReader<GoingOnRules>::TryReadForeign(text::FastCursor, const ForeignType&, char*);
template text::Place BasicDataSourceReader<ProgramGoingOnRules>::TryReadForeign(text::FastCursor, const ForeignType&,
                                                                                char*);
template void BasicDataSourceReader<ExactRules>::ReadForeign(const ForeignType&, void*);
template void BasicDataSourceReader<ProgramRules>::ReadForeign(const ForeignType&, void*);
template void BasicDataSourceReader<GoingOnRules>::ReadForeign(const ForeignType&, void*);
template void BasicDataSourceReader<ProgramGoingOnRules>::ReadForeign(const ForeignType&, void*);

} // namespace kelm
