// Field paths: the read barrier, the modes, the navigator itself, the string form, and paths of any length and content.

#include "FieldPaths.h"

#include <klPersistStore/ReadBarrier.h>
#include <support/HandmadeClasses.h>

#include <rapidcheck/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

using hand::As;
using hand::Containers;
using hand::New;
using hand::Node;
using hand::Plain;
using hand::Point;

using PathBarrier = HandmadeTest;
using PathNavigator = HandmadeTest;
using PathText = HandmadeTest;
using LongPath = HandmadeTest;

// What the read barrier was told while it exists.
class BarrierRecorder
{
public:
    struct Call
    {
        const void* m_address;
        const void* m_object;

        friend bool operator==(const Call&, const Call&) = default;
    };

    BarrierRecorder() { SetReadBarrier(Record, this); }
    ~BarrierRecorder() { SetReadBarrier(nullptr, nullptr); }
    BarrierRecorder(const BarrierRecorder&) = delete;
    BarrierRecorder& operator=(const BarrierRecorder&) = delete;

    std::vector<Call> TakeCalls() { return std::exchange(m_calls, {}); }

private:
    static void Record(void* address, ptr<IObject> object, ConstStringZ name, void* self)
    {
        EXPECT_EQ(name, nullptr);
        static_cast<BarrierRecorder*>(self)->m_calls.push_back({address, object.self()});
    }

    std::vector<Call> m_calls;
};

// --- The read barrier ------------------------------------------------------------------------------------------------

TEST_F(PathBarrier, IsRaisedBeforeEachPositionInReadAccessAlone)
{
    const ptr<IObject> object = New<Node>();
    const ptr<IObject> next = New<Node>();
    Node& n = As<Node>(object);
    Node& m = As<Node>(next);
    n.m_next = next;
    n.m_kids = {nullptr, next};
    m.m_ref.Set(QueryPersistable(object));

    struct Row
    {
        const char* m_path;
        std::vector<BarrierRecorder::Call> m_calls;
    };
    const Row rows[] = {
        {"", {}},
        {".value", {{&n.m_value, &n}}},
        {".points", {{&n.m_points, &n}}},
        {".points[1]", {{&n.m_points, &n}, {&n.m_points[1], &n}}},
        {".points[1].y", {{&n.m_points, &n}, {&n.m_points[1], &n}, {&n.m_points[1].m_y, &n}}},
        {".next", {{&n.m_next, &n}}},
        {".next.value", {{&n.m_next, &n}, {&m.m_value, &m}}},
        {".kids[1].points[0].x",
         {{&n.m_kids, &n}, {&n.m_kids[1], &n}, {&m.m_points, &m}, {&m.m_points[0], &m}, {&m.m_points[0].m_x, &m}}},
        {".next.ref.name", {{&n.m_next, &n}, {&m.m_ref, &m}, {&n.m_name, &n}}},
    };
    BarrierRecorder barrier;
    for (const Row& row : rows)
    {
        Walk(object, row.m_path, false);
        EXPECT_EQ(barrier.TakeCalls(), row.m_calls) << row.m_path;
        Walk(object, row.m_path, true);
        EXPECT_TRUE(barrier.TakeCalls().empty()) << row.m_path;
    }
}

TEST_F(PathBarrier, StaysRaisedWhereThePathFails)
{
    const ptr<IObject> object = New<Node>();
    Node& n = As<Node>(object);
    BarrierRecorder barrier;
    EXPECT_ANY_THROW(Walk(object, ".next.value"));
    EXPECT_EQ(barrier.TakeCalls(), (std::vector<BarrierRecorder::Call>{{&n.m_next, &n}}));
    EXPECT_ANY_THROW(Walk(object, ".points[2]"));
    EXPECT_EQ(barrier.TakeCalls(), (std::vector<BarrierRecorder::Call>{{&n.m_points, &n}}));
    EXPECT_ANY_THROW(Walk(object, ".nosuch"));
    EXPECT_TRUE(barrier.TakeCalls().empty());
}

TEST_F(PathBarrier, MayBringInWhatIsThenRead)
{
    const ptr<IObject> object = New<Containers>();
    SetReadBarrier(
        [](void* address, ptr<IObject> owner, ConstStringZ, void*)
        {
            auto& c = As<Containers>(owner);
            if (address == &c.m_points && c.m_points.empty())
                c.m_points = {{1, 2}, {3, 4}};
        },
        nullptr);
    EXPECT_EQ(*static_cast<int32*>(Walk(object, ".points[1].y").m_address), 4);
    As<Containers>(object).m_points.clear();
    EXPECT_ANY_THROW(Walk(object, ".points[1].y", true));
    SetReadBarrier(nullptr, nullptr);
}

