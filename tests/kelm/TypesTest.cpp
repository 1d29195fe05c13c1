#include <kelm/Types.h>

#include "DoorTypes.h"

#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>

namespace door
{

struct Cellar
{
    int depth = 3;
    std::vector<std::string> bottles;
};

} // namespace door

KELM_DESCRIBE(door::Cellar, depth, bottles)

namespace kelm
{

namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(WriteTypes, RegistersAndWritesTypes)
{
    const TemporaryFolder folder;
    WriteTypes<door::Cellar>(folder.GetPath() / "types.json");
    const std::string text = TextOfFile(folder.GetPath() / "types.json");
    EXPECT_THAT(text, StartsWith("{\n  \"kelmscriptTypes\": 1,\n  \"classes\": [\n"));
    EXPECT_THAT(text, HasSubstr("\"name\": \"door::Cellar\""));
    EXPECT_THAT(text, HasSubstr("\"text\": \"vector<string>\""));
    EXPECT_THAT(text, HasSubstr("\"default\": \"3\""));

    WriteTypes(folder.GetPath() / "again.json");
    EXPECT_EQ(TextOfFile(folder.GetPath() / "again.json"), text);
}

TEST(WriteTypes, SaysWhatCannotBeWritten)
{
    const Result<void> result = TryWriteTypes<door::Cellar>("/no/such/folder/types.json");
    ASSERT_FALSE(result);
    EXPECT_THAT(result.GetError().what(), HasSubstr("cannot write /no/such/folder/types.json"));
    EXPECT_THROW(WriteTypes<door::Cellar>("/no/such/folder/types.json"), Error);
}

} // namespace

} // namespace kelm
