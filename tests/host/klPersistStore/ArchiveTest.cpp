#include <support/Expect.h>

#include <klPersistStore/Archive.h>

#include <cstdint>
#include <string>

namespace kelm::test
{
namespace
{

using namespace std::string_literals;

std::string BytesOf(const Archive& archive)
{
    return {archive.GetBytes().data(), static_cast<std::size_t>(archive.GetBytes().size())};
}

InputArchive Input(const std::string& bytes)
{
    return {bytes.data(), bytes.data() + bytes.size()};
}

const struct
{
    int64 m_value;
    std::string m_bytes;
} s_numbers[] = {
    {0, "\0\0\0\0\0\0\0\0"s},
    {1, "\1\0\0\0\0\0\0\0"s},
    {-1, "\xff\xff\xff\xff\xff\xff\xff\xff"s},
    {0x0102030405060708, "\x08\x07\x06\x05\x04\x03\x02\x01"s},
    {INT64_MAX, "\xff\xff\xff\xff\xff\xff\xff\x7f"s},
    {INT64_MIN, "\0\0\0\0\0\0\0\x80"s},
};

TEST(Archive, WritesNumbersAsEightBytesLowestFirst)
{
    for (const auto& row : s_numbers)
    {
        Archive archive;
        archive.WriteInt64(row.m_value);
        EXPECT_EQ(BytesOf(archive), row.m_bytes) << row.m_value;
    }
}

TEST(Archive, AppendsWhatIsWritten)
{
    Archive archive;
    EXPECT_EQ(BytesOf(archive), "");
    archive.WriteInt64(1);
    WriteDataSourceRsn(archive, 2);
    EXPECT_EQ(BytesOf(archive), "\1\0\0\0\0\0\0\0\2\0\0\0\0\0\0\0"s);
}

TEST(InputArchive, ReadsWhatWasWritten)
{
    for (const auto& row : s_numbers)
    {
        InputArchive input = Input(row.m_bytes);
        EXPECT_EQ(input.ReadInt64(), row.m_value);
        EXPECT_EQ(input.GetNumBytesLeft(), 0);
    }
}

TEST(InputArchive, IsAPositionOfItsOwnWhenCopied)
{
    const std::string bytes = s_numbers[1].m_bytes + s_numbers[2].m_bytes;
    InputArchive input = Input(bytes);
    InputArchive copy = input;
    EXPECT_EQ(copy.ReadInt64(), 1);
    EXPECT_EQ(copy.ReadInt64(), -1);
    EXPECT_EQ(input.GetNumBytesLeft(), 16);
    EXPECT_EQ(input.ReadInt64(), 1);
}

TEST(InputArchive, SaysHowMuchIsMissingAndStaysWhereItIs)
{
    for (int left = 0; left < 8; ++left)
    {
        const std::string bytes(static_cast<std::size_t>(left), 'x');
        InputArchive input = Input(bytes);
        EXPECT_TRUE(ThrowsDescription<ArchiveException>(
            [&] { input.ReadInt64(); }, "Expected 8 bytes in archive when " + std::to_string(left) + " are left"));
        EXPECT_EQ(input.GetNumBytesLeft(), left);
    }
}

TEST(ArchiveException, IsToldInBothWays)
{
    const ArchiveException e("a message");
    EXPECT_EQ(WrittenText(e), "a message");
    EXPECT_STREQ(e.what(), "a message");
    EXPECT_THROW(throw e, std::exception);
    EXPECT_THROW(throw e, IException);
}

constexpr dsTargetRelease0 s_releases[] = {{"Release 0.0", {2008, 8, 24}}, {"Release 1.0", {2009, 1, 31}}};

std::string Rsn(RSN rsn)
{
    Archive archive;
    WriteDataSourceRsn(archive, rsn);
    return BytesOf(archive);
}

TEST(DataSourceRsn, IsReadAndRememberedForItsTarget)
{
    static constexpr dsTarget s_target = {"Test/Archive/Remembered", 0, nullptr, 2, s_releases};
    XTarget* const target = RegisterTarget(s_target);
    EXPECT_EQ(GetDataSourceRsn(target), -1);

    const std::string bytes = Rsn(1) + Rsn(0) + "rest";
    InputArchive input = ReadDataSourceRsn(Input(bytes), target);
    EXPECT_EQ(input.GetNumBytesLeft(), 12);
    EXPECT_EQ(GetDataSourceRsn(target), 1);
    input = ReadDataSourceRsn(input, target);
    EXPECT_EQ(input.GetNumBytesLeft(), 4);
    EXPECT_EQ(GetDataSourceRsn(target), 0);
}

TEST(DataSourceRsn, IsOneOfTheTargetsReleases)
{
    static constexpr dsTarget s_target = {"Test/Archive/Checked", 0, nullptr, 2, s_releases};
    XTarget* const target = RegisterTarget(s_target);
    for (const RSN rsn : {RSN(2), RSN(-1), RSN(INT64_MAX), RSN(INT64_MIN)})
        EXPECT_TRUE(ThrowsDescription<ArchiveException>(
            [&]
            {
                const std::string bytes = Rsn(rsn);
                ReadDataSourceRsn(Input(bytes), target);
            },
            "Release number " + std::to_string(rsn) + " is none of the 2 releases of target Test/Archive/Checked"));
    EXPECT_EQ(GetDataSourceRsn(target), -1);
}

TEST(DataSourceRsn, FailsWhereTheArchiveIsTruncated)
{
    static constexpr dsTarget s_target = {"Test/Archive/Truncated", 0, nullptr, 2, s_releases};
    XTarget* const target = RegisterTarget(s_target);
    const std::string bytes = Rsn(1).substr(0, 7);
    EXPECT_TRUE(ThrowsDescription<ArchiveException>([&] { ReadDataSourceRsn(Input(bytes), target); },
                                                    "Expected 8 bytes in archive when 7 are left"));
    EXPECT_EQ(GetDataSourceRsn(target), -1);
}

TEST(DataSourceRsn, OfNoTargetIsAnyNumberAndForgotten)
{
    const std::string bytes = Rsn(-7);
    EXPECT_EQ(ReadDataSourceRsn(Input(bytes), nullptr).GetNumBytesLeft(), 0);
    EXPECT_EQ(GetDataSourceRsn(nullptr), -1);
}

} // namespace
} // namespace kelm::test