// --- The navigator ---------------------------------------------------------------------------------------------------

TEST_F(PathNavigator, WalksOnConstructionInEveryMode)
{
    const ptr<IObject> object = New<Containers>();
    Containers& c = As<Containers>(object);
    BarrierRecorder barrier;
    for (const EPathNavigatorMode mode : {PNM_READ_ACCESS, PNM_WRITE_ACCESS, PNM_SET_INSERT, PNM_SET_DELETE})
    {
        ExpressionParser parser;
        parser.Init(".vec[1] rest");
        const ExpressionPathNavigator navigator(parser, object, mode);
        EXPECT_EQ(&navigator.m_parser, &parser);
        EXPECT_EQ(navigator.m_mode, mode);
        EXPECT_EQ(navigator.m_obj, object);
        EXPECT_EQ(navigator.m_data, reinterpret_cast<char*>(&c.m_vec[1]));
        EXPECT_EQ(navigator.GetFieldAddress(), &c.m_vec[1]);
        EXPECT_EQ(navigator.GetFieldType().GetCode(), FT_INT32);
        EXPECT_EQ(navigator.ReadAccess(), mode == PNM_READ_ACCESS);
        EXPECT_EQ(barrier.TakeCalls().size(), mode == PNM_READ_ACCESS ? 2u : 0u);
        EXPECT_EQ(parser.m_token, "rest");
    }
    static_assert(PNM_READ_ACCESS == 0 && PNM_WRITE_ACCESS == 1 && PNM_SET_INSERT == 2 && PNM_SET_DELETE == 3);
}

TEST_F(PathNavigator, OwnsThePositionByTheObjectReachedLast)
{
    const ptr<IObject> object = New<Node>();
    const ptr<IObject> next = New<Plain>();
    As<Node>(object).m_next = next;
    ExpressionParser parser;
    parser.Init(".next.value");
    EXPECT_EQ(ExpressionPathNavigator(parser, object, PNM_WRITE_ACCESS).m_obj, next);
    parser.Init(".next");
    EXPECT_EQ(ExpressionPathNavigator(parser, object, PNM_WRITE_ACCESS).m_obj, object);
}

TEST_F(PathNavigator, GoesOnFromItsPosition)
{
    const ptr<IObject> object = New<Containers>();
    Containers& c = As<Containers>(object);
    ExpressionParser parser;
    parser.Init(".corners");
    ExpressionPathNavigator navigator(parser, object, PNM_READ_ACCESS);
    parser.Init("[1]");
    navigator.NavigateReflectedVariable();
    EXPECT_EQ(navigator.GetFieldAddress(), &c.m_corners[1]);
    parser.Init(".y");
    navigator.NavigateReflectedClassInstance(hand::ClassOf<Point>());
    EXPECT_EQ(navigator.GetFieldAddress(), &c.m_corners[1].m_y);
}

// Where no token follows, the parser stays at the one before.
TEST_F(PathNavigator, LeavesTheParserAtTheLastTokenThereIs)
{
    const ptr<IObject> object = New<Containers>();
    const struct
    {
        const char* m_path;
        EToken m_kind;
        const char* m_token;
    } rows[] = {
        {".vec \x01", TOKEN_IDENTIFIER, "vec"},
        {".vec[1] \x01", TOKEN_RIGHT_SQUARE, "]"},
        {".matrix[0][1] \x01", TOKEN_RIGHT_SQUARE, "]"},
        {".vec[ \x01", TOKEN_LEFT_SQUARE, "["},
        {".vec[1 \x01", TOKEN_INTEGER, "1"},
        {". \x01", TOKEN_DOT, "."},
    };
    for (const auto& row : rows)
        for (const EPathNavigatorMode mode : {PNM_READ_ACCESS, PNM_WRITE_ACCESS})
        {
            ExpressionParser parser;
            parser.Init(SubString(row.m_path));
            EXPECT_THROW(ExpressionPathNavigator(parser, object, mode), LexScannerException) << row.m_path;
            EXPECT_EQ(parser.m_token.m_type, row.m_kind) << row.m_path;
            EXPECT_EQ(parser.m_token, row.m_token) << row.m_path;
        }
}

