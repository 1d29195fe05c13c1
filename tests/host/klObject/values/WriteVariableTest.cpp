#include <klObject/values/WriteVariable.h>

#include "WrittenTypes.h"

#include <klObject/objects/Collector.h>
#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Expect.h>
#include <support/NoMoreMemory.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <variant>

namespace kelm
{

namespace
{

using namespace described;
using namespace written;

void RegisterTypesOnce()
{
    RegisterDescribedTypes();
    static const bool s_once = []
    {
        RegisterTypes<Prefilled, Holder, Gifted, Labelled, Breaking, Opaque, OpaqueHolder, Measured, LongNames, null,
                      Ambiguous, Named>(nullptr);
        RegisterReflectedEnum(&GetGrade(), nullptr);
        RegisterReflectedEnum(&GetTwins(), nullptr);
        for (const ReflectedClass& rc : s_classesByHand)
            RegisterReflectedClass(&rc, nullptr);
        RegisterReflectedVariant(&GetOddlyNamed(), nullptr);
        return true;
    }();
    static_cast<void>(s_once);
}

constexpr WriteOptions s_indented = {.m_indent = 2};

// The text of a variable whose type was described by hand.
std::string TextByHand(ETypeByteCode code, ConstStringZ typeName, const void* data)
{
    RegisterTypesOnce();
    const uint8 bc[] = {static_cast<uint8>(code), 0, 0};
    StringStream os(64);
    WriteVariable(os, ReflectionByteCode(bc, &typeName), data);
    return ToStdString(os.GetString());
}

// The text of a value of any type that a field may have.
template <class T>
std::string Text(const T& value, const WriteOptions& options = {})
{
    RegisterTypesOnce();
    static constexpr TypeTables<FieldType<T>> s_tables{};
    const ReflectionByteCode type(s_tables.ByteCode(0), s_tables.m_names.data(), s_tables.Functions(0));
    StringStream os(4096);
    WriteVariable(os, type, &value, options);
    return ToStdString(os.GetString());
}

std::string TextOfObject(ptr<IObject> object, const WriteOptions& options = {})
{
    RegisterTypesOnce();
    StringStream os(4096);
    WriteObject(os, object, options);
    return ToStdString(os.GetString());
}

// An object that lives as long as this.
template <class T>
class Owned
{
public:
    Owned() : m_object(CreateGcObject<T>()) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { m_object.fns()->Destroy(m_object.self()); }

