#include <klUtils/xostream.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

// Keeps the pieces that arrive at a sink.
class PieceSink : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { m_pieces.emplace_back(text, static_cast<std::size_t>(length)); }

    std::vector<std::string> m_pieces;
};

TEST(Xostream, WritesEveryTypeThroughPutOfCharacters)
{
    PieceSink os;
    os.put(true);
    os.put(-7);
    os.put(std::numeric_limits<long>::min());
    os.put(0.5);
    EXPECT_EQ(os.m_pieces, (std::vector<std::string>{"true", "-7", "-9223372036854775808", "0.5"}));
}

template <class T>
std::string Written(const T& value)
{
    StringStream os(4096);
    os << value;
    return ToStdString(os.GetString());
}

TEST(Xostream, WritesEachTypeInItsForm)
{
    EXPECT_EQ(Written(true), "true");
    EXPECT_EQ(Written(false), "false");
    EXPECT_EQ(Written(0), "0");
    EXPECT_EQ(Written(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(Written(std::numeric_limits<long>::max()), "9223372036854775807");
    EXPECT_EQ(Written(1.0), "1.0");
    EXPECT_EQ(Written(1e300), "1e+300");
    EXPECT_EQ(Written('c'), "c");
    EXPECT_EQ(Written("text"), "text");
    EXPECT_EQ(Written(SubString("view")), "view");
    EXPECT_EQ(Written(xstring("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(Written(static_cast<ConstStringZ>(nullptr)), "");
    EXPECT_EQ(Written(LSToken{TOKEN_IDENTIFIER, "name"}), "name");
}

TEST(Xostream, ChainsItsOutputs)
{
    StringStream os(4096);
    os << "a" << 1 << ' ' << true << xstring(" b ") << 2L << SubString(" c");
    EXPECT_EQ(os.GetString(), "a1 true b 2 c");
}

TEST(StringStream, CollectsAcrossPagesOfAnySize)
{
    for (const long pageSize : {0L, 1L, 7L, 4096L})
    {
        StringStream os(pageSize);
        std::string expected;
        for (int i = 0; i < 3000; ++i)
        {
            os << i << ",";
            expected += std::to_string(i) + ",";
        }
        os << std::string(10000, 'x').c_str();
        expected += std::string(10000, 'x');
        EXPECT_EQ(ToStdString(os.GetString()), expected) << pageSize;
    }
}

TEST(StringStream, CopiesItsTextInPlaceOfTheOldOneOrBehindIt)
{
    StringStream os(4096);
    xstring text("before ");
    os.GetString(text, false);
    EXPECT_EQ(text, "before ");
    os << "now";
    os.GetString(text, false);
    EXPECT_EQ(text, "before now");
    os.GetString(text, true);
    EXPECT_EQ(text, "now");
    os << "!"; // reading takes nothing away
    EXPECT_EQ(os.GetString(), "now!");
    StringStream(4096).GetString(text, true);
    EXPECT_EQ(text, "");
}

} // namespace
} // namespace kelm
