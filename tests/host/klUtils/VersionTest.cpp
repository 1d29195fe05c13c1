#include <klUtils/Version.h>

#include <gtest/gtest.h>

#include <string>

namespace kelm
{
namespace
{

TEST(Version, IsOneInAllItsForms)
{
    EXPECT_EQ(GetVersion(), KELM_VERSION);
    EXPECT_STREQ(GetVersionText(), KELM_VERSION_TEXT);
    EXPECT_EQ(std::to_string(KELM_VERSION_MAJOR) + "." + std::to_string(KELM_VERSION_MINOR) + "." +
                  std::to_string(KELM_VERSION_PATCH),
              KELM_VERSION_TEXT);
    EXPECT_EQ(KELM_VERSION / 10000, KELM_VERSION_MAJOR);
    EXPECT_EQ(KELM_VERSION / 100 % 100, KELM_VERSION_MINOR);
    EXPECT_EQ(KELM_VERSION % 100, KELM_VERSION_PATCH);
}

TEST(Version, IsThatOfTheBuild)
{
    EXPECT_STREQ(KELM_VERSION_TEXT, KELM_PROJECT_VERSION);
}

} // namespace
} // namespace kelm
