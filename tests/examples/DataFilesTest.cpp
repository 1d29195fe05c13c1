// The data sources of the examples, read with the types of the example module.

#include "Examples.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace kelm
{

namespace
{

using Objects = xvector<ptr<IObject>>;

class ExampleData : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Register_Project_klKelmScript();
        LoadExampleModule();
    }
    void TearDown() override { EXPECT_EQ(CollectGarbage().m_live, 0); }
};

GcRoot Parse(const xstring& text)
{
    LexScannerException error("", LSToken());
    GcRoot root(ParseDataSource(text, error));
    EXPECT_TRUE(root.get()) << "line " << error.m_lineNumber << ": " << error.what();
    return root;
}

xstring DataFile(const std::string& name)
{
    const std::string text = TextOfFile(ExampleFile("data/" + name));
    return {text.data(), static_cast<ssize_t>(text.size())};
}

template <class T>
T& FieldAt(const GcRoot& root, const char* path)
{
    ReflectionByteCode type;
    xstring error;
    void* const field = NavigatePathToField(root.get(), path, type, false, error);
    if (field == nullptr)
        throw std::runtime_error(error.c_str());
    return *static_cast<T*>(field);
}

// Of two objects without handles.
bool AreEqual(ptr<IObject> a, ptr<IObject> b)
{
    static constexpr uint8 s_class[] = {FT_CLASS, 0, 0};
    const ConstStringZ nameA = a.GetReflectedClass()->m_name;
    const ConstStringZ nameB = b.GetReflectedClass()->m_name;
    return CompareEqReflectedVariable({s_class, &nameA}, a.self(), {s_class, &nameB}, b.self());
}

struct FileRow
{
    const char* m_file;
    const char* m_class;
    int64 m_numObjects;
};

constexpr FileRow s_files[] = {
    {"garden.kds", "garden::Plan", 6},
    {"people.kds", "people::Club", 6},
    {"scene.kds", "garden::Plan", 333},
};

TEST_F(ExampleData, LoadsWhole)
{
    for (const FileRow& row : s_files)
    {
        SCOPED_TRACE(row.m_file);
        const xstring text = DataFile(row.m_file);
        ExpressionParser parser;
        parser.Init(text);
        const GcRoot root(ParseDataSource(parser));
        EXPECT_EQ(parser.GetTokenType(), TOKEN_END);
        EXPECT_STREQ(root.get().GetReflectedClass()->m_name, row.m_class);
        EXPECT_EQ(CollectGarbage().m_live, row.m_numObjects);
    }
}

TEST_F(ExampleData, ReadsBackEqualWhenWritten)
{
    for (const FileRow& row : s_files)
    {
        SCOPED_TRACE(row.m_file);
        const xstring written = TextOf(Parse(DataFile(row.m_file)).get());
        EXPECT_EQ(TextOf(Parse(written).get()), written);
        CollectGarbage();
    }
}

TEST_F(ExampleData, KeepsEveryShapeOfTheSceneWhenWritten)
{
    const GcRoot scene = Parse(DataFile("scene.kds"));
    const GcRoot again = Parse(TextOf(scene.get()));
    const Objects& shapes = FieldAt<Objects>(scene, ".shapes");
    const Objects& shapesAgain = FieldAt<Objects>(again, ".shapes");
    ASSERT_EQ(shapes.size(), 330);
    ASSERT_EQ(shapesAgain.size(), 330);
    for (ssize_t i = 0; i < shapes.size(); ++i)
        EXPECT_TRUE(AreEqual(shapes[i], shapesAgain[i])) << "shape " << i;
    EXPECT_FALSE(AreEqual(shapes[0], shapes[1]));
    EXPECT_EQ(FieldAt<uint64>(again, ".parcel"), 18446744073709551557u);
    EXPECT_EQ(FieldAt<xvector<float>>(again, ".rainfall").size(), 52);
}

TEST_F(ExampleData, IsReachedByPaths)
{
    const GcRoot garden = Parse(DataFile("garden.kds"));
    EXPECT_STREQ(FieldAt<xstring>(garden, ".shapes[0].name").c_str(), "Apple tree");
    EXPECT_STREQ(FieldAt<xstring>(garden, ".shapes[3].name").c_str(), "Pond"); // of the pond's embedded shape
    EXPECT_EQ(FieldAt<double>(garden, ".shapes[2].position.x"), 5);
    EXPECT_EQ(FieldAt<uint16>(garden, ".owner.home.number"), 4);
    EXPECT_EQ(FieldAt<float>(garden, ".margins[3]"), 3);
    EXPECT_EQ(FieldAt<float>(garden, ".rainfall[[12]"), 0);
}

TEST_F(ExampleData, BreaksWhereItIsMeantTo)
{
    xstring error;
    EXPECT_FALSE(ParseDataSourceFromString(DataFile("broken.kds"), error));
    EXPECT_STREQ(error.c_str(), "line 7: Unknown member 'postion' of class garden::Shape");
}

TEST_F(ExampleData, HasNoFileThatIsNotTested)
{
    std::set<std::string> tested = {"broken.kds"};
    for (const FileRow& row : s_files)
        tested.insert(row.m_file);
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(ExampleFile("data")))
        if (entry.path().extension() == ".kds")
            found.insert(entry.path().filename());
    EXPECT_EQ(found, tested);
}

} // namespace

} // namespace kelm
