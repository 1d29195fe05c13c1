#pragma once

// Class bodies of data sources, for DataSourceReader.cpp, which includes this behind all that they need.

#include <klKelmScript/private/DataSourceReader.h>

namespace kelm
{

// --- Class bodies ----------------------------------------------------------------------------------------------------

template <class Rules>
BasicDataSourceReader<Rules>::ClassShape::ClassShape(const ReflectedClass& rc) : m_rc(&rc), m_model(FindClassModel(rc))
{
    static constexpr KnownText s_noName;
    const FieldIndex* const index = m_model.m_class != nullptr ? GetFieldIndex(*m_model.m_class) : nullptr;
    m_names = index != nullptr ? index->GetPresentModelNames() : &s_noName;
    m_numNames = index != nullptr ? m_model.m_class->m_numModelFields : 0;
}

template <class Rules>
ReflectionByteCode BasicDataSourceReader<Rules>::ClassShape::GetModelType(ssize_t i) const
{
    const ReflectedModelField& field = m_model.m_class->m_modelFields[i];
    return {field.m_bc, m_model.m_class->m_stringTable, field.m_mapOrSetFns};
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadClass(const ReflectedClass& rc, void* data)
{
    KELM_ASSERT(data);
    ReadInstance(ClassShape(rc), static_cast<char*>(data));
}

// An optional class name and a body.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadInstance(const ClassShape& shape, char* data)
{
    if (m_cursor.Is(TOKEN_IDENTIFIER))
        ReadClassName(*shape.m_rc);
    if constexpr (Rules::s_goesOn)
        if (m_cursor.Is(TOKEN_LEFT_CURLY) || m_cursor.Is(TOKEN_LEFT_PAREN))
            return ReadBody(shape, data);
    if (m_cursor.Is(TOKEN_LEFT_CURLY))
        m_cursor.MoveTo(ReadMembers(m_cursor.GetOperator(), shape, data));
    else if (m_cursor.Is(TOKEN_LEFT_PAREN))
        m_cursor.MoveTo(ReadFields(m_cursor.GetOperator(), shape, data));
    else
        m_cursor.ThrowExpected("{");
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadClassName(const ReflectedClass& rc)
{
    const char* const place = m_cursor.GetText().m_p1;
    const xstring written = text::ReadPath(m_cursor);
    if (!IsWrittenSuffix(rc.m_name, written))
        ThrowAbout(place, "Expected ", rc.m_name, " when read ", written);
}

// A positional body.
template <class Rules>
Place BasicDataSourceReader<Rules>::ReadFields(SubString parenthesis, const ClassShape& shape, char* data)
{
    if (IsStackLow())
        return CallOnFreshSegment([&, parenthesis, data] { return ReadFields(parenthesis, shape, data); });
    FastCursor cursor(m_cursor, parenthesis);
    bool isFirst = true;
    const auto read = [&](const ReflectionByteCode& type, char* field, const FieldFacts& facts)
    {
        if (!isFirst)
            cursor.template TakeOperatorOrThrow<','>();
        isFirst = false;
        cursor.Load(ReadMember(cursor, type, field, shape, facts));
    };
    if (shape.m_model.m_class != nullptr)
        for (ssize_t i = 0; i < GetModelFieldCount(*shape.m_model.m_class); ++i)
            if (const ReflectedModelField& field = shape.m_model.m_class->m_modelFields[i]; IsPresent(field))
                read(shape.GetModelType(i), data + shape.m_model.m_offset + field.m_offset,
                     FieldFacts(*shape.m_model.m_class, i));
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(*shape.m_rc); ++i)
        read(shape.GetOrdinaryType(i), data + shape.m_rc->m_fields[i].m_offset, FieldFacts(shape.m_rc->m_fields[i]));
    if (isFirst)
        cursor.MovePastOperator();
    cursor.TakeOperatorOrThrow<')'>();
    cursor.MovePastOperator();
    return cursor.GetPlace();
}

template <class Rules>
Place BasicDataSourceReader<Rules>::ReadMembers(SubString curlyBracket, const ClassShape& shape, char* data)
{
    return ReadBodies<s_listsInBody>(curlyBracket, shape, data);
}

template <class Rules>
template <ssize_t MostLists>
[[gnu::noinline]] Place BasicDataSourceReader<Rules>::ReadBodiesOnFreshSegment(SubString bracket,
                                                                               const ClassShape& shape, void* target)
{
    return CallOnFreshSegment([=, this, &shape] { return ReadBodies<MostLists>(bracket, shape, target); });
}

// A named body, or the list of instances behind a square bracket, which is not empty; and the lists of instances
// inside, with a call for every so many of them that nest. Members are looked for behind the last one first: in
// declaration order each is found with one comparison, and where its name ends is known with it.
template <class Rules>
template <ssize_t MostLists>
Place BasicDataSourceReader<Rules>::ReadBodies(SubString bracket, const ClassShape& shape, void* target)
{
    if (IsStackLow()) [[unlikely]]
        return ReadBodiesOnFreshSegment<MostLists>(bracket, shape, target);
    FastCursor cursor(m_cursor, bracket);
    Body body(shape, static_cast<char*>(target));
    OpenLists<MostLists> lists;
    [[maybe_unused]] Members written;
    const bool isList = *bracket.m_p1 == '[';
    if (isList)
    {
        lists.Push({static_cast<VectorOfByte*>(target), body});
        EnterElement(cursor, body, lists);
        if (lists.IsEmpty())
            return cursor.GetPlace();
    }
    else
        cursor.MovePastOperator();
    while (true)
    {
        FoundName name{body.m_expected, body.m_expected->FindEnd(cursor.GetStart(), cursor.GetEnd())};
        const bool isExpected = name.m_past != nullptr &&
                                (name.m_past == cursor.GetEnd() || !HasProperty(*name.m_past, text::CHAR_IDENTIFIER));
        if (!isExpected && cursor.IsAt<'}'>())
        {
            if constexpr (Rules::s_isRuled)
                RequireMembers(written, body.m_shape, cursor.GetStart());
            cursor.TakeOperator<'}'>();
            cursor.MovePastOperator();
            if (lists.IsEmpty())
                break;
            if (cursor.template TakeCommaOrPassEnd<']'>())
                EnterElement(cursor, body, lists);
            else
                body = lists.Pop().m_outer;
            if (isList && lists.IsEmpty())
                break;
            written = {};
            continue;
        }
        if (!isExpected) [[unlikely]]
            name = FindName(cursor.GetStart(), cursor.GetEnd(), body.m_shape);
        if (name.m_past != nullptr) [[likely]]
        {
            const ssize_t i = name.m_known - body.m_shape.m_names;
            if constexpr (Rules::s_isRuled)
                NoteMember(written, i, body.m_shape, cursor.GetStart());
            if (!cursor.template TryTakeOperatorBehind<'='>(name.m_past)) [[unlikely]]
            {
                PassName(cursor);
                cursor.LoadOperator();
            }
            body.m_expected = name.m_known + 1;
            const ReflectedClass& model = *body.m_shape.m_model.m_class;
            char* const member = body.m_data + body.m_shape.m_model.m_offset + model.m_modelFields[i].m_offset;
            const ReflectionByteCode type = body.m_shape.GetModelType(i);
            if constexpr (Rules::s_isRuled)
                cursor.Load(ReadMember(cursor, type, member, body.m_shape, FieldFacts(model, i)));
            else if (const ReflectedClass* const rc = FindListedClass(cursor, type))
                ReadListOf(*rc, *reinterpret_cast<VectorOfByte*>(member), cursor, body, lists);
            else
                ReadBehind(cursor, type, member);
            continue;
        }
        const FoundField found =
            FindField(cursor, body.m_shape, body.m_expected - body.m_shape.m_names, body.m_nextField, written);
        if constexpr (Rules::s_isRuled)
            if (found.m_type.m_bc == nullptr)
            {
                cursor.Load();
                continue;
            }
        cursor.LoadOperator();
        if (found.m_nextModelField <= body.m_shape.m_numNames)
            body.m_expected = body.m_shape.m_names + found.m_nextModelField;
        body.m_nextField = found.m_nextField;
        cursor.Load(ReadMember(cursor, found.m_type, body.m_data + found.m_offset, body.m_shape, found.m_facts));
    }
    return cursor.GetPlace();
}

// The list of instances that follows: up to its first body, or past it.
template <class Rules>
template <class Lists>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::ReadListOf(const ReflectedClass& rc,
                                                                            VectorOfByte& vector, FastCursor& cursor,
                                                                            Body& body, Lists& lists)
{
    const char* const bracket = cursor.FindNext();
    if (lists.IsFull())
        return cursor.Load(ReadInstances<s_listsInList>({bracket, bracket + 1}, rc, vector));
    lists.Push({&vector, body});
    if (&rc != body.m_shape.m_rc)
        body.m_shape = ClassShape(rc);
    cursor.template TakeOperatorAt<'['>(bracket);
    if (cursor.template TryPassEmpty<']'>())
        body = lists.Pop().m_outer;
    else
        EnterElement(cursor, body, lists);
}

// From the operator before an element of the innermost list into its body. Where no body follows any more: past the
// list, back to the body in which it stands.
template <class Rules>
template <class Lists>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::EnterElement(FastCursor& cursor, Body& body,
                                                                              Lists& lists)
{
    do
    {
        const bool isBody = cursor.template TryGoHomeToNext<'{'>();
        if (!isBody) [[unlikely]]
            cursor.GoHomeToNext();
        m_cursor.ShowBehind(cursor.GetOperator());
        char* const instance =
            static_cast<char*>(PushBackDefaultConstructedInstance(*body.m_shape.m_rc, *lists.GetLast().m_vector));
        if (isBody) [[likely]]
        {
            cursor.LoadOperator();
            cursor.MovePastOperator();
            return body.Begin(instance);
        }
        ReadInstance(body.m_shape, instance);
        cursor.Load();
    } while (cursor.template TakeCommaOrPassEnd<']'>());
    body = lists.Pop().m_outer;
}

// To the equals sign behind the name at which the cursor is.
template <class Rules>
void BasicDataSourceReader<Rules>::PassName(const FastCursor& cursor)
{
    cursor.GoHome().Next();
    if (!m_cursor.Is(TOKEN_EQUAL))
        m_cursor.ThrowExpected("=");
}

// The model field of the name that begins there, if that is one that a class's index has; for a name that is not the
// expected one.
template <class Rules>
[[gnu::noinline]] typename BasicDataSourceReader<Rules>::FoundName BasicDataSourceReader<Rules>::FindName(
    const char* p, const char* end, const ClassShape& shape)
{
    const ReflectedClass* const model = shape.m_model.m_class;
    const FieldIndex* const index = model != nullptr ? GetFieldIndex(*model) : nullptr;
    if (index == nullptr || p == end || text::StartOf(*p) != text::Start::Identifier)
        return {};
    const char* const past = text::SkipName(p, end);
    const FieldEntry* const entry = end - p >= s_maxShortText && past - p <= s_maxShortText
                                        ? &index->m_fields.FindWord(LoadWord<uint64>(p) & s_firstCharacters[past - p])
                                        : index->m_fields.Find({p, past});
    if (entry == nullptr || entry->m_firstPresentModel < 0)
        return {};
    return {shape.m_names + entry->m_firstPresentModel, past};
}

// The field whose name is at the cursor, which is taken past it, to the equals sign. Those expected next follow it.
template <class Rules>
typename BasicDataSourceReader<Rules>::FoundField BasicDataSourceReader<Rules>::FindField(
    const FastCursor& cursor, const ClassShape& shape, ssize_t nextModelField, ssize_t nextField,
    [[maybe_unused]] Members& written)
{
    const SubString name = text::ReadIdentifier(cursor.GoHome());
    const ReflectedClass* const model = shape.m_model.m_class;
    FoundField found{{}, {}, 0, nextModelField, nextField};
    if (const ssize_t i = model != nullptr ? FindPresentModelField(*model, name, nextModelField) : -1; i >= 0)
    {
        if constexpr (Rules::s_isRuled)
            NoteMember(written, i, shape, name.m_p1);
        found.m_facts = FieldFacts(*model, i);
        found.m_type = shape.GetModelType(i);
        found.m_offset = shape.m_model.m_offset + model->m_modelFields[i].m_offset;
        found.m_nextModelField = i + 1;
    }
    else
    {
        const ssize_t f = FindOrdinaryField(*shape.m_rc, name, nextField);
        if constexpr (Rules::s_isRuled)
        {
            if (f < 0 && m_rules.m_options.m_passesUnknown)
            {
                m_cursor.Pass(TOKEN_EQUAL, "=");
                PassValue(m_cursor);
                return found;
            }
            if (f >= 0)
                NoteMember(written, CountModelFields(shape.m_model) + f, shape, name.m_p1);
        }
        if (f < 0)
            ThrowUnknown("member", name, "class", shape.m_rc->m_name, name.m_p1);
        found.m_facts = FieldFacts(shape.m_rc->m_fields[f]);
        found.m_type = shape.GetOrdinaryType(f);
        found.m_offset = shape.m_rc->m_fields[f].m_offset;
        found.m_nextField = f + 1;
    }
    if (!m_cursor.Is(TOKEN_EQUAL))
        m_cursor.ThrowExpected("=");
    return found;
}

} // namespace kelm