    T* operator->() const { return static_cast<T*>(m_object.self()); }
    T& operator*() const { return *static_cast<T*>(m_object.self()); }
    ptr<IObject> Get() const { return m_object; }

private:
    ptr<IObject> m_object;
};

template <class F>
::testing::AssertionResult ThrowsWriteException(F&& f, const std::string& message)
{
    return ThrowsDescription<WriteException>(f, message);
}

template <class T>
std::string NumberLimits()
{
    return Text(std::numeric_limits<T>::min()) + " " + Text(std::numeric_limits<T>::max());
}

} // namespace

TEST(WriteScalar, WritesNumbersInDigitsThatReadBack)
{
    EXPECT_EQ(NumberLimits<int8>(), "-128 127");
    EXPECT_EQ(NumberLimits<uint8>(), "0 255");
    EXPECT_EQ(NumberLimits<int16>(), "-32768 32767");
    EXPECT_EQ(NumberLimits<uint16>(), "0 65535");
    EXPECT_EQ(NumberLimits<int32>(), "-2147483648 2147483647");
    EXPECT_EQ(NumberLimits<uint32>(), "0 4294967295");
    EXPECT_EQ(NumberLimits<int64>(), "-9223372036854775808 9223372036854775807");
    EXPECT_EQ(NumberLimits<uint64>(), "0 18446744073709551615");
    EXPECT_EQ(Text(true) + Text(false), "truefalse");
    EXPECT_EQ(Text(0.1), "0.1");
    EXPECT_EQ(Text(0.1f), "0.1");
    EXPECT_EQ(Text(static_cast<double>(0.1f)), "0.10000000149011612");
    EXPECT_EQ(Text(3.0), "3.0");
    EXPECT_EQ(Text(-0.0), "-0.0");
    EXPECT_EQ(Text(1e300), "1e+300");
    EXPECT_EQ(Text(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(Text(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(Text(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(WriteScalar, WritesCharactersInSingleQuotes)
{
    const struct
    {
        char m_value;
        const char* m_text;
    } rows[] = {{'a', "'a'"},    {'"', "'\"'"},     {'\'', "'\\''"},     {'\\', "'\\\\'"},
                {'\n', "'\\n'"}, {'\0', "'\\x00'"}, {'\x7F', "'\\x7F'"}, {'\xC3', "'\\xC3'"}};
    for (const auto& row : rows)
        EXPECT_EQ(Text(row.m_value), row.m_text);
    EXPECT_EQ(Text(u'a'), "'a'");
    EXPECT_EQ(Text(char16_t(0xFF80)), "'\\x80'"); // which reading sign-extends
    EXPECT_TRUE(
        ThrowsWriteException([] { Text(char16_t(0x80)); }, "data sources have no form for the 16-bit character 128"));
}

TEST(WriteScalar, RefusesWideIntegers)
{
    const uint8 bc[] = {FT_INT128};
    const char zero[16] = {};
    StringStream os(64);
    EXPECT_TRUE(ThrowsWriteException([&] { WriteVariable(os, ReflectionByteCode(bc, nullptr), zero); },
                                     "data sources have no form for a 128-bit integer"));
}

TEST(WriteString, WritesSixteenBitStringsAsUtf8)
{
    const uint16 text[] = {'g', 0xFC, '"', 0x20AC, 0xD83D, 0xDE42, 0};
    EXPECT_EQ(Text(xstring16(text)), "\"g\xC3\xBC\\\"\xE2\x82\xAC\xF0\x9F\x99\x82\"");
    const uint16 lone[] = {'a', 0xD83D, 'b', 0};
    EXPECT_TRUE(ThrowsWriteException([&] { Text(xstring16(lone)); }, "the 16-bit string holds a lone surrogate"));
}

TEST(WriteEnum, WritesTheEnumeratorsName)
{
    EXPECT_EQ(Text(Colour::GREEN), "GREEN");
    EXPECT_EQ(Text(WEIGHT_LIGHT), "LIGHT");
    EXPECT_TRUE(ThrowsWriteException([] { Text(static_cast<Colour>(7)); }, "7 is no value of enum described::Colour"));
    EXPECT_TRUE(
        ThrowsWriteException([] { Text(static_cast<Weight>(-1)); }, "-1 is no value of enum described::Weight"));
}

TEST(WriteClass, WritesItsNameAndItsMembersByName)
{
    EXPECT_EQ(Text(Point{1, -2.5}), "Point{x=1.0 y=-2.5}");
    EXPECT_EQ(Text(Point{1, -2.5}, s_indented), "Point {\n  x = 1.0\n  y = -2.5\n}");
    EXPECT_EQ(Text(Empty()), "Empty{}");
    EXPECT_EQ(Text(Empty(), s_indented), "Empty {}");
}

TEST(WriteClass, WritesNamesOfAnyLength)
{
    EXPECT_EQ(Text(LongNames()),
              "LongNames{m_fifteenLetter=1 m_sixteenLetters=2.0 m_aMemberWhoseNameIsLongerThanMost=true "
              "m_aMemberWhoseNameIsLongerThanSixtyFourCharactersWhichIsAllThatIsSpare=\"text\"}");
    EXPECT_EQ(Text(LongNames(), s_indented),
              "LongNames {\n  m_fifteenLetter = 1\n  m_sixteenLetters = 2.0\n  m_aMemberWhoseNameIsLongerThanMost = "
              "true\n  m_aMemberWhoseNameIsLongerThanSixtyFourCharactersWhichIsAllThatIsSpare = \"text\"\n}");
}

// Each is many small pieces, which grow the text at every place.
TEST(WriteContainers, WritesListsOfAnyLengthAndDepth)
{
    for (int count = 0; count < 700; count += 1 + count / 20)
    {
        xvector<int> numbers;
        xvector<bool> flags;
        xvector<xvector<char>> letters;
        std::string numberText = "[";
        std::string flagText = "[";
        std::string letterText = "[";
        for (int i = 0; i < count; ++i)
        {
            const std::string comma = i > 0 ? "," : "";
            numbers.push_back(i * i * i);
            numberText += comma + std::to_string(i * i * i);
            flags.push_back(i % 3 == 0);
            flagText += comma + (i % 3 == 0 ? "true" : "false");
            letters.emplace_back().push_back('a');
            letterText += comma + "['a']";
        }
        ASSERT_EQ(Text(numbers), numberText + "]");
        ASSERT_EQ(Text(flags), flagText + "]");
        ASSERT_EQ(Text(letters), letterText + "]");
    }
    constexpr std::size_t depth = 300;
    uint8 bc[5 * depth + 1];
    for (std::size_t i = 0; i < depth; ++i)
    {
        const int32 one = 1;
        bc[5 * i] = FT_ARRAY;
        std::memcpy(bc + 5 * i + 1, &one, sizeof one);
    }
    bc[5 * depth] = FT_BOOL;
    const bool value = true;
    StringStream os(64);
    WriteVariable(os, ReflectionByteCode(bc, nullptr), &value);
    EXPECT_EQ(ToStdString(os.GetString()), std::string(depth, '[') + "true" + std::string(depth, ']'));
}

// Nothing is written of an element, and as many commas as there are between them.
TEST(WriteContainers, WritesArraysOfVoids)
{
    constexpr int32 count = 100'000;
    uint8 bc[6] = {FT_ARRAY};
    std::memcpy(bc + 1, &count, sizeof count);
    bc[5] = FT_VOID;
    StringStream os(64);
    const char none = 0;
    WriteVariable(os, ReflectionByteCode(bc, nullptr), &none);
    EXPECT_EQ(ToStdString(os.GetString()), "[" + std::string(count - 1, ',') + "]");
}

TEST(WriteClass, PassesOverDroppedFields)
{
    EXPECT_EQ(Text(Versioned{1, 2, 3}), "Versioned{m_first=1 m_late=3}");
}

TEST(WriteClass, WritesTheEmbeddedModelBeforeOrdinaryFields)
{
    EXPECT_EQ(Text(Place{5, {1, 2}}), "Place{x=1.0 y=2.0 m_visits=5}");
}

TEST(WriteClass, RefusesAClassThatDescribesNoFields)
{
    EXPECT_TRUE(
        ThrowsWriteException([] { Text(OpaqueHolder()); }, ".m_opaque: class written::Opaque describes no fields"));
}

TEST(WriteClass, RefusesMembersThatReadingWouldNotFind)
{
    const int32 values[] = {1, 2, 3, 4};
    const struct
    {
        ConstStringZ m_class;
        const char* m_message;
    } rows[] = {
        {"written::NoIdentifier", "the name 'a b' of a member of written::NoIdentifier is no identifier"},
        {"written::Twice", "class written::Twice has several members of the name 'a'"},
        {"written::Hidden", "class written::Hidden has several members of the name 'a'"},
        {"written::OrdinaryTwice", "class written::OrdinaryTwice has several members of the name 'x'"},
    };
    for (const auto& row : rows)
        for (int round = 0; round < 2; ++round)
            EXPECT_TRUE(ThrowsWriteException([&] { TextByHand(FT_CLASS, row.m_class, values); }, row.m_message));
    EXPECT_EQ(TextByHand(FT_CLASS, "written::OnceDropped", values), "OnceDropped{a=2}");
}

// A descriptor copied by value has what was prepared for another one.
TEST(WriteClass, LooksAtACopiedDescriptorAnew)
{
    RegisterTypesOnce();
    const int32 values[] = {1, 2, 3, 4};
    EXPECT_EQ(TextByHand(FT_CLASS, "written::OnceDropped", values), "OnceDropped{a=2}");
    static ReflectedClass s_copy = s_classesByHand[2];
    s_copy.m_name = "written::Copied";
    s_copy.m_fieldIndex = nullptr;
    s_copy.m_numModelFields = 1;
    ASSERT_EQ(RegisterReflectedClass(&s_copy, nullptr), NSE_OK);
    EXPECT_EQ(TextByHand(FT_CLASS, "written::Copied", values), "Copied{}");
}

TEST(WriteContainers, WritesElementsInOrder)
{
    Containers c;
    c.m_array[1][2] = 6;
    c.m_points[0].x = 1;
    c.m_strings = {"a", "b"};
    c.m_nested = {{1.5f}, {}};
    c.m_dynarray = {Point{1, 2}};
    c.m_map = {{"two", 2}, {"one", 1}};
    c.m_mapOfMaps[-3].emplace_back()[Colour::BLUE];
    c.m_extent = Point{3, 4};
    EXPECT_EQ(Text(c.m_array), "[[0,0,0],[0,0,6]]");
    EXPECT_EQ(Text(c.m_points), "[Point{x=1.0 y=0.0},Point{x=0.0 y=0.0}]");
    EXPECT_EQ(Text(c.m_strings), "[\"a\",\"b\"]");
    EXPECT_EQ(Text(c.m_nested), "[[1.5],[]]");
    EXPECT_EQ(Text(c.m_dynarray), "[Point{x=1.0 y=2.0}]");
    EXPECT_EQ(Text(c.m_map), "[\"one\"->1,\"two\"->2]");
    EXPECT_EQ(Text(xvector<int>()), "[]");
    EXPECT_EQ(Text(xmap<int, int>()), "[]");

    c.m_mapOfMaps.clear();
    c.m_mapOfMaps[-3].emplace_back();
    EXPECT_EQ(Text(c, s_indented), R"(Containers {
  m_array = [
    [0, 0, 0],
    [0, 0, 6]
  ]
  m_points = [
    Point {
      x = 1.0
      y = 0.0
    },
    Point {
      x = 0.0
      y = 0.0
    }
  ]
  m_strings = ["a", "b"]
  m_nested = [
    [1.5],
    []
  ]
  m_dynarray = [
    Point {
      x = 1.0
      y = 2.0
    }
  ]
  m_map = [
    "one" -> 1,
    "two" -> 2
  ]
  m_mapOfMaps = [
    -3 -> [
      []
    ]
  ]
  m_extent = Point {
    x = 3.0
    y = 4.0
  }
})");
}

TEST(WriteContainers, BreaksLongListsOfShortElements)
{
    xvector<int> list;
    for (int i = 0; i < 60; ++i)
        list.push_back(100 + i);
    const std::string text = Text(list, s_indented);
    EXPECT_EQ(text.find('\n'), 105u);
    EXPECT_EQ(text.substr(96, 17), "119, 120,\n  121, ");
    EXPECT_EQ(Text(list).find('\n'), std::string::npos);
}

TEST(WriteContainers, MeasuresLinesFromTheirIndentation)
{
    xvector<int> list;
    for (int i = 0; i < 60; ++i)
        list.push_back(100 + i);
    constexpr WriteOptions indented = {.m_indent = 7};
    const std::string text = Text(list, indented);
    const std::string nested = Text(xvector<xvector<int>>{list}, indented);
    EXPECT_EQ(nested.substr(0, 9), "[\n       ");
    EXPECT_EQ(nested.substr(9, text.find('\n')), text.substr(0, text.find('\n')));
}

TEST(WriteContainers, RefusesSetsThatHoldElements)
{
    Containers c;
    c.m_set = {"a"};
    EXPECT_TRUE(ThrowsWriteException([&] { Text(c); }, ".m_set: data sources have no form for a set"));
    Holder holder;
    holder.m_sets.emplace_back();
    EXPECT_TRUE(ThrowsWriteException([&] { Text(holder); }, ".m_sets[0]: data sources have no form for a set"));
}

TEST(WriteContainers, SaysWhereAValueLiesThatCannotBeWritten)
{
    Containers c;
    c.m_mapOfMaps[1].emplace_back();
    c.m_mapOfMaps[2].emplace_back();
    c.m_mapOfMaps[2].emplace_back()[static_cast<Colour>(9)];
    EXPECT_TRUE(
        ThrowsWriteException([&] { Text(c); }, ".m_mapOfMaps[1][1][0]: 9 is no value of enum described::Colour"));
}

TEST(WriteContainers, WritesWhatReadingAddsToTheElementsThatAreThereBefore)
{
    Prefilled p;
    EXPECT_EQ(Text(p), "Prefilled{m_list=[] m_map=[\"kept\"->[]]}");
    p.m_list.push_back(3);
    p.m_map["kept"].push_back(8);
    p.m_map["new"].push_back(7);
    EXPECT_EQ(Text(p), "Prefilled{m_list=[3] m_map=[\"kept\"->[8],\"new\"->[7]]}");

    Holder holder;
    holder.m_elements = {p, Prefilled()};
    EXPECT_EQ(Text(holder.m_elements), "[Prefilled{m_list=[3] m_map=[\"kept\"->[8],\"new\"->[7]]},"
                                       "Prefilled{m_list=[] m_map=[\"kept\"->[]]}]");

    p.m_list = {1};
    EXPECT_TRUE(ThrowsWriteException([&] { Text(p); }, ".m_list: it does not begin with the 2 elements that are there "
                                                       "before reading, which only appends"));
    p.m_list = {1, 3, 4};
    EXPECT_TRUE(ThrowsWriteException([&] { Text(p); }, ".m_list: it does not begin with the 2 elements that are there "
                                                       "before reading, which only appends"));
    p.m_list = {1, 2};
    p.m_map.erase("kept");
    EXPECT_TRUE(ThrowsWriteException([&] { Text(p); },
                                     ".m_map: it lacks entries that are there before reading, which only adds"));
}

TEST(WriteContainers, ComparesScalarsThatAreThereBeforeAsBytes)
{
    Measured measured;
    EXPECT_EQ(Text(measured), "Measured{m_samples=[]}");
    measured.m_samples.push_back(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(Text(measured), "Measured{m_samples=[nan]}");
    measured.m_samples[0] = 1.5;
    EXPECT_TRUE(ThrowsWriteException([&] { Text(measured); }, ".m_samples: it does not begin with the 1 elements that "
                                                              "are there before reading, which only appends"));
    measured.m_samples.clear();
    EXPECT_TRUE(ThrowsWriteException([&] { Text(measured); }, ".m_samples: it does not begin with the 1 elements that "
                                                              "are there before reading, which only appends"));
}

TEST(WriteContainers, ComparesTextsThatAreThereBefore)
{
    Labelled labelled;
    EXPECT_EQ(Text(labelled), "Labelled{m_labels=[] m_number=5 m_rows=[[],[]]}");
    labelled.m_labels.push_back("second");
    EXPECT_EQ(Text(labelled), "Labelled{m_labels=[\"second\"] m_number=5 m_rows=[[],[]]}");
    labelled.m_labels[0] = "other";
    EXPECT_TRUE(ThrowsWriteException([&] { Text(labelled); },
                                     ".m_labels: it does not begin with the 1 elements that are there "
                                     "before reading, which only appends"));
}

TEST(WriteContainers, WritesListsOfListsWhateverTheStack)
{
    Labelled labelled;
    labelled.m_rows[1] = {{1, 2}, {}};
    for (const std::size_t stackSize : {s_smallStack, std::size_t(1) << 20})
    {
        std::string text;
        RunOnThread(stackSize, [&] { text = Text(labelled); });
        EXPECT_EQ(text, "Labelled{m_labels=[] m_number=5 m_rows=[[],[[1,2],[]]]}");
    }
}

TEST(WriteContainers, TakesAwayWhatIsThereBeforeWhereATextCan)
{
    Labelled labelled;
    labelled.m_number.reset();
    EXPECT_EQ(Text(labelled), "Labelled{m_labels=[] m_number=null m_rows=[[],[]]}");
    Gifted gifted;
    EXPECT_EQ(Text(gifted).substr(0, 32), "Gifted{m_gift=described::Person{");
    gifted.m_gift = {};
    EXPECT_TRUE(ThrowsWriteException(
        [&] { Text(gifted); }, ".m_gift: creation gives this member a value, which data sources cannot take away"));
    CollectGarbage();
}

TEST(WriteContainers, WritesKeysOnTopOfTheKeyBefore)
{
    Holder holder;
    holder.m_byList = {{{1}, 10}, {{1, 2}, 20}, {{1, 2, 3, 4}, 30}};
    EXPECT_EQ(Text(holder.m_byList), "[[1]->10,[2]->20,[3,4]->30]");
    holder.m_byList[{2}] = 40;
    EXPECT_TRUE(ThrowsWriteException([&] { Text(holder.m_byList); },
                                     "[3]: it does not begin with the 4 elements that are there before reading, which "
                                     "only appends"));
}

TEST(WriteVariant, WritesTheAlternativesNameAndItsValue)
{
    EXPECT_EQ(Text(Extent(2.5)), "radius 2.5");
    EXPECT_EQ(Text(Extent(Point{1, 2})), "Point {x=1.0 y=2.0}");
    EXPECT_EQ(Text(Extent(std::monostate())), "none");
    EXPECT_EQ(Text(Extent(xvector<Point>(1))), "outline [Point{x=0.0 y=0.0}]");
    EXPECT_EQ(Text(xvector<Extent>{std::monostate(), 1.0}), "[none,radius 1.0]");
    Json list;
    list.Emplace<4>().push_back(true);
    list.Get<4>().push_back(xstring("text"));
    EXPECT_EQ(Text(list), "list [boolean true,text \"text\"]");
    EXPECT_EQ(Text(Named(5)), "int32 5");
}

TEST(WriteVariant, RefusesOneWithoutAValue)
{
    RegisterTypesOnce();
    using Choice = std::variant<int, Breaking>;
    Choice choice = 1;
    EXPECT_EQ(Text(choice), "int32 1");
    EXPECT_THROW(choice.emplace<1>(0.5), std::runtime_error);
    ASSERT_TRUE(choice.valueless_by_exception());
    EXPECT_TRUE(ThrowsWriteException([&] { Text(choice); }, "this variant holds no value"));
}

TEST(WriteVariant, UsesANameThatReadsAsThatAlternative)
{
    Ambiguous variant;
    EXPECT_EQ(Text(variant), "number 0");
    variant.Emplace<1>(1.5);
    EXPECT_EQ(Text(variant), "b::number 1.5");
    variant.Emplace<2>(1.5);
    EXPECT_TRUE(ThrowsWriteException(
        [&] { Text(variant); }, ".number: the name of this alternative of written::Ambiguous reads as another one"));
}

TEST(WriteVariant, RefusesNamesThatAreNotQualifiedAndThoseBehindThem)
{
    const auto text = [](int32 alternative)
    {
        const int32 variant[] = {alternative, 7};
        return TextByHand(FT_VARIANT, "written::OddlyNamed", variant);
    };
    EXPECT_EQ(text(0), "number 7");
    EXPECT_TRUE(ThrowsWriteException([&] { text(1); },
                                     ".vector<int>: the name of this alternative of written::OddlyNamed is not made of "
                                     "identifiers with \"::\" between them"));
    EXPECT_TRUE(ThrowsWriteException(
        [&] { text(2); }, ".value: the name of this alternative of written::OddlyNamed reads as another one"));
}

TEST(WriteEnum, RefusesNamesThatAreNoIdentifiers)
{
    const auto text = [](int32 value) { return TextByHand(FT_ENUM, "written::Grade", &value); };
    EXPECT_EQ(text(0), "GOOD");
    EXPECT_TRUE(ThrowsWriteException([&] { text(1); },
                                     "the name 'VERY GOOD' of an enumerator of written::Grade is no identifier"));
    EXPECT_TRUE(
        ThrowsWriteException([&] { text(2); }, "the name '' of an enumerator of written::Grade is no identifier"));
}

TEST(WriteEnum, RefusesNamesThatReadAsAnother)
{
    const auto text = [](int32 value) { return TextByHand(FT_ENUM, "written::Twins", &value); };
    EXPECT_EQ(text(0), "CASTOR");
    EXPECT_TRUE(ThrowsWriteException([&] { text(2); },
                                     "the name 'CASTOR' of an enumerator of written::Twins reads as another one"));
}

TEST(WriteObject, RefusesAnObjectOfAClassThatIsNotRegistered)
{
    const Owned<Unregistered> object;
    const Owned<Person> person;
    person->SetPartner(object.Get());
    EXPECT_TRUE(ThrowsWriteException([&] { TextOfObject(person.Get()); },
                                     ".m_partner: class written::Unregistered is not registered"));
    StringStream os(64);
    EXPECT_THROW(WriteObject(os, person.Get()), WriteException);
    EXPECT_TRUE(os.GetString().empty());
}

TEST(WriteObject, RefusesAClassWhoseNameReadsAsANullHandle)
{
    const Owned<null> object;
    EXPECT_TRUE(ThrowsWriteException([&] { TextOfObject(object.Get()); },
                                     "the name of the object's class reads as a null handle"));
    EXPECT_EQ(Text(*object), "null{m_number=0}"); // not where a class stands by value
}

TEST(WriteObject, WritesTheFullNameAndWhatIsReferenced)
{
    const Owned<Person> ann;
    const Owned<Person> bob;
    const Owned<Point> point;
    ann->m_name = "Ann";
    bob->m_name = "Bob";
    ann->SetPartner(bob.Get());
    bob->SetPartner(point.Get());
    ann->GetEmployer().Set(QueryPersistable(bob.Get()));
    const std::string textOfPoint = "described::Point{x=0.0 y=0.0}";
    const std::string textOfBob =
        "described::Person{m_name=\"Bob\" x=0.0 m_born=1970 m_height=0.0 m_jumps=[] m_partner=" + textOfPoint +
        " m_cache=0}";
    EXPECT_EQ(TextOfObject(point.Get()), textOfPoint);
    EXPECT_EQ(TextOfObject(bob.Get()), textOfBob);
    EXPECT_EQ(TextOfObject(ann.Get()), "described::Person{m_name=\"Ann\" x=0.0 m_born=1970 m_height=0.0 m_jumps=[] "
                                       "m_partner=" +
                                           textOfBob + " m_employer=" + textOfBob + " m_cache=0}");
    EXPECT_EQ(TextOfObject(nullptr), "null");
    EXPECT_EQ(Text(ptr<IObject>()), "null");
    EXPECT_EQ(Text(ptr<IObject>(point.Get()), s_indented), "described::Point {\n  x = 0.0\n  y = 0.0\n}");
}

TEST(WriteObject, RefusesACycle)
{
    const Owned<Person> ann;
    const Owned<Person> bob;
    ann->SetPartner(bob.Get());
    bob->SetPartner(ann.Get());
    EXPECT_TRUE(ThrowsWriteException(
        [&] { TextOfObject(ann.Get()); },
        ".m_partner.m_partner: the object of class described::Person is reached from within itself"));
}

TEST(WriteObject, RefusesAnObjectThatCannotBeCreated)
{
    const Owned<Empty> empty;
    EXPECT_TRUE(ThrowsWriteException([&] { TextOfObject(empty.Get()); },
                                     "'described::Empty' doesn't support dynamic creation"));
}

TEST(WriteObject, RefusesPersistentReferencesThatHaveNoForm)
{
    Holder holder;
    holder.m_references.emplace_back();
    EXPECT_TRUE(ThrowsWriteException([&] { Text(holder.m_references); },
                                     "[0]: data sources have no form for a null persistent reference"));
    const Owned<Person> ann;
    ann->GetEmployer().SetObjectId(17);
    EXPECT_TRUE(ThrowsWriteException([&] { TextOfObject(ann.Get()); },
                                     ".m_employer: the object 17 of the persistent reference is not to be had"));
}

TEST(WriteObject, WritesNothingWhereThereIsNoMemoryForIt)
{
    if (!NoMoreMemory::CanBe())
        GTEST_SKIP() << "memory cannot run out here";
    xvector<xstring> texts;
    for (int i = 0; i < 64; ++i) // more than any free piece
        texts.push_back(xstring(std::string(std::size_t(1) << 20, 'x')));
    RegisterTypesOnce();
    StringStream os(64);
    RunOnThread(std::size_t(1) << 20,
                [&]
                {
                    static constexpr uint8 s_code[] = {FT_VECTOR, FT_STRING8};
                    const NoMoreMemory none;
                    EXPECT_THROW(WriteVariable(os, {s_code, nullptr}, &texts), std::bad_alloc);
                });
    EXPECT_TRUE(os.GetString().empty());
}

TEST(WriteObject, WritesNothingWhereItThrows)
{
    RegisterTypesOnce();
    const Owned<Person> ann;
    ann->SetPartner(ann.Get());
    StringStream os(64);
    EXPECT_THROW(WriteObject(os, ann.Get()), WriteException);
    EXPECT_TRUE(os.GetString().empty());
}

TEST(WriteObject, FollowsObjectsToAnyDepth)
{
    constexpr int depth = s_nesting / 10;
    RegisterTypesOnce();
    ptr<IObject> chain;
    for (int i = 0; i < depth; ++i)
    {
        const ptr<IObject> next = CreateGcObject<Person>();
        RegisterGcObject(next);
        static_cast<Person*>(next.self())->SetPartner(chain);
        chain = next;
    }
    const std::string text = TextOfObject(chain);
    EXPECT_EQ(text.substr(text.size() - 30), std::string(" m_cache=0} m_cache=0} m_cache=0}").substr(3));
    CollectGarbage();
}

// Twice as deep is twice as long, not four times.
TEST(WriteObject, StopsIndentingDeepData)
{
    RegisterTypesOnce();
    const Owned<Person> people[50];
    for (int i = 0; i < 49; ++i)
        people[i]->SetPartner(people[i + 1].Get());
    const std::string text = TextOfObject(people[0].Get(), s_indented);
    EXPECT_NE(text.find("\n" + std::string(32, ' ') + "m_cache"), std::string::npos);
    EXPECT_EQ(text.find(std::string(33, ' ')), std::string::npos);
}

TEST(WriteObject, ShowsTheEndOfALongWay)
{
    const Owned<Person> people[50];
    for (int i = 0; i < 50; ++i)
        people[i]->SetPartner(people[(i + 1) % 50].Get());
    std::string message = "...";
    for (int i = 0; i < 32; ++i)
        message += ".m_partner";
    EXPECT_TRUE(
        ThrowsWriteException([&] { TextOfObject(people[0].Get()); },
                             message + ": the object of class described::Person is reached from within itself"));
}

TEST(WriteException, IsAStandardException)
{
    const WriteException e("what is wrong");
    EXPECT_STREQ(static_cast<const std::exception&>(e).what(), "what is wrong");
    EXPECT_EQ(WrittenText(e), "what is wrong");
}

} // namespace kelm
