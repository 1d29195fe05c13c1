// Every kind that nests, a million levels deep, on large and small stacks: values are written, read back, compared,
// copied, collected and destroyed; expressions evaluate or fail as they should. A program of its own, since it takes
// long.

#include "DataSources.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/GcObject.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <sys/resource.h>

namespace nesting
{

struct ByVector
{
    kelm::int32 m_level = 0;
    kelm::xvector<ByVector> m_inner;

    static void Wrap(ByVector& value, kelm::int32 level)
    {
        ByVector outer{level, {}};
        outer.m_inner.push_back(std::move(value));
        value = std::move(outer);
    }
};

struct ByMap
{
    kelm::xmap<kelm::int32, ByMap> m_inner;

    static void Wrap(ByMap& value, kelm::int32 level)
    {
        ByMap outer;
        outer.m_inner.Insert(level).m_inner.swap(value.m_inner);
        value.m_inner.swap(outer.m_inner);
    }
};

struct ByVariant : kelm::xvariant<kelm::int32, kelm::xvector<ByVariant>>
{
    using xvariant::xvariant;

    static void Wrap(ByVariant& value, kelm::int32)
    {
        kelm::xvector<ByVariant> list;
        list.push_back(std::move(value));
        value = ByVariant(std::move(list));
    }
};

// Through all of them by turns.
struct ByTurns;

struct Turn : kelm::xvariant<kelm::int32, kelm::xvector<ByTurns>>
{
    using xvariant::xvariant;
};

struct ByTurns
{
    kelm::xmap<kelm::int32, Turn> m_inner;

    static void Wrap(ByTurns& value, kelm::int32 level);
};

inline void ByTurns::Wrap(ByTurns& value, kelm::int32 level)
{
    kelm::xvector<ByTurns> list;
    list.push_back(std::move(value));
    ByTurns outer;
    outer.m_inner.Insert(level) = Turn(std::move(list));
    value = std::move(outer);
}

struct Node
{
    kelm::ptr<kelm::IObject> m_next;
};

} // namespace nesting

KELM_CLASS(nesting::ByVector, KELM_MODEL(m_level), KELM_MODEL(m_inner))
KELM_CLASS(nesting::ByMap, KELM_MODEL(m_inner))
KELM_VARIANT(nesting::ByVariant, "end", "list")
KELM_VARIANT(nesting::Turn, "end", "list")
KELM_CLASS(nesting::ByTurns, KELM_MODEL(m_inner))
KELM_CLASS(nesting::Node, KELM_MODEL(m_next))

namespace kelm
{
namespace
{

constexpr std::size_t s_stackSizes[] = {std::size_t(8) << 20, std::size_t(256) << 10, s_smallStack};

void RegisterOnce()
{
    static const bool s_once = []
    {
        Register_Project_klKelmScript();
        RegisterTypes<nesting::ByVector, nesting::ByMap, nesting::ByVariant, nesting::Turn, nesting::ByTurns,
                      nesting::Node>(nullptr);
        return true;
    }();
    static_cast<void>(s_once);
}

template <class T>
ReflectionByteCode TypeOf()
{
    static constexpr TypeTables<FieldType<T>> s_tables{};
    return {s_tables.ByteCode(0), s_tables.m_names.data(), s_tables.Functions(0)};
}

template <class T>
T MakeDeep(int levels)
{
    T value;
    for (int i = 0; i < levels; ++i)
        T::Wrap(value, 1);
    return value;
}

template <class T>
xstring TextOf(const T& value)
{
    StringStream os(4096);
    WriteVariable(os, TypeOf<T>(), &value);
    return os.GetString();
}

template <class T>
void ReadFrom(const xstring& text, T& value)
{
    ExpressionParser parser;
    parser.Init(text);
    ParseVariable(parser, TypeOf<T>(), &value);
    EXPECT_EQ(parser.GetTokenType(), TOKEN_END);
}

template <class T>
class DeepValues : public testing::Test
{
protected:
    void SetUp() override { RegisterOnce(); }
};
using Kinds = testing::Types<nesting::ByVector, nesting::ByMap, nesting::ByVariant, nesting::ByTurns>;
TYPED_TEST_SUITE(DeepValues, Kinds);

TYPED_TEST(DeepValues, AreWrittenReadAndDestroyed)
{
    const ExpectedLeaks leaks; // the last key of each map
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize,
                    []
                    {
                        auto value = std::make_unique<TypeParam>(MakeDeep<TypeParam>(s_nesting));
                        const xstring text = TextOf(*value);
                        EXPECT_GT(text.size(), s_nesting);
                        value = std::make_unique<TypeParam>();
                        ReadFrom(text, *value);
                        EXPECT_EQ(TextOf(*value), text);
                    });
}

TYPED_TEST(DeepValues, FailToBeReadWhereTheirTextEnds)
{
    const ExpectedLeaks leaks;
    const xstring text = TextOf(MakeDeep<TypeParam>(s_nesting / 5));
    const xstring half(text.data(), text.size() / 2);
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize,
                    [&]
                    {
                        const auto value = std::make_unique<TypeParam>();
                        EXPECT_THROW(ReadFrom(half, *value), LexScannerException);
                    });
}

