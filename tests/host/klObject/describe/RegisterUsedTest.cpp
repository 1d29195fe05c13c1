// Registration on first use, where the name is taken: by the same type, described twice, or by another.

#include <klObject/describe/RegisterUsed.h>
#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>

#include <gtest/gtest.h>

#include <iterator>

namespace kelm
{
namespace
{

template <class Descriptor>
bool IsTaken(const Descriptor& descriptor)
{
    try
    {
        UsedTypes().Add(descriptor, nullptr);
        return false;
    }
    catch (const TypeNameException&)
    {
        return true;
    }
}

// The first of the rows is registered, and meets itself; each of the others differs from it in one thing.
template <class Descriptor, std::size_t N>
void ExpectTold(const Descriptor (&rows)[N], const Descriptor& twin)
{
    EXPECT_FALSE(IsTaken(rows[0]));
    EXPECT_FALSE(IsTaken(rows[0]));
    EXPECT_FALSE(IsTaken(twin));
    for (std::size_t i = 1; i < N; ++i)
        EXPECT_TRUE(IsTaken(rows[i])) << rows[0].m_name << ' ' << i;
}

const uint8 s_int32[] = {FT_INT32};
const uint8 s_int32Again[] = {FT_INT32};
const uint8 s_bool[] = {FT_BOOL};

const ReflectedField s_fields[] = {{"a", 0, s_int32}, {"b", 4, s_int32}};
const ReflectedField s_sameFields[] = {{"a", 0, s_int32Again}, {"b", 4, s_int32Again}};
const ReflectedField s_otherNames[] = {{"a", 0, s_int32}, {"c", 4, s_int32}};
const ReflectedField s_otherPlaces[] = {{"a", 0, s_int32}, {"b", 8, s_int32}};
const ReflectedField s_otherTypes[] = {{"a", 0, s_int32}, {"b", 4, s_bool}};

TEST(RegisterUsed, TellsClassesApart)
{
    const auto make = [](ssize_t size, const ReflectedField* fields, ssize_t count)
    { return ReflectedClass{.m_name = "used::Class", .m_size = size, .m_fields = fields, .m_numFields = count}; };
    static const ReflectedModelField s_model[] = {{"a", 0, s_int32, 0, -1, nullptr}};
    static const ReflectedClass s_rows[] = {
        make(12, s_fields, 2),
        make(16, s_fields, 2),
        make(12, s_fields, 1),
        make(12, s_otherNames, 2),
        make(12, s_otherPlaces, 2),
        make(12, s_otherTypes, 2),
        {.m_name = "used::Class", .m_size = 12, .m_modelFields = s_model, .m_numModelFields = 1},
    };
    static const ReflectedClass s_twin = make(12, s_sameFields, 2);
    ExpectTold(s_rows, s_twin);
}

// Of classes that take the model of a member.
TEST(RegisterUsed, TellsEmbeddingClassesApart)
{
    static const uint8 s_class[] = {FT_CLASS, 0, 0};
    static const ConstStringZ s_names[] = {"used::Part", nullptr};
    static const ReflectedClass s_part = {.m_name = "used::Part", .m_size = 8, .m_fields = s_fields, .m_numFields = 2};
    ASSERT_FALSE(IsTaken(s_part));
    static const ReflectedModelField s_embedded[] = {{"part", 0, s_class, 0, -1, nullptr}};
    static const ReflectedModelField s_otherName[] = {{"port", 0, s_class, 0, -1, nullptr}};
    static const ReflectedModelField s_otherPlace[] = {{"part", 8, s_class, 0, -1, nullptr}};
    const auto make = [](const ReflectedModelField* fields, ssize_t count)
    {
        return ReflectedClass{.m_name = "used::Whole",
                              .m_size = 16,
                              .m_modelFields = fields,
                              .m_numModelFields = count,
                              .m_stringTable = s_names};
    };
    static const ReflectedClass s_rows[] = {make(s_embedded, 0), make(s_otherName, 0), make(s_otherPlace, 0),
                                            make(s_embedded, 1)};
    static const ReflectedClass s_twin = make(s_embedded, 0);
    ExpectTold(s_rows, s_twin);
}

TEST(RegisterUsed, TellsVariantsApart)
{
    const auto make = [](ssize_t size, const ReflectedField* fields)
    { return ReflectedVariant{.m_name = "used::Variant", .m_size = size, .m_fields = fields, .m_numFields = 2}; };
    static const ReflectedVariant s_rows[] = {make(16, s_fields), make(24, s_fields), make(16, s_otherNames)};
    static const ReflectedVariant s_twin = make(16, s_sameFields);
    ExpectTold(s_rows, s_twin);
}

TEST(RegisterUsed, TellsEnumerationsApart)
{
    static const ConstStringZ s_strings[] = {"A", "B"};
    static const ConstStringZ s_otherStrings[] = {"A", "C"};
    static const int32 s_values[] = {0, 2};
    static const int32 s_sameValues[] = {0, 1};
    const auto make = [](int32 count, const ConstStringZ* strings, const int32* values)
    { return ReflectedEnum{.m_name = "used::Enum", .m_count = count, .m_strings = strings, .m_values = values}; };
    static const ReflectedEnum s_rows[] = {make(2, s_strings, nullptr), make(1, s_strings, nullptr),
                                           make(2, s_otherStrings, nullptr), make(2, s_strings, s_values)};
    static const ReflectedEnum s_twin = make(2, s_strings, s_sameValues);
    ExpectTold(s_rows, s_twin);
}

TEST(RegisterUsed, TellsTypedefsApart)
{
    static const ReflectedTypedef s_rows[] = {{.m_name = "used::Alias", .m_bc = s_int32},
                                              {.m_name = "used::Alias", .m_bc = s_bool}};
    static const ReflectedTypedef s_twin = {.m_name = "used::Alias", .m_bc = s_int32Again};
    ExpectTold(s_rows, s_twin);
}

} // namespace
} // namespace kelm
