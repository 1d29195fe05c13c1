// Single steps: where they lead, how they fail, and that they are those of a walk.

#include "FieldPaths.h"

#include <klKelmScript/private/PathSteps.h>
#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klPersistStore/ReadBarrier.h>
#include <support/HandmadeClasses.h>

#include <gtest/gtest.h>

#include <cctype>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

using hand::As;
using hand::New;
using Access = PathSteps::Access;
using Way = PathSteps::Way;

using PathStepsOf = HandmadeTest;

ptr<IObject> MakeContainers()
{
    const ptr<IObject> object = New<hand::Containers>();
    auto& containers = As<hand::Containers>(object);
    containers.m_points.resize(3);
    containers.m_vecs = {{1, 2}, {3}};
    containers.m_strings = {"a", "b"};
    return object;
}

ptr<IObject> MakeNode()
{
    const ptr<IObject> object = New<hand::Node>();
    auto& node = As<hand::Node>(object);
    node.m_next = New<hand::Node>();
    node.m_kids = {object, nullptr, New<hand::Plain>(), New<hand::Outer>(), MakeContainers()};
    node.m_ref.Set(QueryPersistable(node.m_next));
    return object;
}

// Takes a path's steps one by one, as whoever has it in another form would. The message of the step that fails.
std::string Take(PathSteps& steps, const std::string& path)
{
    const char* p = path.c_str();
    while (*p != '\0')
    {
        const bool isField = *p == '.';
        while (*p == '.' || *p == '[')
            ++p;
        const char* const start = p;
        while (std::isalnum(static_cast<unsigned char>(*p)) != 0 || *p == '_' || *p == '-')
            ++p;
        const SubString text(start, p);
        p += *p == ']';
        if (!(isField ? steps.TryStepToField(text) : steps.TryStepToElement(std::stoll(std::string(start, p)))))
            return ToStdString(MessageOf(steps.GetProblem(), LSToken(TOKEN_IDENTIFIER, text)));
    }
    return "";
}

// --- As a walk -------------------------------------------------------------------------------------------------------

TEST_F(PathStepsOf, APathLeadWhereAWalkLeads)
{
    const struct
    {
        ptr<IObject> (*m_make)();
        const char* m_path;
    } rows[] = {
        {New<hand::Scalars>, ".int32"},
        {New<hand::Scalars>, ".string8"},
        {New<hand::Outer>, ""},
        {MakeContainers, ".fixed[3]"},
        {MakeContainers, ".matrix[1][2]"},
        {MakeContainers, ".corners[1].y"},
        {MakeContainers, ".points[2].x"},
        {MakeContainers, ".vecs[0][1]"},
        {MakeContainers, ".strings[1]"},
        {MakeContainers, ".dyn[[0]"},
        {MakeNode, ".next.value"},
        {MakeNode, ".ref.name"},
        {MakeNode, ".kids[0].next.points[1].y"},
        {MakeNode, ".kids[4].points[1].x"},
    };
    for (const auto& row : rows)
        for (const Access access : {Access::Read, Access::Write})
        {
            const ptr<IObject> object = row.m_make();
            PathSteps steps(object, access);
            EXPECT_EQ(Take(steps, row.m_path), "") << row.m_path;
            const Reached reached = Walk(object, row.m_path, access == Access::Write);
            EXPECT_EQ(steps.GetAddress(), reached.m_address) << row.m_path;
            EXPECT_EQ(steps.GetType().m_bc, reached.m_type.m_bc) << row.m_path;
            EXPECT_EQ(steps.GetType().m_stringTable, reached.m_type.m_stringTable) << row.m_path;
            EXPECT_EQ(steps.GetType().m_mapOrSetFns, reached.m_type.m_mapOrSetFns) << row.m_path;
            EXPECT_FALSE(steps.IsConst()) << row.m_path;
        }
}

