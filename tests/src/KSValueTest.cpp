#include <klKelmScript/KSValue.h>

#include "Operands.h"

#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <csignal>
#include <sys/resource.h>

namespace kelm
{
namespace
{

constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

const std::string s_longText = "a text that is too long to lie inside its string";

// --- Layout ----------------------------------------------------------------------------------------------------------

TEST(ScriptValueLayout, IsATagAnd48OctetsOfPayload)
{
    static_assert(sizeof(KSValue) == 52 && alignof(KSValue) == 4);
    static_assert(sizeof(EKSValue) == 4 && std::is_signed_v<std::underlying_type_t<EKSValue>>);
    static_assert(KSV_VOID == 0 && KSV_BOOL == 1 && KSV_INT64 == 2 && KSV_FLOAT64 == 3 && KSV_STRING8 == 4 &&
                  KSV_REFLECTED_VALUE == 5);
    for (const Operand& operand : AllOperands())
    {
        int32 tag = -1;
        std::memcpy(&tag, operand.m_value.get(), sizeof tag);
        EXPECT_EQ(tag, operand.Tag()) << operand.m_name;
    }
}

template <class T>
ssize_t PayloadOffset(const T& payload)
{
    const KSValue value(payload);
    return reinterpret_cast<const char*>(&value.as<T>()) - reinterpret_cast<const char*>(&value);
}

TEST(ScriptValueLayout, PutsEveryPayloadDirectlyBehindTheTag)
{
    EXPECT_EQ(PayloadOffset(true), 4);
    EXPECT_EQ(PayloadOffset(int64(1)), 4);
    EXPECT_EQ(PayloadOffset(1.0), 4);
    EXPECT_EQ(PayloadOffset(xstring("a")), 4);
    EXPECT_EQ(PayloadOffset(ReflectedValue()), 4);
}

TEST(ScriptValueLayout, KeepsAScalarAsItsBytes)
{
    const KSValue value(int64(0x0102030405060708));
    unsigned char octets[8];
    std::memcpy(octets, reinterpret_cast<const char*>(&value) + 4, sizeof octets);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(octets[i], 8 - i);
}

// --- Construction and access -----------------------------------------------------------------------------------------

TEST(ScriptValue, IsVoidAtFirst)
{
    const KSValue value;
    EXPECT_EQ(value.GetTag(), KSV_VOID);
    EXPECT_TRUE(value.is<void>());
}

TEST(ScriptValue, IsMadeFromEachPayloadWithoutACast)
{
    static_assert(std::is_convertible_v<bool, KSValue> && std::is_convertible_v<int64, KSValue> &&
                  std::is_convertible_v<float64, KSValue> && std::is_convertible_v<xstring, KSValue> &&
                  std::is_convertible_v<ReflectedValue, KSValue>);
    EXPECT_EQ(KindAndValue(true), "bool true");
    EXPECT_EQ(KindAndValue(int64(-5)), "int64 -5");
    EXPECT_EQ(KindAndValue(2.5), "float64 2.5");
    EXPECT_EQ(KindAndValue(xstring("abc")), "string abc");
    EXPECT_EQ(KindAndValue(ReflectedValue()), "reflected");
}

TEST(ScriptValue, IsNotMadeFromAPointer)
{
    static_assert(!std::is_constructible_v<KSValue, const char*>); // it would become a bool
    SUCCEED();
}

template <class T>
std::string AccessOutcome(const KSValue& value)
{
    return OutcomeOf([&] { return KSValue(value.as<T>()); });
}

TEST(ScriptValue, TellsItsAlternativeAndGivesItsPayloadOnly)
{
    for (const Operand& operand : AllOperands())
    {
        const KSValue& v = operand.Value();
        const EKSValue tag = operand.Tag();
        EXPECT_EQ(v.is<void>(), tag == KSV_VOID) << operand.m_name;
        EXPECT_EQ(v.is<bool>(), tag == KSV_BOOL) << operand.m_name;
        EXPECT_EQ(v.is<int64>(), tag == KSV_INT64) << operand.m_name;
        EXPECT_EQ(v.is<float64>(), tag == KSV_FLOAT64) << operand.m_name;
        EXPECT_EQ(v.is<string8>(), tag == KSV_STRING8) << operand.m_name;
        EXPECT_EQ(v.is<ReflectedValue>(), tag == KSV_REFLECTED_VALUE) << operand.m_name;

        const auto expected = [&](EKSValue wanted, const char* condition) {
            return tag == wanted ? KindAndValue(v)
                                 : std::string("KelmAssertionError: ") + condition + " (src/KSValue.h)";
        };
        EXPECT_EQ(AccessOutcome<bool>(v), expected(KSV_BOOL, "(is<bool >())")) << operand.m_name;
        EXPECT_EQ(AccessOutcome<int64>(v), expected(KSV_INT64, "(is<kelm::int64 >())")) << operand.m_name;
        EXPECT_EQ(AccessOutcome<float64>(v), expected(KSV_FLOAT64, "(is<kelm::float64 >())")) << operand.m_name;
        EXPECT_EQ(AccessOutcome<string8>(v), expected(KSV_STRING8, "(is<kelm::string8 >())")) << operand.m_name;
        EXPECT_EQ(AccessOutcome<ReflectedValue>(v), expected(KSV_REFLECTED_VALUE, "(is<kelm::ReflectedValue >())"))
            << operand.m_name;
    }
}

TEST(ScriptValue, ReportsAWrongAccessWithALine)
{
    KSValue value(true);
    EXPECT_TRUE(Throws<KelmAssertionError>(
        [&] { value.as<int64>(); }, [](const KelmAssertionError& e)
        { return e.m_line > 0 ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << e.m_line; }));
}

TEST(ScriptValue, LetsItsPayloadBeReplacedInPlace)
{
    KSValue value(int64(1));
    value.as<int64>() = 42;
    EXPECT_EQ(KindAndValue(value), "int64 42");
    value = S("ab");
    value.as<string8>().push_back('c');
    EXPECT_EQ(KindAndValue(value), "string abc");
}

// --- Copying ---------------------------------------------------------------------------------------------------------

TEST(ScriptValue, CopiesEveryAlternative)
{
    for (const Operand& operand : AllOperands())
    {
        const KSValue copy(operand.Value());
        EXPECT_EQ(KindAndValue(copy), KindAndValue(operand.Value())) << operand.m_name;
    }
}

TEST(ScriptValue, BecomesWhatIsAssignedWhateverItWas)
{
    for (const Operand& before : AllOperands())
        for (const Operand& after : AllOperands())
        {
            KSValue value(before.Value());
            EXPECT_EQ(&(value = after.Value()), &value);
            EXPECT_EQ(KindAndValue(value), KindAndValue(after.Value())) << before.m_name << " = " << after.m_name;
        }
}

TEST(ScriptValue, MovesEveryAlternativeIntoEveryOther)
{
    for (const Operand& before : AllOperands())
        for (const Operand& after : AllOperands())
        {
            KSValue source(after.Value());
            KSValue moved(std::move(source));
            KSValue value(before.Value());
            value = std::move(moved);
            EXPECT_EQ(KindAndValue(value), KindAndValue(after.Value())) << before.m_name << " = " << after.m_name;
        }
}

TEST(ScriptValue, OwnsItsString)
{
    KSValue a = S(s_longText);
    const KSValue b = a;
    EXPECT_NE(a.as<string8>().c_str(), b.as<string8>().c_str());
    a.as<string8>()[0] = 'A';
    EXPECT_EQ(KindAndValue(b), "string " + s_longText);
}

TEST(ScriptValue, LeavesAnEmptyStringWhereOneIsMovedAway)
{
    KSValue source = S(s_longText);
    const char* const characters = source.as<string8>().c_str();
    const KSValue target = std::move(source);
    EXPECT_EQ(target.as<string8>().c_str(), characters);
    EXPECT_EQ(KindAndValue(source), "string "); // NOLINT(bugprone-use-after-move)
}

TEST(ScriptValue, IsUnchangedByAssignmentToItself)
{
    KSValue text = S(s_longText);
    KSValue& alias = text;
    const char* const characters = text.as<string8>().c_str();
    text = alias;
    EXPECT_EQ(text.as<string8>().c_str(), characters);
    EXPECT_EQ(KindAndValue(text), "string " + s_longText);
    text = std::move(alias);
    EXPECT_EQ(KindAndValue(text), "string " + s_longText);

    // A reflected value keeps its contents, which a copy would not.
    const std::shared_ptr<KSValue> reflected = MakeReflected(s_bcInt32, int32(7));
    const KSValue& self = *reflected;
    *reflected = self;
    int64 x = 0;
    EXPECT_TRUE(Assign(x, *reflected));
    EXPECT_EQ(x, 7);
}

TEST(ScriptValue, CopiesAReflectedValueAsADefaultVariableOfItsType)
{
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    const KSValue copy(*seven);
    KSValue assigned;
    assigned = *seven;
    for (const KSValue* value : {&copy, &std::as_const(assigned)})
    {
        int64 x = -1;
        EXPECT_TRUE(Assign(x, *value));
        EXPECT_EQ(x, 0);
        EXPECT_TRUE(*value != *seven);
    }
}

TEST(ScriptValue, CanBeDestroyedAndAssignedToWhereACopyFailed)
{
    static constexpr uint8 s_noType[] = {0xFF};
    for (const Operand& before : AllOperands())
    {
        KSValue uncopyable{ReflectedValue()};
        uncopyable.as<ReflectedValue>().m_rbc = ReflectionByteCode(s_noType, nullptr);
        KSValue destroyed(before.Value());
        KSValue assigned(before.Value());
        EXPECT_THROW(destroyed = uncopyable, KelmAssertionError) << before.m_name;
        EXPECT_THROW(assigned = uncopyable, KelmAssertionError) << before.m_name;
        uncopyable.as<ReflectedValue>().m_rbc = ReflectionByteCode();

        EXPECT_EQ(destroyed.GetTag(), KSV_REFLECTED_VALUE) << before.m_name; // the new tag, without its payload
        assigned = I(1);
        EXPECT_EQ(KindAndValue(assigned), "int64 1") << before.m_name;
    }
}

// --- Its own equality and order --------------------------------------------------------------------------------------

TEST(ScriptValueOrder, IsByTagFirst)
{
    const KSValue values[] = {V(), B(true), I(-5), F(-1e300), S(""), KSValue(ReflectedValue())};
    for (std::size_t i = 0; i < std::size(values); ++i)
        for (std::size_t j = 0; j < std::size(values); ++j)
        {
            EXPECT_EQ(values[i] < values[j], i < j) << i << " " << j;
            EXPECT_EQ(values[i] == values[j], i == j) << i << " " << j;
            EXPECT_EQ(values[i] != values[j], i != j) << i << " " << j;
        }
}

TEST(ScriptValueOrder, IsByPayloadWithinAnAlternative)
{
    const std::vector<std::vector<KSValue>> ordered = {
        {B(false), B(true)},
        {I(std::numeric_limits<int64>::min()), I(-1), I(0), I(1), I(std::numeric_limits<int64>::max())},
        {F(-std::numeric_limits<double>::infinity()), F(-1.5), F(0.0), F(5e-324), F(2.5),
         F(std::numeric_limits<double>::infinity())},
        {S(""), S(std::string("\0", 1)), S("A"), S("a"), S("ab"), S("abc"), S("b"), S("\xE9")},
    };
    for (const std::vector<KSValue>& values : ordered)
        for (std::size_t i = 0; i < values.size(); ++i)
            for (std::size_t j = 0; j < values.size(); ++j)
            {
                EXPECT_EQ(values[i] < values[j], i < j) << KindAndValue(values[i]) << " " << KindAndValue(values[j]);
                EXPECT_EQ(values[i] == values[j], i == j) << KindAndValue(values[i]) << " " << KindAndValue(values[j]);
            }
}

TEST(ScriptValueOrder, PromotesNothing)
{
    EXPECT_FALSE(I(1) == F(1.0));
    EXPECT_TRUE(I(1) < F(1.0));
    EXPECT_TRUE(I(2) < F(1.0));
    EXPECT_FALSE(F(1.0) < I(2));
}

TEST(ScriptValueOrder, HasNaNEqualToNothingAndUnordered)
{
    EXPECT_FALSE(F(s_nan) == F(s_nan));
    EXPECT_TRUE(F(s_nan) != F(s_nan));
    for (const double x : {-1.0, 0.0, 1.0, s_nan})
    {
        EXPECT_FALSE(F(s_nan) < F(x)) << x;
        EXPECT_FALSE(F(x) < F(s_nan)) << x;
    }
    EXPECT_TRUE(F(0.0) == F(-0.0));
}

TEST(ScriptValueOrder, ComparesReflectedValuesByTheirContents)
{
    const std::shared_ptr<KSValue> three = MakeReflected(s_bcInt32, int32(3));
    const std::shared_ptr<KSValue> alsoThree = MakeReflected(s_bcInt32, int32(3));
    const std::shared_ptr<KSValue> four = MakeReflected(s_bcInt32, int32(4));
    EXPECT_TRUE(*three == *alsoThree);
    EXPECT_FALSE(*three < *alsoThree);
    EXPECT_TRUE(*three != *four);
    EXPECT_TRUE(*three < *four);
    EXPECT_FALSE(*four < *three);
}

// --- Text ------------------------------------------------------------------------------------------------------------

TEST(WritingAValue, GivesTheTextOfEachAlternative)
{
    const std::pair<KSValue, std::string> rows[] = {
        {V(), "void"},
        {B(true), "true"},
        {B(false), "false"},
        {I(0), "0"},
        {I(std::numeric_limits<int64>::min()), "-9223372036854775808"},
        {F(1.0), "1.0"},
        {F(0.1), "0.1"},
        {F(1e300), "1e+300"},
        {F(std::numeric_limits<double>::infinity()), "inf"},
        {F(-std::numeric_limits<double>::infinity()), "-inf"},
        {F(s_nan), "nan"},
        {S(""), ""},
        {S("it's \"quoted\"\n"), "it's \"quoted\"\n"}, // neither quotes nor escapes are added
        {S(std::string("a\0b", 3)), std::string("a\0b", 3)},
    };
    for (const auto& [value, text] : rows)
    {
        EXPECT_EQ(WrittenText(value), text);
        StringStream os(4096);
        os << value;
        EXPECT_EQ(ToStdString(os.GetString()), text);
    }
}

// The stack is made small first: exhausting all of it would only take longer. The default action is restored because a
// sanitizer handles the signal otherwise.
void WriteWithLittleStack(const KSValue& value)
{
    const rlimit limit = {512 * 1024, 512 * 1024};
    setrlimit(RLIMIT_STACK, &limit);
    std::signal(SIGSEGV, SIG_DFL);
    StringStream os(4096);
    value.Write(os);
}

TEST(WritingAValueDeathTest, NeverEndsForAReflectedOne)
{
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    EXPECT_EXIT(WriteWithLittleStack(*seven), ::testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(WriteWithLittleStack(ReflectedValue()), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST(WritingAValueDeathTest, NeverEndsInTheMessageOfAFailedConversion)
{
    const std::shared_ptr<KSValue> refuses = MakeReflected(s_bcVectorOfInt32, VectorOfByte());
    const auto convertWithLittleStack = [&](auto convert)
    {
        const rlimit limit = {512 * 1024, 512 * 1024};
        setrlimit(RLIMIT_STACK, &limit);
        std::signal(SIGSEGV, SIG_DFL);
        convert(*refuses);
    };
    EXPECT_EXIT(convertWithLittleStack([](const KSValue& v) { As<bool>(v, false); }),
                ::testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(convertWithLittleStack([](const KSValue& v) { As<bool>(v, true); }), ::testing::KilledBySignal(SIGSEGV),
                "");
    EXPECT_EXIT(convertWithLittleStack([](const KSValue& v) { As<double>(v, false); }),
                ::testing::KilledBySignal(SIGSEGV), "");
}

// --- Names and standard failures -------------------------------------------------------------------------------------

TEST(TypeNames, AreThoseOfTheFiveSimpleAlternatives)
{
    EXPECT_STREQ(TypeToString(KSV_VOID), "void");
    EXPECT_STREQ(TypeToString(KSV_BOOL), "bool");
    EXPECT_STREQ(TypeToString(KSV_INT64), "int64");
    EXPECT_STREQ(TypeToString(KSV_FLOAT64), "float64");
    EXPECT_STREQ(TypeToString(KSV_STRING8), "string");
    for (const int32 tag : {-1, int32(KSV_REFLECTED_VALUE), 6, std::numeric_limits<int32>::min()})
        EXPECT_TRUE(FailsAssertion([&] { TypeToString(static_cast<EKSValue>(tag)); }, "0", "src/KSValue")) << tag;
}

TEST(StandardFailures, NameTheTypesAndTheOperation)
{
    EXPECT_TRUE(ThrowsDescription<KSValueException>([] { ThrowIncompatibleTypesException(B(true), I(1), "-"); },
                                                    "Incompatible types (bool and int64) for - operation"));
    EXPECT_TRUE(ThrowsDescription<KSValueException>([] { ThrowIncompatibleTypesException(B(true), S("a"), "+"); },
                                                    "Incompatible types (bool and string) for + operation"));
    EXPECT_TRUE(ThrowsDescription<KSValueException>([] { ThrowIncompatibleTypesException(V(), F(1.5), "comparison"); },
                                                    "Incompatible types (void and float64) for comparison operation"));
    EXPECT_TRUE(ThrowsDescription<KSValueException>([] { ThrowIncompatibleTypeException(S("a"), "~"); },
                                                    "Incompatible type (string) for unary ~ operation"));
    EXPECT_TRUE(ThrowsDescription<KSValueException>([]
                                                    { ThrowNoImplicitConversionFromValue<KSValue>(S("abc"), "bool"); },
                                                    "No implicit conversion from value abc to bool"));
}

TEST(StandardFailures, OfReflectedOperandsFailTheAssertionThatTheyHaveAName)
{
    const KSValue reflected{ReflectedValue()};
    EXPECT_TRUE(FailsAssertion([&] { ThrowIncompatibleTypesException(reflected, I(1), "+"); }, "0", "src/KSValue"));
    EXPECT_TRUE(FailsAssertion([&] { ThrowIncompatibleTypesException(I(1), reflected, "+"); }, "0", "src/KSValue"));
    EXPECT_TRUE(FailsAssertion([&] { ThrowIncompatibleTypeException(reflected, "-"); }, "0", "src/KSValue"));
}

// The exception is made from a zero-terminated text.
TEST(StandardFailures, EndAtAZeroByteOfTheValue)
{
    EXPECT_TRUE(ThrowsDescription<KSValueException>(
        [] { ThrowNoImplicitConversionFromValue<KSValue>(S(std::string("a\0b", 3)), "bool"); },
        "No implicit conversion from value a"));
}

TEST(ValueException, IsItsMessage)
{
    const KSValueException e("a message");
    EXPECT_EQ(e.m_description, "a message");
    EXPECT_STREQ(e.what(), "a message");
    EXPECT_EQ(WrittenText(e), "a message");
    const IException& asIException = e;
    EXPECT_EQ(WrittenText(asIException), "a message");
    const KSValueException copy(e); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_STREQ(copy.what(), "a message");
}

TEST(ValueException, IsCaughtAsAnyOfItsBases)
{
    EXPECT_THROW(throw KSValueException("x"), IException);
    EXPECT_THROW(throw KSValueException("x"), std::exception);
}

// --- Checked conversions ---------------------------------------------------------------------------------------------

template <class T>
std::string CheckedConversion(const KSValue& v, bool allowExplicitConversions)
{
    return OutcomeOf([&] { return KSValue(As<T>(v, allowExplicitConversions)); });
}

TEST(CheckedConversions, GiveTheValueOrSayWhatDoesNotConvert)
{
    const std::string no = "KSValueException: No implicit conversion from value ";
    const struct
    {
        KSValue m_value;
        std::string m_toBool, m_toBoolExplicitly, m_toDouble, m_toDoubleExplicitly;
    } rows[] = {
        {V(), no + "void to bool", no + "void to bool", no + "void to float64", no + "void to float64"},
        {B(true), "bool true", "bool true", no + "true to float64", "float64 1.0"},
        {B(false), "bool false", "bool false", no + "false to float64", "float64 0.0"},
        {I(0), no + "0 to bool", "bool false", no + "0 to float64", "float64 0.0"},
        {I(-3), no + "-3 to bool", "bool true", no + "-3 to float64", "float64 -3.0"},
        {F(2.0), no + "2.0 to bool", "bool true", "float64 2.0", "float64 2.0"},
        {F(-0.0), no + "-0.0 to bool", "bool false", "float64 -0.0", "float64 -0.0"},
        {F(s_nan), no + "nan to bool", "bool true", "float64 nan", "float64 nan"},
        {S("true"), no + "true to bool", no + "true to bool", no + "true to float64", no + "true to float64"},
        {S("1.5"), no + "1.5 to bool", no + "1.5 to bool", no + "1.5 to float64", no + "1.5 to float64"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(CheckedConversion<bool>(row.m_value, false), row.m_toBool);
        EXPECT_EQ(CheckedConversion<bool>(row.m_value, true), row.m_toBoolExplicitly);
        EXPECT_EQ(CheckedConversion<double>(row.m_value, false), row.m_toDouble);
        EXPECT_EQ(CheckedConversion<double>(row.m_value, true), row.m_toDoubleExplicitly);
    }
}

TEST(CheckedConversions, HandReflectedValuesOnForBoolAlone)
{
    const std::shared_ptr<KSValue> yes = MakeReflected(s_bcBool, true);
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    EXPECT_EQ(CheckedConversion<bool>(*yes, false), "bool true");
    EXPECT_EQ(CheckedConversion<bool>(*seven, true), "bool true");
    EXPECT_TRUE(FailsAssertion([&] { As<double>(*seven, true); }, "0", "src/KSValue"));
}

// --- Corrupt tags ----------------------------------------------------------------------------------------------------

KSValue WithTag(int32 tag)
{
    KSValue value;
    std::memcpy(static_cast<void*>(&value), &tag, sizeof tag);
    return value;
}

TEST(CorruptTags, CompareEqualAndAreNeverLess)
{
    for (const int32 tag : {-1, 6, 1000})
    {
        const KSValue a = WithTag(tag), b = WithTag(tag);
        EXPECT_TRUE(a == b);
        EXPECT_FALSE(a < b);
        EXPECT_EQ(a < V(), tag < 0);
    }
}

// What lies behind the tag.
std::string StorageOf(const KSValue& value)
{
    return std::string(reinterpret_cast<const char*>(&value) + 4, 48);
}

// Of a void value there is no payload to copy either.
TEST(CorruptTags, AreCopiedWithoutTheStorage)
{
    for (const int32 tag : {-1, 6, 1000, 0})
    {
        KSValue from;
        std::memset(static_cast<void*>(&from), 'x', sizeof from);
        std::memcpy(static_cast<void*>(&from), &tag, sizeof tag);
        for (const bool isMoved : {false, true})
        {
            KSValue to(int64(0x0102030405060708));
            const std::string before = StorageOf(to);
            if (isMoved)
                to = std::move(from);
            else
                to = from;
            EXPECT_EQ(to.GetTag(), tag);
            EXPECT_EQ(StorageOf(to), before) << tag;
        }
        alignas(KSValue) unsigned char place[sizeof(KSValue)];
        std::memset(place, 'y', sizeof place);
        const KSValue& made = *::new (static_cast<void*>(place)) KSValue(from);
        EXPECT_EQ(made.GetTag(), tag);
        EXPECT_EQ(StorageOf(made), std::string(48, 'y')) << tag;
    }
}

TEST(CorruptTags, FailTheAssertionsOfTheOperations)
{
    for (const int32 tag : {-1, 6})
    {
        KSValue value = WithTag(tag);
        bool b = false;
        EXPECT_TRUE(FailsAssertion([&] { WrittenText(value); }, "0", "src/KSValue"));
        EXPECT_TRUE(FailsAssertion([&] { Assign(value, I(1)); }, "0", "src/KSValue"));
        EXPECT_TRUE(FailsAssertion([&] { Coerce(b, value, true); }, "0", "src/KSValue"));
        EXPECT_FALSE(Coerce(b, value, false));
        EXPECT_TRUE(FailsAssertion([&] { ApplySubscript(value, I(0)); }, "0", "src/KSValue", 816));
        EXPECT_TRUE(FailsAssertion([&] { ApplyLen(value); }, "0", "src/KSValue", 835));
    }
}

// --- Visiting --------------------------------------------------------------------------------------------------------

class CountingVisitor : public IObjectVisitor, public IPrefVisitor
{
public:
    void Visit(const ptr<IObject>& handle) override { m_handles.push_back(handle.self()); }
    void Visit(const prefbase& reference) override { m_references.push_back(reference.GetObjectId()); }

    std::vector<void*> m_handles;
    std::vector<ObjectId> m_references;
};

TEST(VisitingAValue, FindsNothingInSimpleAlternatives)
{
    CountingVisitor visitor;
    for (const Operand& operand : AllOperands())
    {
        operand.Value().VisitObjects(visitor);
        operand.Value().VisitPrefs(visitor);
    }
    KSValue(ReflectedValue()).VisitObjects(visitor);
    KSValue(ReflectedValue()).VisitPrefs(visitor);
    EXPECT_TRUE(visitor.m_handles.empty());
    EXPECT_TRUE(visitor.m_references.empty());
}

TEST(VisitingAValue, FindsTheHandlesAndReferencesOfAReflectedOne)
{
    static constexpr ConstStringZ s_names[] = {"kelm::IObject", nullptr};
    static constexpr uint8 s_handle[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
    static constexpr uint8 s_reference[] = {FT_PREF, FT_INTERFACE, 0, 0};

    CountingVisitor visitor;
    int object = 0; // only its address is looked at
    KSValue handle{ReflectedValue()};
    HoldVariable(handle.as<ReflectedValue>(), s_handle, ptr<IObject>(&object, nullptr), s_names);
    handle.VisitObjects(visitor);
    EXPECT_EQ(visitor.m_handles, std::vector<void*>{&object});

    prefbase designatesFive;
    designatesFive.SetObjectId(5);
    KSValue reference{ReflectedValue()};
    HoldVariable(reference.as<ReflectedValue>(), s_reference, designatesFive, s_names);
    reference.VisitPrefs(visitor);
    EXPECT_EQ(visitor.m_references, std::vector<ObjectId>{5});
}

} // namespace
} // namespace kelm