TEST_F(PathNavigator, ChecksItsInvariants)
{
    const auto fails = [](auto&& f, const char* condition)
    { return FailsAssertion(f, condition, "src/ParseFieldPath"); };
    ExpressionParser parser;
    parser.Init("");
    ReflectionByteCode type;
    EXPECT_TRUE(fails([&] { NavigatePathToField(nullptr, parser, type, false); }, "obj"));
    EXPECT_TRUE(fails([&] { ExpressionPathNavigator(parser, nullptr, PNM_READ_ACCESS); }, "m_data"));

    IObjectFns faceless = GcObjectFns<Point>;
    faceless.GetReflectedClass = [](const void*) -> const ReflectedClass* { return nullptr; };
    Point point;
    const ptr<IObject> object(&point, &faceless);
    EXPECT_TRUE(fails([&] { ExpressionPathNavigator(parser, object, PNM_READ_ACCESS); }, "rc"));
    const ptr<IObject> node = New<Node>();
    As<Node>(node).m_next = object;
    for (const bool writeAccess : {false, true})
        EXPECT_TRUE(fails([&] { Walk(node, ".next.x", writeAccess); }, "rc"));
    As<Node>(node).m_next = nullptr;

    parser.Init(".value");
    ExpressionPathNavigator navigator(parser, node, PNM_READ_ACCESS);
    navigator.m_obj = nullptr;
    EXPECT_TRUE(fails([&] { navigator.ReadBarrier(); }, "m_obj"));
    EXPECT_TRUE(fails([&] { navigator.NavigateReflectedVariable(); }, "m_obj"));
    parser.Init(".value");
    EXPECT_TRUE(fails([&] { navigator.NavigateReflectedClassInstance(hand::ClassOf<Node>()); }, "m_obj"));
    navigator.m_data = nullptr;
    EXPECT_TRUE(fails([&] { navigator.GetFieldAddress(); }, "m_data"));
    EXPECT_TRUE(fails([&] { navigator.NavigateReflectedClassInstance(hand::ClassOf<Node>()); }, "m_data"));
    constexpr uint8 constInt32[] = {FT_CONST, FT_INT32};
    navigator.m_rbc = {constInt32, nullptr};
    EXPECT_TRUE(fails([&] { navigator.GetFieldType(); }, "!isConst"));
}

// A descriptor copied by value has what was prepared for another one, so that its objects are walked without that.
TEST_F(PathNavigator, WalksThroughHandlesToObjectsOfACopiedClass)
{
    static const ReflectedClass copied = hand::ClassOf<Point>();
    IObjectFns fns = GcObjectFns<Point>;
    fns.GetReflectedClass = [](const void*) { return &copied; };
    Point point;
    const ptr<IObject> node = New<Node>();
    As<Node>(node).m_next = ptr<IObject>(&point, &fns);
    for (const bool writeAccess : {false, true})
        EXPECT_EQ(Walk(node, ".next.y", writeAccess).m_address, &point.m_y);
    As<Node>(node).m_next = nullptr;
}

// --- The string form -------------------------------------------------------------------------------------------------

TEST_F(PathText, GivesTheAddressAndTypeAndClearsTheMessage)
{
    const ptr<IObject> object = New<Containers>();
    Containers& c = As<Containers>(object);
    for (const bool writeAccess : {false, true})
    {
        BarrierRecorder barrier;
        ReflectionByteCode type;
        xstring message = "old";
        EXPECT_EQ(NavigatePathToField(object, ".corners[1].y junk", type, writeAccess, message), &c.m_corners[1].m_y);
        EXPECT_EQ(type.GetCode(), FT_INT32);
        EXPECT_EQ(message, "");
        EXPECT_EQ(barrier.TakeCalls().empty(), writeAccess);

        message = "old";
        EXPECT_EQ(NavigatePathToField(object, "", type, writeAccess, message), object.self());
        EXPECT_EQ(type.m_bc, nullptr);
        EXPECT_EQ(message, "");
    }
}

TEST_F(PathText, GivesNullAndTheWrittenErrorAndLeavesTheTypeAlone)
{
    struct Row
    {
        const char* m_path;
        const char* m_message;
    };
    const Row rows[] = {
        {".nosuch", "line 1: Identifier nosuch is not a model field of class hand::Node"},
        {".", "line 1: Expected identifier when read end of text"},
        {"\n\n.points\n[2]", "line 4: Array index 2 out of range"},
        {".kids[0]", "line 1: Vector index 0 out of range"},
        {".next\n.value", "line 2: null dereference"},
        {".points[0", "line 1: Expected ] when read end of text"},
        {"\x01", "line 1: Illegal character 0x01 outside quotes"},
        {".value\n'", "line 2: Unterminated string literal"},
        {"# 'not text'\n/*", "line 2: Unterminated comment"},
    };
    const ptr<IObject> object = New<Node>();
    constexpr uint8 old[] = {FT_BOOL};
    for (const Row& row : rows)
    {
        ReflectionByteCode type(old, nullptr);
        xstring message = "old";
        EXPECT_EQ(NavigatePathToField(object, row.m_path, type, true, message), nullptr) << row.m_path;
        EXPECT_EQ(message, row.m_message) << row.m_path;
        EXPECT_EQ(type.m_bc, old) << row.m_path;
    }
}

