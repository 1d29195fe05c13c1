// What klObject writes is read back equal, over random values of every describable kind.

#include "DataSources.h"

#include <host/klObject/DescribedTypes.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace kelm
{

namespace
{

using namespace described;

// Fills variables with random values, the odd ones often among them.
class Filler
{
public:
    explicit Filler(unsigned seed) : m_random(seed) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    void Fill(bool& x) { x = Below(2) != 0; }
    void Fill(char& x) { x = static_cast<char>(m_random()); }
    void Fill(char16_t& x) { x = static_cast<char16_t>(static_cast<signed char>(m_random())); }
    template <PlainInteger T>
    void Fill(T& x)
    {
        const T edges[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), 0};
        const unsigned choice = Below(6);
        x = choice < 3 ? edges[choice] : static_cast<T>(m_random());
    }
    void Fill(float& x)
    {
        do
            x = std::bit_cast<float>(static_cast<uint32>(m_random()));
        while (std::isnan(x));
    }
    void Fill(double& x)
    {
        do
            x = Below(8) == 0 ? -std::numeric_limits<double>::infinity() : std::bit_cast<double>(uint64(m_random()));
        while (std::isnan(x));
    }
    void Fill(xstring& x)
    {
        const unsigned length = Below(30);
        for (unsigned i = 0; i < length; ++i)
            x.push_back(static_cast<char>(Below(3) == 0 ? Below(256) : ' ' + Below(95)));
    }
    void Fill(xstring16& x)
    {
        const unsigned length = Below(30);
        for (unsigned i = 0; i < length; ++i)
            if (Below(5) == 0)
            {
                x.push_back(static_cast<uint16>(0xD800 + Below(0x400)));
                x.push_back(static_cast<uint16>(0xDC00 + Below(0x400)));
            }
            else
            {
                x.push_back(static_cast<uint16>(Below(4) == 0 ? 0xE000 + Below(0x2000) : Below(0xD800)));
            }
    }
    void Fill(Colour& x) { x = static_cast<Colour>(Below(3)); }
    void Fill(Weight& x)
    {
        const Weight weights[] = {WEIGHT_LIGHT, WEIGHT_NORMAL, WEIGHT_HEAVY};
        x = weights[Below(3)];
    }
    void Fill(Point& x)
    {
        Fill(x.x);
        Fill(x.y);
    }
    template <class T, std::size_t N>
    void Fill(T (&x)[N])
    {
        for (T& element : x)
            Fill(element);
    }
    template <class T, std::size_t N>
    void Fill(std::array<T, N>& x)
    {
        for (T& element : x)
            Fill(element);
    }
    template <class T>
    void Fill(xvector<T>& x)
    {
        for (unsigned left = Below(m_maxCount); left > 0; --left)
            Fill(x.emplace_back());
    }
    template <class K, class V>
    void Fill(xmap<K, V>& x)
    {
        for (unsigned left = Below(m_maxCount); left > 0; --left)
        {
            K key{};
            Fill(key);
            V value{};
            Fill(value);
            x[key] = value;
        }
    }
    // Data sources have no form for a set.
    template <class K, class T>
    void Fill(xmap<K, xset<T>>&)
    {
    }
    void Fill(Extent& x)
    {
        switch (Below(4))
        {
        case 0: return Fill(x.Emplace<0>());
        case 1: return Fill(x.Emplace<1>());
        case 2: x.Emplace<2>(); return;
        default: return Fill(x.Emplace<3>());
        }
    }
    void Fill(Json& x)
    {
        switch (Below(5))
        {
        case 0: x.Emplace<0>(); return;
        case 1: return Fill(x.Emplace<1>());
        case 2: return Fill(x.Emplace<2>());
        case 3: return Fill(x.Emplace<3>());
        default: return FillNested(x.Emplace<4>());
        }
    }
    void Fill(Tree& x)
    {
        Fill(x.m_value);
        FillNested(x.m_children);
        FillNested(x.m_named);
    }
    void Fill(Scalars& x)
    {
        Fill(x.m_bool);
        Fill(x.m_char);
        Fill(x.m_char16);
        Fill(x.m_int8);
        Fill(x.m_uint8);
        Fill(x.m_short);
        Fill(x.m_uint16);
        Fill(x.m_int);
        Fill(x.m_unsigned);
        Fill(x.m_long);
        Fill(x.m_unsignedLong);
        Fill(x.m_longLong);
        Fill(x.m_unsignedLongLong);
        Fill(x.m_float);
        Fill(x.m_double);
        Fill(x.m_string);
        Fill(x.m_string16);
        Fill(x.m_colour);
        Fill(x.m_weight);
    }
    void Fill(Containers& x)
    {
        Fill(x.m_array);
        Fill(x.m_points);
        Fill(x.m_strings);
        Fill(x.m_nested);
        Fill(x.m_dynarray);
        Fill(x.m_map);
        Fill(x.m_mapOfMaps);
        Fill(x.m_extent);
    }

private:
    // Of types that hold themselves: fewer the deeper.
    template <class Container>
    void FillNested(Container& x)
    {
        const unsigned maxCount = m_maxCount;
        m_maxCount = m_maxCount > 1 ? m_maxCount - 1 : 1;
        Fill(x);
        m_maxCount = maxCount;
    }

    std::mt19937_64 m_random;
    unsigned m_maxCount = 5;
};

template <class T>
class WriteThenRead : public ::testing::Test
{
};
using Types = ::testing::Types<Scalars, Containers, Tree, Json, Extent, xmap<Colour, xvector<xmap<xstring, Json>>>>;
TYPED_TEST_SUITE(WriteThenRead, Types);

template <class T>
T Read(const std::string& text, ReflectionByteCode type)
{
    T value{};
    ExpressionParser parser;
    parser.Init({text.data(), text.data() + text.size()});
    ParseVariable(parser, type, &value);
    EXPECT_TRUE(parser.m_token.m_type == TOKEN_END);
    return value;
}

std::string ErrorOf(const LexScannerException& e, const std::string& text)
{
    return ToStdString(e.m_description) + " at " + std::to_string(e.m_pos - text.data()) + " of " + text;
}

} // namespace

