// Values of the standard library's types in texts that damage of a kind alone does not reach: enumerations of any size,
// paths that end where they may not, and lists on a small stack.

#include "DataSources.h"
#include "FieldPaths.h"

#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/objects/GcObject.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <support/DeepStack.h>

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace foreigntexts
{

enum class Small : kelm::uint8
{
    ONE = 1,
    THREE = 3
};

enum class Large : kelm::int64
{
    LOW = -5,
    HIGH = 4294967297
};

struct All
{
    Small small = Small::ONE;
    Large large = Large::LOW;
    std::vector<Small> smalls;
    std::vector<std::vector<int>> lists;
    std::optional<std::vector<int>> maybe;
    std::variant<bool, int> either;
    std::pair<int, bool> both;
};

} // namespace foreigntexts

KELM_DESCRIBE_ENUM(foreigntexts::Small, ONE, THREE)
KELM_DESCRIBE_ENUM(foreigntexts::Large, LOW, HIGH)
KELM_DESCRIBE(foreigntexts::All, small, large, smalls, lists, maybe, either, both)

namespace kelm
{
namespace
{

using foreigntexts::All;
using foreigntexts::Small;

class ForeignTexts : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Register_Project_klKelmScript();
        EnsureRegistered<All>();
    }
};

// What a text makes of a new variable, as it is written; or why it is refused.
std::string ReadAgain(const std::string& text)
{
    All all;
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    try
    {
        ParseVariable(parser, TypeOf<All>(), &all);
    }
    catch (const LexScannerException& e)
    {
        return std::to_string(e.m_pos - text.data()) + ": " + ToStdString(e.m_description);
    }
    catch (const LiteralException& e)
    {
        return e.what();
    }
    StringStream written(256);
    WriteVariable(written, TypeOf<All>(), &all, {});
    return ToStdString(written.GetString());
}

struct TextRow
{
    const char* m_text;
    const char* m_expected;
};

TEST_F(ForeignTexts, AreReadOrRefusedAtTheirPlace)
{
    const TextRow rows[] = {
        {"{ small = THREE }", "small=THREE large=LOW smalls=[]"},
        {"{ small = FOUR }", "10: Unknown member 'FOUR' of enum foreigntexts::Small"},
        {"{ small = 3 }", "small=THREE"},
        {"{ small = 0x3 }", "10: Expected identifier when read 0x3"},
        {"{ small = 2 }", "10: Unknown value '2' of enum foreigntexts::Small"},
        {"{ small = 259 }", "10: Unknown value '259' of enum foreigntexts::Small"},
        {"{ large = 4294967297 }", "large=HIGH"},
        {"{ large = 1 }", "10: Unknown value '1' of enum foreigntexts::Large"},
        {"{ large = -5 }", "10: Expected identifier when read -"},
        {"{ large = 9223372036854775808 }", "Integer literal 9223372036854775808 is out of range of int64"},
        {"{ smalls = [3, 1, THREE] }", "smalls=[THREE,ONE,THREE]"},
        {"{ smalls = [3, 4] }", "15: Unknown value '4' of enum foreigntexts::Small"},
        {"{ smalls = [THREE, ONE] }", "smalls=[THREE,ONE]"},
        {"{ smalls = [THREE, TWO] }", "19: Unknown member 'TWO' of enum foreigntexts::Small"},
        {"{ smalls = [THREE, 'ONE'] }", "19: Expected identifier when read 'ONE'"},
        {"{ lists = [[1, 2], [], [3]] }", "lists=[[1,2],[],[3]]"},
        {"{ lists = [[1, 2], [3] ", "23: Expected , when read end of text"},
        {"{ maybe = [1] }", "maybe=[1]"},
        {"{ maybe = null }", "lists=[] either"},
        {"{ either = int32 7 }", "either=int32 7"},
        {"{ both = [1, true] }", "both=[1,true]"},
        {"{ both = [1] }", "11: Expected , when read ]"},
        {"{ both = [1, true, 2] }", "17: Expected ] when read ,"},
    };
    for (const TextRow& row : rows)
        for (const bool isDeep : {false, true})
        {
            std::string outcome;
            RunOnThread(isDeep ? s_smallStack : 1024 * 1024, [&] { outcome = ReadAgain(row.m_text); });
            EXPECT_NE(outcome.find(row.m_expected), std::string::npos) << row.m_text << "\n" << outcome;
        }
}

TEST_F(ForeignTexts, NeedANameForANumber)
{
    All all;
    all.small = static_cast<Small>(2);
    StringStream text(64);
    try
    {
        WriteVariable(text, TypeOf<All>(), &all, {});
        FAIL() << "it was written";
    }
    catch (const WriteException& e)
    {
        EXPECT_NE(std::string(e.what()).find("2 is no value of enum foreigntexts::Small"), std::string::npos)
            << e.what();
    }
    EXPECT_EQ(text.GetString().size(), 0);
}

TEST_F(ForeignTexts, AreWalkedAsFarAsAPathCanBeRead)
{
    const TextRow rows[] = {
        {".lists[0][1]", ""},
        {".lists[0][\"", "10: Unterminated string literal"},
        {".lists[\"", "7: Unterminated string literal"},
        {".lists[-\"", "8: Unterminated string literal"},
        {".lists[2147483648]", "7: Value 2147483648 is out of range of int32"},
        {".lists[0 \"", "9: Unterminated string literal"},
        {".lists[1][0]", "8: Vector index 1 out of range"},
        {".maybe[0]", "6: null dereference"},
        {".both[1]", ""},
        {".both[2]", "7: Vector index 2 out of range"},
        {".both.x", ""},
        {".either[0]", ""},
    };
    const ptr<IObject> object = CreateGcObject<All>();
    static_cast<All*>(object.self())->lists = {{1, 2}};
    for (const TextRow& row : rows)
    {
        const std::string path = row.m_text;
        std::string outcome;
        try
        {
            Walk(object, path);
        }
        catch (const LexScannerException& e)
        {
            outcome = std::to_string(e.m_pos - path.data()) + ": " + ToStdString(e.m_description);
        }
        EXPECT_EQ(outcome, row.m_expected) << path;
    }
    object.fns()->Destroy(object.self());
}

} // namespace
} // namespace kelm