TEST_F(PathText, PassesAssertionFailuresOn)
{
    ReflectionByteCode type;
    xstring message = "old";
    const ptr<IObject> object = New<Containers>();
    EXPECT_TRUE(
        FailsAssertion([&] { NavigatePathToField(object, ".map", type, true, message); }, "0", "src/ParseFieldPath"));
    EXPECT_EQ(message, ""); // cleared before the walk
    EXPECT_TRUE(
        FailsAssertion([&] { NavigatePathToField(nullptr, "", type, true, message); }, "obj", "src/ParseFieldPath"));
}

// --- Length and content ----------------------------------------------------------------------------------------------

TEST_F(LongPath, MayHaveAMillionStepsThroughACycleOfObjects)
{
    const ptr<IObject> a = New<Node>();
    const ptr<IObject> b = New<Node>();
    As<Node>(a).m_next = b;
    As<Node>(b).m_ref.Set(QueryPersistable(a));
    std::string path;
    for (int i = 0; i < 500'000; ++i)
        path += ".next.ref";
    EXPECT_EQ(Walk(a, path).m_address, &As<Node>(b).m_ref);
    EXPECT_EQ(Walk(a, path + ".points[1].x").m_address, &As<Node>(a).m_points[1].m_x);
    EXPECT_EQ(Walk(a, path + ".value.x").m_rest, ".x");
    const std::string unknown = path + ".nosuch";
    EXPECT_TRUE(ThrowsLexScannerException([&] { Walk(a, unknown); }, ViewOf(unknown),
                                          static_cast<ssize_t>(path.size()) + 1,
                                          "Identifier nosuch is not a model field of class hand::Node"));
}

// Any text ends in an address or in one of the documented failures.
void ExpectDocumentedEnd(ptr<IObject> object, const std::string& path, bool writeAccess)
{
    try
    {
        const Reached reached = Walk(object, path, writeAccess);
        const bool isObjectItself = reached.m_address == object.self();
        const bool isSomewhere = reached.m_address != nullptr && (reached.m_type.m_bc != nullptr || isObjectItself);
        RC_ASSERT(isSomewhere);
    }
    catch (const LexScannerException& e)
    {
        RC_ASSERT(!e.m_description.empty());
        RC_ASSERT(e.m_pos >= path.data() && e.m_pos <= path.data() + path.size());
    }
    catch (const KelmAssertionError& e)
    {
        const std::string condition = ToStdString(e.m_condition);
        RC_ASSERT(condition == "0" || condition == "arraySize > 0" || condition == "!isConst");
    }
}

ptr<IObject> NewWithEverything()
{
    const ptr<IObject> object = New<Node>();
    const ptr<IObject> containers = New<Containers>();
    As<Containers>(containers).m_points = {{1, 2}};
    As<Containers>(containers).m_vecs = {{}, {1}};
    Node& node = As<Node>(object);
    node.m_next = containers;
    node.m_ref.Set(QueryPersistable(object));
    node.m_kids = {nullptr, object, New<hand::Wrapper>(), New<hand::Qualified>()};
    return object;
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, PathOfAnyBytesEndsInADocumentedWay, (const std::string& path, bool writeAccess))
{
    ExpectDocumentedEnd(NewWithEverything(), path, writeAccess);
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, PathOfAnyTokensEndsInADocumentedWay, (bool writeAccess))
{
    const auto tokens = *rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
        ".", ".", "[", "[", "]", "0", "1", "2", "-1", "'a'", ",", ".next", ".ref", ".ref", ".kids[1]", ".kids", ".cref",
        ".points", ".value", ".next.dyn[[1]", ".next.vecs[1][0]", ".next.corners", ".x", ".y", ".b", ".label",
        ".kids[2]", ".kids[3]", ".items", ".next.map", ".next.none", ".const", "nosuch", "\n", "[1]", "[0]",
        "/* c */"));
    std::string path;
    for (const std::string& token : tokens)
        path += token;
    ExpectDocumentedEnd(NewWithEverything(), path, writeAccess);
}

} // namespace
} // namespace kelm