TYPED_TEST(WriteThenRead, GivesAnEqualValue)
{
    RegisterDescribedTypes();
    static constexpr TypeTables<FieldType<TypeParam>> s_tables{};
    const ReflectionByteCode type(s_tables.ByteCode(0), s_tables.m_names.data(), s_tables.Functions(0));
    const ExpectedLeaks leaks; // the last key of each map
    for (unsigned seed = 0; seed < 300; ++seed)
        for (const int indent : {0, 1, 4})
        {
            TypeParam value{};
            Filler(seed).Fill(value);
            StringStream os(4096);
            WriteVariable(os, type, &value, {.m_indent = indent});
            const std::string text = ToStdString(os.GetString());
            try
            {
                const TypeParam readBack = Read<TypeParam>(text, type);
                ASSERT_TRUE(CompareEqReflectedVariable(type, &value, type, &readBack)) << text;
            }
            catch (const LexScannerException& e)
            {
                FAIL() << ErrorOf(e, text);
            }
        }
}

TEST(WriteThenReadObject, GivesAnEqualTreeOfObjects)
{
    RegisterDescribedTypes();
    const auto newPerson = [](const char* name)
    {
        const ptr<IObject> object = CreateGcObject<Person>();
        RegisterGcObject(object);
        static_cast<Person*>(object.self())->m_name = name;
        return object;
    };
    const GcRoot ann(newPerson("Ann"));
    auto& person = *static_cast<Person*>(ann.get().self());
    person.SetPartner(newPerson("Bob"));
    person.GetEmployer().Set(QueryPersistable(newPerson("Cy \"the\" Boss")));

    StringStream written(4096);
    WriteObject(written, ann.get(), {.m_indent = 2});
    xstring error;
    const GcRoot readBack(ParseDataSourceFromString(written.GetString(), error));
    ASSERT_TRUE(static_cast<bool>(readBack.get())) << ToStdString(error);
    StringStream writtenAgain(4096);
    WriteObject(writtenAgain, readBack.get(), {.m_indent = 2});
    EXPECT_EQ(ToStdString(writtenAgain.GetString()), ToStdString(written.GetString()));
}

} // namespace kelm
