#pragma once

// Bodies and lists of data sources for a reader that goes on behind errors, for DataSourceReader.cpp, which includes
// this behind all that they need.

#include <klKelmScript/private/DataSourceItems.h>
#include <klKelmScript/private/DataSourceReader.h>

#include <vector>

namespace kelm
{

// A member's value, at whose first token the cursor is.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadField(const ReflectionByteCode& type, char* data,
                                             [[maybe_unused]] const ClassShape& shape,
                                             [[maybe_unused]] const FieldFacts& facts)
{
    [[maybe_unused]] const char* const begin = m_cursor.GetText().m_p1;
    ReadValue(type, data);
    if constexpr (Rules::s_isRuled && Rules::s_goesOn)
        if (facts.m_check != nullptr && !m_rules.m_isBehind && !facts.m_check(data))
            Complain(begin, "Member '", facts.m_name, "' of class ", shape.m_rc->m_name, " refuses ",
                     ShownValue({begin, m_cursor.GetText().m_p1}));
}

// Any body.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadBody(const ClassShape& shape, char* data)
{
    if (m_cursor.Is(TOKEN_LEFT_CURLY))
    {
        ssize_t nextModelField = 0;
        ssize_t nextField = 0;
        Members written;
        return ReadItems(
            TOKEN_LEFT_CURLY, s_anyNumber,
            [&](ssize_t, const char*& item)
            {
                FastCursor cursor(m_cursor, m_cursor.GetOperator());
                cursor.Load();
                const FoundField found = FindField(cursor, shape, nextModelField, nextField, written);
                item = nullptr;
                nextModelField = found.m_nextModelField;
                nextField = found.m_nextField;
                if (found.m_type.m_bc == nullptr) // it was passed over
                    return;
                m_cursor.Next();
                ReadField(found.m_type, data + found.m_offset, shape, found.m_facts);
            },
            false, [&](const char* end) { RequireMembers(written, shape, end); });
    }
    const ReflectedClass* const model = shape.m_model.m_class;
    struct Field
    {
        ReflectionByteCode m_type;
        ssize_t m_offset;
        FieldFacts m_facts;
    };
    std::vector<Field> fields;
    for (ssize_t i = 0; model != nullptr && i < GetModelFieldCount(*model); ++i)
        if (const ReflectedModelField& field = model->m_modelFields[i]; IsPresent(field))
            fields.push_back({shape.GetModelType(i), shape.m_model.m_offset + field.m_offset, FieldFacts(*model, i)});
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(*shape.m_rc); ++i)
        fields.push_back(
            {shape.GetOrdinaryType(i), shape.m_rc->m_fields[i].m_offset, FieldFacts(shape.m_rc->m_fields[i])});
    ReadItems(TOKEN_LEFT_PAREN, static_cast<ssize_t>(fields.size()),
              [&](ssize_t i, const char*& item)
              {
                  item = nullptr;
                  const Field& field = fields[static_cast<std::size_t>(i)];
                  ReadField(field.m_type, data + field.m_offset, shape, field.m_facts);
              });
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadList(const ReflectionByteCode& elementType, VectorOfByte& vector)
{
    if constexpr (Rules::s_isRuled)
        Clear(elementType, vector);
    ReadItems(TOKEN_LEFT_SQUARE, s_anyNumber,
              [&](ssize_t, const char*& item)
              {
                  item = nullptr;
                  m_cursor.Show();
                  ReadValue(elementType, PushBackDefaultConstructedElementOntoReflectedVector(elementType, &vector));
              });
}

} // namespace kelm
