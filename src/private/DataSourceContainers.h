#pragma once

// Lists, maps and variants of data sources, for DataSourceReader.cpp, which includes this behind all that they need.

#include <klKelmScript/private/DataSourceReader.h>

namespace kelm
{

// --- Lists -----------------------------------------------------------------------------------------------------------

// Opens a bracketed list; false where it is empty, which is consumed.
template <class Rules>
bool BasicDataSourceReader<Rules>::PassListStart()
{
    m_cursor.Pass(TOKEN_LEFT_SQUARE, "[");
    if (!m_cursor.Is(TOKEN_RIGHT_SQUARE))
        return true;
    m_cursor.Next();
    return false;
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadArray(const ReflectionByteCode& elementType, ssize_t count, void* data)
{
    const ssize_t size = count;
    KELM_ASSERT(size >= 0);
    if (size > 0)
        KELM_ASSERT(data);
    const ssize_t elementSize = elementType.GetTypeSize();
    if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
        m_cursor.ThrowExpected("[");
    if constexpr (Rules::s_goesOn)
    {
        ReadItems(TOKEN_LEFT_SQUARE, size,
                  [&](ssize_t i, const char*& item)
                  {
                      item = nullptr;
                      ReadValue(elementType, static_cast<char*>(data) + i * elementSize);
                  });
        return;
    }
    FastCursor cursor(m_cursor, m_cursor.GetOperator());
    for (ssize_t i = 0; i < size; ++i)
    {
        if (i > 0)
            cursor.TakeOperatorOrThrow<','>();
        char* const element = static_cast<char*>(data) + i * elementSize;
        if constexpr (Rules::s_isRuled)
            cursor.Load(m_rules.AtIndex([i] { return i; },
                                        [&, cursor] { return ReadOneBehind(cursor, elementType, element); }));
        else
            cursor.Load(ReadOneBehind(cursor, elementType, element));
    }
    if (size == 0)
        cursor.MovePastOperator();
    cursor.TakeOperatorOrThrow<']'>();
    cursor.MovePastOperator();
    cursor.GoHome();
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadVector(const ReflectionByteCode& elementType, VectorOfByte& vector)
{
    if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
        m_cursor.ThrowExpected("[");
    if constexpr (Rules::s_goesOn)
        return ReadList(elementType, vector);
    m_cursor.MoveTo(ReadElements(m_cursor.GetOperator(), elementType, vector));
}

// Each kind of element has a loop that looks at its type once.
template <class Rules>
[[gnu::always_inline]] inline Place BasicDataSourceReader<Rules>::ReadAllElements(SubString bracket,
                                                                                  const ReflectionByteCode& elementType,
                                                                                  VectorOfByte& vector)
{
    FastCursor cursor(m_cursor, bracket);
    if (cursor.TryPassEmpty<']'>())
        return cursor.GetPlace();
    ReflectionByteCode type = elementType;
    if (!IsSimple(type.GetCode()) && !IsUnderlying(type.GetCode()))
    {
        cursor.GoHomeToNext();
        type.AdvanceToUnderlyingType2();
    }
    if (IsSimple(type.GetCode()))
        return s_simpleElementsReads[type.GetCode()](m_cursor, bracket, vector);
    if (const ReflectedClass* const rc = type.GetReflectedClass(); rc != nullptr && rc->m_size > 0)
        return ReadInstances(bracket, *rc, vector);
    if (const ReflectedEnum* const r = type.GetReflectedEnum())
        return ReadEnumerators(bracket, *r, vector);
    return ReadOthers(bracket, type, vector);
}

template <class Rules>
Place BasicDataSourceReader<Rules>::ReadElements(SubString bracket, const ReflectionByteCode& elementType,
                                                 VectorOfByte& vector)
{
    if constexpr (Rules::s_isRuled)
    {
        Clear(elementType, vector);
        FastCursor cursor(m_cursor, bracket);
        if (cursor.TryPassEmpty<']'>())
            return cursor.GetPlace();
        return m_rules.AtIndex([&] { return GetLastIndex(elementType, vector); },
                               [&] { return ReadAllElements(bracket, elementType, vector); });
    }
    else
    {
        return ReadAllElements(bracket, elementType, vector);
    }
}

template <class Rules>
template <ssize_t MostLists>
Place BasicDataSourceReader<Rules>::ReadInstances(SubString bracket, const ReflectedClass& rc, VectorOfByte& vector)
{
    const ClassShape shape(rc);
    FastCursor cursor(m_cursor, bracket);
    if (cursor.TryPassEmpty<']'>())
        return cursor.GetPlace();
    return ReadBodies<MostLists>(bracket, shape, &vector);
}

template <class Rules>
Place BasicDataSourceReader<Rules>::ReadEnumerators(SubString bracket, const ReflectedEnum& r, VectorOfByte& vector)
{
    FastCursor cursor(m_cursor, bracket);
    do
    {
        int32 value = 0;
        if (TryReadEnumerator(cursor, r, &value)) [[likely]]
            Store(vector.Extend(sizeof value), value);
        else
        {
            cursor.GoHomeToNext();
            char* const element = vector.Extend(sizeof value);
            Store(element, value);
            ReadEnumerator(r, element);
            cursor.Load();
        }
    } while (cursor.TakeCommaOrPassEnd<']'>());
    return cursor.GetPlace();
}

// Lists in lists need nothing to be constructed; whatever else there is comes seldom.
template <class Rules>
Place BasicDataSourceReader<Rules>::ReadOthers(SubString bracket, const ReflectionByteCode& type, VectorOfByte& vector)
{
    if (IsStackLow())
        return CallOnFreshSegment([=, this, &vector] { return ReadOthers(bracket, type, vector); });
    FastCursor cursor(m_cursor, bracket);
    do
    {
        const char* const next = cursor.FindNext();
        if (type.GetCode() == FT_VECTOR && next != cursor.GetEnd() && *next == '[')
        {
            auto* const element = ::new (static_cast<void*>(vector.Extend(sizeof(VectorOfByte)))) VectorOfByte;
            cursor.Load(ReadElements({next, next + 1}, type.GetTypeBehindByte(), *element));
            continue;
        }
        cursor.GoHomeToNext();
        m_cursor.Show();
        ReadValue(type, PushBackDefaultConstructedElementOntoReflectedVector(type, &vector));
        cursor.Load();
    } while (cursor.TakeCommaOrPassEnd<']'>());
    return cursor.GetPlace();
}

// --- Maps ------------------------------------------------------------------------------------------------------------

namespace
{

// Room for bytes of any number: on the stack unless they are many. They are zero, and nothing in them is destroyed.
class ByteBuffer
{
public:
    explicit ByteBuffer(ssize_t size)
    {
        if (size > static_cast<ssize_t>(sizeof m_small))
            m_large.resize(size);
    }
    char* Get() { return m_large.empty() ? m_small : m_large.data(); }

private:
    alignas(std::max_align_t) char m_small[64] = {};
    VectorOfByte m_large;
};

} // namespace

template <class Rules>
void BasicDataSourceReader<Rules>::ReadMap(const ReflectionByteCode& mapType, void* map)
{
    const ReflectionByteCode rbc = mapType;
    // The key goes with the map's own function table; those of maps in the payload follow it.
    ReflectionByteCode keyType = rbc.GetElementType();
    keyType.m_mapOrSetFns = rbc.m_mapOrSetFns;
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();
    KELM_ASSERT(rbc.m_mapOrSetFns);
    KELM_ASSERT(rbc.m_mapOrSetFns->mapFns);
    payloadType.m_mapOrSetFns = rbc.m_mapOrSetFns + 1;
    const MapFns& mapFns = *rbc.m_mapOrSetFns->mapFns;

    const ssize_t keySize = keyType.GetTypeSize();
    KELM_ASSERT(keySize > 0);
    ByteBuffer buffer(keySize);
    char* const key = buffer.Get(); // one key variable for the whole map, which is not destroyed at the end
    m_cursor.Show();
    if constexpr (!Rules::s_isRuled)
        ConstructReflectedVariable(keyType, key);
    else if (mapFns.Count(map) > 0)
        Renew(rbc, map);

    if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
        m_cursor.ThrowExpected("[");
    const MapEntryTypes types = {mapFns, keyType, payloadType};
    if constexpr (Rules::s_goesOn)
        return ReadItems(
            TOKEN_LEFT_SQUARE, s_anyNumber,
            [&](ssize_t, const char*& item)
            {
                item = nullptr;
                [[maybe_unused]] const typename Rules::KeyScope fresh(keyType, key);
                ReadValue(keyType, key);
                m_cursor.Pass(TOKEN_MINUS_GREATER, "->");
                m_cursor.Show();
                ReadValue(payloadType, InsertPayload(types, map, key));
            },
            true);
    FastCursor cursor(m_cursor, m_cursor.GetOperator());
    if (!cursor.TryPassEmpty<']'>())
        ReadEntries(types, map, key, cursor);
    cursor.GoHome();
}

// The payload under a key. By rules it is a new one, whatever was there.
template <class Rules>
char* BasicDataSourceReader<Rules>::InsertPayload(const MapEntryTypes& types, void* map, const void* key)
{
    [[maybe_unused]] const ssize_t count = Rules::s_isRuled ? types.m_fns.Count(map) : 0;
    void* const payload = types.m_fns.Insert(map, key);
    if constexpr (Rules::s_isRuled)
        if (types.m_fns.Count(map) == count)
            Renew(types.m_payload, payload);
    return static_cast<char*>(payload);
}

// From the bracket on, behind which there are some.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadEntries(const MapEntryTypes& types, void* map, char* key, FastCursor& cursor)
{
    // Where nobody looks between, a simple payload is read before it is inserted.
    const SimplePayloadRead readSimple =
        Rules::s_isRuled || types.m_fns.m_insertsAlone ? GetSimplePayloadRead(types.m_payload.GetCode()) : nullptr;
    do
    {
        [[maybe_unused]] const typename Rules::KeyScope fresh(types.m_key, key);
        const char* const keyPlace = cursor.FindNext();
        cursor.Load(ReadOneBehind(cursor, types.m_key, key));
        const SubString writtenKey(keyPlace, cursor.GetStart());
        cursor.TakeArrowOrThrow();
        Place behind = {};
        if (readSimple != nullptr)
            behind = readSimple(m_cursor, cursor.GetOperator(), {types.m_fns, map, key});
        if (behind.m_start == nullptr) [[unlikely]]
        {
            cursor.RequireNext();
            ShowBehind(cursor);
            char* const payload = InsertPayload(types, map, key);
            behind = m_rules.AtKey(writtenKey, [&, cursor] { return ReadOneBehind(cursor, types.m_payload, payload); });
        }
        cursor.Load(behind);
    } while (cursor.TakeCommaOrPassEnd<']'>());
}

// --- Variants --------------------------------------------------------------------------------------------------------

template <class Rules>
void BasicDataSourceReader<Rules>::ReadVariant(const ReflectedVariant& rv, void* data)
{
    const char* const place = m_cursor.GetText().m_p1;
    const xstring written = text::ReadPath(m_cursor);
    const int32 i = FindAlternative(rv, written, IsPathSuffix);
    if (i < 0)
        ThrowUnknown("member", written, "variant", rv.m_name, place);
    m_cursor.Show();
    void* value = nullptr;
    if constexpr (Rules::s_isRuled)
    {
        ByteBuffer before(rv.m_size); // variants move as bytes
        std::memcpy(before.Get(), data, static_cast<std::size_t>(rv.m_size));
        value = SwitchAlternative(rv, i, data);
        DestroyAlternative(rv, before.Get());
    }
    else
    {
        value = SwitchAlternative(rv, i, data);
    }
    ReadValue({rv.m_fields[i].m_bc, rv.m_stringTable}, value);
}

} // namespace kelm