TEST_F(PathStepsOf, APathFailAsAWalkFails)
{
    const struct
    {
        ptr<IObject> (*m_make)();
        const char* m_path;
        const char* m_message;
    } rows[] = {
        {New<hand::Point>, ".z", "Identifier z is not a model field of class hand::geom::Point"},
        {MakeContainers, ".fixed[4]", "Array index 4 out of range"},
        {MakeContainers, ".fixed[-1]", "Array index -1 out of range"},
        {MakeContainers, ".vec[2]", "Vector index 2 out of range"},
        {MakeContainers, ".vec[-3]", "Vector index -3 out of range"},
        {MakeContainers, ".dyn[[-1]", "Array index -1 out of range"},
        {MakeNode, ".kids[1].value", "null dereference"},
        {MakeNode, ".cref.value", "null dereference"},
        {MakeNode, ".kids[2].nosuch", "Identifier nosuch is not a model field of class hand::Plain"},
    };
    for (const auto& row : rows)
        for (const Access access : {Access::Read, Access::Write})
        {
            const ptr<IObject> object = row.m_make();
            PathSteps steps(object, access);
            EXPECT_EQ(Take(steps, row.m_path), row.m_message) << row.m_path;
            const std::string path = row.m_path;
            ExpressionParser parser;
            parser.Init(ViewOf(path));
            ReflectionByteCode type;
            try
            {
                NavigatePathToField(object, parser, type, access == Access::Write);
                ADD_FAILURE() << row.m_path;
            }
            catch (const LexScannerException& e)
            {
                EXPECT_EQ(ToStdString(SubString(e.m_description)), row.m_message) << row.m_path;
            }
        }
}

// --- Otherwise than a walk -------------------------------------------------------------------------------------------

TEST_F(PathStepsOf, AValueAreFailures)
{
    const struct
    {
        const char* m_path;
        const char* m_message;
    } rows[] = {
        {".int32.x", "No field x here: this is not an instance of a class"},
        {".string8[0]", "No elements here: this is not a container"},
        {".extent.x", "No field x here: this is not an instance of a class"},
        {"[0]", "No elements here: this is not a container"},
    };
    for (const auto& row : rows)
    {
        PathSteps steps(New<hand::Scalars>(), Access::Read);
        EXPECT_EQ(Take(steps, row.m_path), row.m_message) << row.m_path;
    }
    PathSteps bare(New<hand::Bare>(), Access::Read); // no model
    EXPECT_EQ(Take(bare, ".x"), "Identifier x is not a model field of class hand::Bare");
    PathSteps evolved(New<hand::Evolved>(), Access::Read);
    EXPECT_EQ(Take(evolved, ".old"), "Identifier old is not a model field of class hand::Evolved"); // dropped
}

TEST_F(PathStepsOf, ConstMembersLeadToWhatIsConst)
{
    const ptr<IObject> object = New<hand::Qualified>();
    for (const char* path : {".const", ".constPoint", ".constPoint.x"})
    {
        PathSteps steps(object, Access::Read);
        EXPECT_EQ(Take(steps, path), "") << path;
        EXPECT_TRUE(steps.IsConst()) << path;
    }
}

TEST_F(PathStepsOf, ADynamicArrayGrowOnlyWhereItIsWritten)
{
    const ptr<IObject> object = MakeContainers();
    auto& containers = As<hand::Containers>(object);
    PathSteps reading(object, Access::Read);
    EXPECT_EQ(Take(reading, ".dyn[[1]"), "Array index 1 out of range");
    EXPECT_EQ(containers.m_dyn.size(), 1);
    PathSteps writing(object, Access::Write);
    EXPECT_EQ(Take(writing, ".dyn[[5]"), "");
    EXPECT_EQ(containers.m_dyn.size(), 6);
    EXPECT_EQ(writing.GetAddress(), &containers.m_dyn[5]);
    const ssize_t limit = SetPathGrowthLimit(0); // what is there is reached all the same
    for (const int64 index : {0, 5})
    {
        PathSteps within(object, Access::Write);
        EXPECT_TRUE(within.TryStepToField("dyn") && within.TryStepToElement(index)) << index;
    }
    SetPathGrowthLimit(limit);
    for (const int64 index : {std::numeric_limits<int64>::max(), std::numeric_limits<int64>::min()})
    {
        PathSteps far(object, Access::Write);
        EXPECT_TRUE(far.TryStepToField("dyn"));
        EXPECT_FALSE(far.TryStepToElement(index));
        EXPECT_EQ(far.GetProblem().m_fault, PathFault::IndexOutOfRange);
        EXPECT_EQ(far.GetProblem().m_index, index);
    }
}

