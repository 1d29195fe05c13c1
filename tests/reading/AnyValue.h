#pragma once

#include <klObject/types/ReflectionByteCode.h>
#include <support/ReferenceTexts.h>

#include <string>
#include <vector>

namespace kelm::reference
{

// Draws texts of values that mostly suit their types, in one of the layouts that people write: compact, spaced out,
// indented, with comments everywhere.
class ValueDrawing
{
public:
    explicit ValueDrawing(Random& random);

    std::string Value(ReflectionByteCode type);
    std::string ClassValue(const ReflectedClass& rc); // with its name before it, or not
    std::string Body(const ReflectedClass& rc);
    std::string DataSource(); // of one class or another, by its full name

    std::string Space();

private:
    enum Layout
    {
        L_COMPACT,
        L_SPACED,
        L_INDENTED,
        L_WILD,
    };
    struct Field
    {
        std::string m_name;
        ReflectionByteCode m_type;
    };

    static std::vector<Field> FieldsOf(const ReflectedClass& rc);
    std::string Scalar(ETypeByteCode code);
    std::string Integer(std::size_t bits, bool isSigned);
    std::string Enumerator(const ReflectedEnum& r);
    std::string Variant(const ReflectedVariant& rv);
    std::string List(std::size_t count, const ReflectionByteCode& type);
    std::string Map(ReflectionByteCode type);
    std::string PositionalBody(const std::vector<Field>& fields);
    std::string NamedBody(const std::vector<Field>& fields);
    std::string Member(const Field& field);
    std::string Name(std::string fullName, bool mayBeSuffix);
    std::size_t AnyCount();
    std::string Break();

    Random& m_random;
    Layout m_layout;
    int m_budget = 60; // of values; what is drawn beyond it is as short as possible
    int m_depth = 0;
};

} // namespace kelm::reference