#if !defined(KELM_TEST_ASAN) && !defined(KELM_TEST_TSAN)
// Segments run out first: the text needs less than what follows its levels.
template <class T>
[[noreturn]] void ReadWithLittleMemory()
{
    const xstring text = TextOf(MakeDeep<T>(s_nesting));
    long numPages = 0;
    std::ifstream("/proc/self/statm") >> numPages;
    const rlimit limit{rlim_t(numPages) * 4096 + (rlim_t(128) << 20), RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &limit);
    int numFailed = 0;
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize,
                    [&]
                    {
                        const auto value = std::make_unique<T>();
                        try
                        {
                            ReadFrom(text, *value);
                        }
                        catch (const std::bad_alloc&)
                        {
                            ++numFailed;
                        }
                    });
    std::_Exit(numFailed == 3 ? 0 : 1);
}

TYPED_TEST(DeepValues, FailToBeReadWhereMemoryEnds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ReadWithLittleMemory<TypeParam>(), testing::ExitedWithCode(0), "");
}
#endif

template <class T>
class DeepCopies : public DeepValues<T>
{
};
TYPED_TEST_SUITE(DeepCopies, Kinds);

TYPED_TEST(DeepCopies, AreEqual)
{
    const ReflectionByteCode type = TypeOf<TypeParam>();
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize,
                    [&]
                    {
                        const auto value = std::make_unique<TypeParam>(MakeDeep<TypeParam>(s_nesting));
                        const auto copy = std::make_unique<TypeParam>(*value);
                        EXPECT_TRUE(CompareEqReflectedVariable(type, value.get(), type, copy.get()));
                        EXPECT_FALSE(CompareLtReflectedVariable(type, value.get(), type, copy.get()));
                    });
}

TEST(DeepObjects, AreReadWrittenAndCollected)
{
    RegisterOnce();
    const std::string text = Repeated("nesting.Node { m_next = ", s_nesting) + "null" + Repeated(" }", s_nesting);
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize,
                    [&]
                    {
                        xstring error;
                        const ptr<IObject> object =
                            ParseDataSourceFromString(xstring(text.data(), static_cast<ssize_t>(text.size())), error);
                        EXPECT_EQ(error, "");
                        StringStream os(4096);
                        WriteObject(os, object);
                        EXPECT_GT(os.GetString().size(), 10 * s_nesting);
                        {
                            const GcRoot root(object);
                            EXPECT_EQ(CollectGarbage().m_live, s_nesting);
                        }
                        EXPECT_EQ(CollectGarbage().m_lastFreed, s_nesting);
                    });
}

TEST(DeepExpressions, EvaluateOrFailOnAnyStack)
{
    constexpr int depth = s_nesting;
    const std::string number = std::to_string(depth);
    const auto repeated = [](const char* text) { return Repeated(text, depth); };
    const auto unexpected = [](int length, const char* before)
    {
        return "LexScannerException at " + std::to_string(static_cast<long>(length) * depth) +
               ": Unexpected end of text after " + before + " in expression";
    };
    const ExpressionRow rows[] = {
        {repeated("(") + "7" + repeated(")"), "int64 7"},
        {repeated("(1+") + "0" + repeated(")"), "int64 " + number},
        {repeated("- ") + "7", "int64 7"},
        {repeated("!") + "true", "bool true"},
        {repeated("1 ? 2 : ") + "3", "KSValueException: No implicit conversion from value 1 to bool"},
        {repeated("false ? 1 : ") + "2", "int64 2"},
        {repeated("true ? ") + "2" + repeated(" : 1"), "int64 2"},
        {repeated("int(") + "2.5" + repeated(")"), "int64 2"},
        {"1" + repeated(" + 1"), "int64 " + std::to_string(depth + 1)},
        {repeated("("), unexpected(1, "(")},
        {repeated("1["), unexpected(2, "[")},
        {repeated("1("), unexpected(2, "(")},
        {repeated("1(2,"), unexpected(4, ",")},
        {repeated("true ? "), unexpected(7, "?")},
        {repeated("true ? 1 : "), unexpected(11, ":")},
    };
    for (const std::size_t stackSize : s_stackSizes)
        for (const ExpressionRow& row : rows)
        {
            std::string outcome;
            RunOnThread(stackSize, [&] { outcome = OutcomeOfText(row.m_text); });
            EXPECT_EQ(outcome, row.m_outcome) << row.m_text.substr(0, 20) << ' ' << stackSize;
        }
}

// Comments do not nest: the first end ends them all.
TEST(DeepComments, DoNotNest)
{
    const std::string outcome = OutcomeOfText(Repeated("/* ", s_nesting) + "*/ 7");
    EXPECT_EQ(outcome, "int64 7");
}

} // namespace
} // namespace kelm