TEST_F(PathStepsOf, AMapTakeAKey)
{
    const ptr<IObject> object = MakeContainers();
    auto& containers = As<hand::Containers>(object);
    containers.m_map[7] = 70;
    containers.m_byName["a"] = {1, 2};

    for (const Access access : {Access::Read, Access::Write})
    {
        PathSteps steps(object, access);
        ASSERT_TRUE(steps.TryStepToField("map"));
        EXPECT_EQ(steps.GetWay(), Way::Keys);
        EXPECT_EQ(steps.GetKeyType().GetCode(), FT_INT32);
        int32 key = 7;
        ASSERT_TRUE(steps.TryStepToPayload(&key));
        EXPECT_EQ(steps.GetAddress(), &containers.m_map.find(7)->m_value);
        EXPECT_EQ(steps.GetType().GetCode(), FT_INT32);
    }

    containers.m_nested[7]["a"] = 71;
    xstring there("a");
    PathSteps deeper(object, Access::Write);
    int32 outer = 7;
    ASSERT_TRUE(deeper.TryStepToField("nested") && deeper.TryStepToPayload(&outer) && deeper.TryStepToPayload(&there));
    EXPECT_EQ(*static_cast<const int32*>(deeper.GetAddress()), 71);

    xstring absent("b");
    PathSteps inside(object, Access::Read);
    ASSERT_TRUE(inside.TryStepToField("byName") && inside.TryStepToPayload(&there) && inside.TryStepToElement(1));
    EXPECT_EQ(*static_cast<const int32*>(inside.GetAddress()), 2);

    PathSteps reading(object, Access::Read);
    ASSERT_TRUE(reading.TryStepToField("byName"));
    EXPECT_FALSE(reading.TryStepToPayload(&absent));
    EXPECT_EQ(ToStdString(SubString(MessageOf(reading.GetProblem(), LSToken(TOKEN_DOUBLE_QUOTED_STRING, "\"b\"")))),
              "Key \"b\" is not in the map");
    EXPECT_EQ(containers.m_byName.size(), 1);

    PathSteps writing(object, Access::Write);
    ASSERT_TRUE(writing.TryStepToField("byName") && writing.TryStepToPayload(&absent));
    EXPECT_EQ(containers.m_byName.size(), 2);
}

// --- From anywhere ---------------------------------------------------------------------------------------------------

TEST_F(PathStepsOf, AVariableThatNoObjectOwns)
{
    static constexpr ConstStringZ s_strings[] = {"hand::geom::Point"};
    static constexpr uint8 s_points[] = {FT_VECTOR, FT_CLASS, 0, 0};
    xvector<hand::Point> points;
    points.resize(2);
    PathSteps steps(nullptr, ReflectionByteCode(s_points, s_strings), &points, Access::Read);
    EXPECT_EQ(steps.GetWay(), Way::Elements);
    EXPECT_EQ(steps.GetElementCount(), 2);
    ASSERT_TRUE(steps.TryStepToElement(1));
    EXPECT_EQ(steps.GetWay(), Way::Fields);
    ASSERT_TRUE(steps.TryStepToField("y"));
    EXPECT_EQ(steps.GetWay(), Way::Nowhere);
    EXPECT_EQ(steps.GetAddress(), &points[1].m_y);
    EXPECT_FALSE(steps.GetOwner());
}

TEST_F(PathStepsOf, AnOptionalLeadIntoWhatIsThere)
{
    using Choice = std::optional<std::vector<int32>>;
    EnsureRegistered<Choice>();
    const ReflectionByteCode type(s_tablesOfType<Choice>.ByteCode(0), s_tablesOfType<Choice>.m_names.data());
    Choice choice;
    PathSteps empty(nullptr, type, &choice, Access::Read);
    EXPECT_FALSE(empty.TryStepToElement(0));
    EXPECT_EQ(ToStdString(SubString(MessageOf(empty.GetProblem(), LSToken()))), "null dereference");
    choice = {5, 6};
    PathSteps steps(nullptr, type, &choice, Access::Read);
    ASSERT_TRUE(steps.TryStepToElement(1));
    EXPECT_EQ(steps.GetAddress(), &(*choice)[1]);
}

TEST_F(PathStepsOf, ReadingTellTheBarrierWhereTheyLead)
{
    const ptr<IObject> object = MakeNode();
    std::vector<void*> told;
    const auto record = [](void* address, ptr<IObject>, ConstStringZ, void* context)
    { static_cast<std::vector<void*>*>(context)->push_back(address); };
    SetReadBarrier(record, &told);
    PathSteps steps(object, Access::Read);
    EXPECT_EQ(Take(steps, ".next.points[1].y"), "");
    const std::vector<void*> stepwise = std::exchange(told, {});
    Walk(object, ".next.points[1].y");
    EXPECT_EQ(told, stepwise);
    PathSteps writing(object, Access::Write);
    told.clear();
    EXPECT_EQ(Take(writing, ".next.points[1].y"), "");
    EXPECT_TRUE(told.empty());
    SetReadBarrier(nullptr, nullptr);
}

} // namespace
} // namespace kelm
