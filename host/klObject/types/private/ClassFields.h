#pragma once

// The parts of a class or variant that a variable of it consists of, for everything that walks variables.

#include <klObject/types/ClassModel.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/types.h>

namespace kelm
{

// All fields of a class: those of its model, then its ordinary ones. A dropped field is none: its bytes, if it has any,
// stay zero.
class ClassFields
{
public:
    struct Field
    {
        ReflectionByteCode m_type;
        ssize_t m_offset; // from the start of the class instance
        bool m_isPresent;
        ConstStringZ m_name;
    };

    explicit ClassFields(const ReflectedClass& rc)
        : m_rc(rc)
        , m_model(FindClassModel(rc))
        , m_modelFields(m_model.m_class != nullptr ? GetModelFieldCount(*m_model.m_class) : 0)
    {
    }

    // The class that lists the model fields, which come first; null and 0 where there is no model.
    const ReflectedClass* GetModelClass() const { return m_model.m_class; }
    ssize_t GetModelSize() const { return m_modelFields; }

    ssize_t size() const { return m_modelFields + GetOrdinaryFieldCount(m_rc); }

    Field operator[](ssize_t i) const
    {
        if (i < m_modelFields)
        {
            const ReflectedModelField& field = m_model.m_class->m_modelFields[i];
            return {ReflectionByteCode(field.m_bc, m_model.m_class->m_stringTable, field.m_mapOrSetFns),
                    m_model.m_offset + field.m_offset, IsPresent(field), field.m_name};
        }
        const ReflectedField& field = m_rc.m_fields[i - m_modelFields];
        return {ReflectionByteCode(field.m_bc, m_rc.m_stringTable), field.m_offset, true, field.m_name};
    }

private:
    const ReflectedClass& m_rc;
    ClassModel m_model;
    ssize_t m_modelFields;
};

// An alternative of a variant as a variable of its own.
inline ReflectionByteCode GetAlternativeType(const ReflectedVariant& rv, const ReflectedField& alternative)
{
    return ReflectionByteCode(alternative.m_bc, rv.m_stringTable);
}

} // namespace kelm
