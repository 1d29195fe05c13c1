// Values whose type alone is larger than what is left of a stack: nothing whose size a type decides lies there.

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <support/DeepStack.h>

#include <gtest/gtest.h>

#include <array>
#include <compare>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace large
{

struct Block
{
    kelm::int32 number = 7;
    std::array<char, std::size_t(256) << 10> bytes{};

    friend bool operator==(const Block& a, const Block& b) { return a.number == b.number; }
    friend auto operator<=>(const Block& a, const Block& b) { return a.number <=> b.number; }
};

using Choice = kelm::xvariant<kelm::int32, Block>;

struct Holder
{
    Block inside;
    Block fixed[2];
    kelm::xvector<Block> list;
    kelm::xmap<kelm::int32, Block> map;
    kelm::xmap<Block, kelm::int32> keys;
    Choice choice;
    std::vector<Block> theirList;
    std::map<kelm::int32, Block> theirMap;
    std::optional<Block> maybe;
    std::variant<kelm::int32, Block> theirChoice;
};

} // namespace large

KELM_DESCRIBE(large::Block, number)
KELM_VARIANT(large::Choice, "number", "block")
KELM_DESCRIBE(large::Holder, inside, fixed, list, map, keys, choice, theirList, theirMap, maybe, theirChoice)

namespace kelm
{
namespace
{

const char* const s_members[] = {
    "",
    "inside = { number = 1 }",
    "fixed = [{ number = 1 }, { number = 2 }]",
    "list = [{ number = 1 }, {}, { number = 3 }]",
    "map = [1 -> {}, 2 -> { number = 3 }, 1 -> { number = 4 }]",
    "keys = [{ number = 1 } -> 2, { number = 3 } -> 4]",
    "choice = block { number = 1 }",
    "theirList = [{ number = 1 }, {}]",
    "theirMap = [1 -> {}, 2 -> { number = 3 }]",
    "maybe = { number = 1 }",
    "theirChoice = Block { number = 1 }",
};

// Reads, compares and writes what is read, reads that, and collects all of it.
void ReadWriteAndCollect(const std::string& members)
{
    const xstring text(("large::Holder { " + members + " }").c_str());
    xstring error;
    {
        const GcRoot first(ParseDataSourceFromString(text, error));
        ASSERT_EQ(error, "") << members;
        StringStream os(4096);
        WriteObject(os, first.get());
        const GcRoot second(ParseDataSourceFromString(os.GetString(), error));
        ASSERT_EQ(error, "") << members;
        StringStream again(4096);
        WriteObject(again, second.get());
        EXPECT_EQ(again.GetString(), os.GetString());
        const ReflectionByteCode type = TypeOf<large::Holder>();
        EXPECT_TRUE(CompareEqReflectedVariable(type, first.get().self(), type, second.get().self())) << members;
    }
    CollectGarbage();
}

// Of the stack as much is in use as leaves more than the reserve, less than it, and everything between.
TEST(LargeValues, DoNotLieOnTheStack)
{
    Register_Project_klKelmScript();
    EnsureRegistered<large::Holder>();
    constexpr std::size_t stackSize = std::size_t(2) << 20;
    constexpr std::size_t blockSize = sizeof(large::Block);
    for (const char* const members : s_members)
        for (std::size_t left = blockSize; left > blockSize / 2; left -= std::size_t(8) << 10)
            RunOnThread(stackSize, [&] { WithStackLeft(left, [&] { ReadWriteAndCollect(members); }); });
}

} // namespace
} // namespace kelm
