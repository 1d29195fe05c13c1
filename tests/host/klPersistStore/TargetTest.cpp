#include <support/Expect.h>

#include <klPersistStore/Target.h>

#include <cstring>
#include <iterator>
#include <thread>
#include <vector>

namespace kelm::test
{
namespace
{

constexpr dsTargetRelease0 s_releases[] = {
    {"Release 0.0", {2008, 8, 24}}, {"Release 1.0", {2009, 1, 31}}, {"Release 2.0", {2010, 12, 1}}};

constexpr dsTarget WithReleases(ConstStringZ name, ssize_t count)
{
    return {name, 0, nullptr, count, s_releases};
}

constexpr dsTarget s_first = WithReleases("Test/Target/First", 1);
constexpr dsTarget s_second = WithReleases("Test/Target/Second", 3);
constexpr dsTarget s_unreleased = WithReleases("Test/Target/Unreleased", 0);

TEST(Target, IsNumberedInTheOrderOfRegistration)
{
    XTarget* const targets[] = {RegisterTarget(s_first), RegisterTarget(s_second), RegisterTarget(s_unreleased)};
    EXPECT_EQ(GetTin(targets[1]), GetTin(targets[0]) + 1);
    EXPECT_EQ(GetTin(targets[2]), GetTin(targets[1]) + 1);

    const xvector<XTarget*> all = GetTargets();
    ASSERT_GE(all.size(), 3);
    for (TIN tin = 0; tin < all.size(); ++tin)
        EXPECT_EQ(GetTin(all[tin]), tin);
    for (XTarget* const target : targets)
        EXPECT_EQ(all[GetTin(target)], target);
}

TEST(Target, IsRegisteredOnceAName)
{
    XTarget* const target = RegisterTarget(s_first);
    const ssize_t count = GetTargets().size();
    char sameName[32];
    std::strcpy(sameName, s_first.m_targetName);
    const dsTarget other = WithReleases(sameName, 3);
    EXPECT_EQ(RegisterTarget(s_first), target);
    EXPECT_EQ(RegisterTarget(other), target);
    EXPECT_EQ(GetTargets().size(), count);
    EXPECT_EQ(GetTargetDescription(target), &s_first);
}

TEST(Target, WithoutANameIsABug)
{
    EXPECT_TRUE(
        FailsAssertion([] { RegisterTarget(dsTarget{}); }, "target.m_targetName", "host/klPersistStore/Target"));
}

TEST(Target, HasTheModelReleaseOfItsNewestRelease)
{
    EXPECT_EQ(GetModelRsn(GetTin(RegisterTarget(s_first))), 0);
    EXPECT_EQ(GetModelRsn(GetTin(RegisterTarget(s_second))), 2);
    EXPECT_EQ(GetModelRsn(GetTin(RegisterTarget(s_unreleased))), -1);
}

TEST(Target, ThatIsNoneHasTheNumberMinusOne)
{
    EXPECT_EQ(GetTin(nullptr), -1);
    EXPECT_EQ(GetTargetDescription(nullptr), nullptr);
    EXPECT_EQ(GetModelRsn(-1), -1);
    EXPECT_EQ(GetModelRsn(GetTargets().size()), -1);
    EXPECT_EQ(GetModelRsn(INT64_MIN), -1);
    EXPECT_EQ(GetModelRsn(INT64_MAX), -1);
}

TEST(Target, IsFoundByName)
{
    XTarget* const target = RegisterTarget(s_second);
    EXPECT_EQ(TryFindTarget("Test/Target/Second"), target);
    EXPECT_EQ(TryFindTarget("Test/Target/Secon"), nullptr);
    EXPECT_EQ(TryFindTarget("test/target/second"), nullptr);
    EXPECT_EQ(TryFindTarget(""), nullptr);
    EXPECT_EQ(TryFindTarget(nullptr), nullptr);
}

TEST(Target, IsReadFromAnyThread)
{
    XTarget* const target = RegisterTarget(s_second);
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back(
            [target]
            {
                for (int k = 0; k < 1000; ++k)
                {
                    EXPECT_EQ(TryFindTarget("Test/Target/Second"), target);
                    EXPECT_EQ(GetModelRsn(GetTin(target)), 2);
                }
            });
    static constexpr dsTarget s_meanwhile[] = {WithReleases("Test/Target/Meanwhile0", 1),
                                               WithReleases("Test/Target/Meanwhile1", 1)};
    for (const dsTarget& description : s_meanwhile)
        RegisterTarget(description);
    for (std::thread& reader : readers)
        reader.join();
}

} // namespace
} // namespace kelm::test
