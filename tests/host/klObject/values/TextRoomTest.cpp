#include <klObject/values/private/TextRoom.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace kelm
{
namespace
{

std::string TextIn(const TextRoom& room, const char* p)
{
    const SubString text = room.GetText(p);
    return {text.m_p1, text.m_p2};
}

TEST(TextRoom, KeepsTheTextAndSpareRoomBehindIt)
{
    TextRoom room;
    char* p = room.Begin();
    std::string expected;
    for (int length = 0; length < 200; ++length)
    {
        const std::string part(static_cast<std::size_t>(length), static_cast<char>('a' + length % 26));
        p = room.Put(p, SubString(part.data(), part.data() + part.size()));
        expected += part;
        std::memset(p, '#', TextRoom::s_spare);
        ASSERT_EQ(TextIn(room, p), expected);
        ASSERT_EQ(room.GetSize(p), static_cast<ssize_t>(expected.size()));
        ASSERT_EQ(room.GetAt(room.GetSize(p)), p);
    }
    EXPECT_EQ(room.Put(p, SubString()), p);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they end a program that asks for so much
TEST(TextRoom, KeepsTheTextWhereThereIsNoMemory)
{
    TextRoom room;
    char* const p = room.Put(room.Begin(), SubString("kept"));
    const volatile ssize_t huge = std::numeric_limits<ssize_t>::max() / 2; // which no compiler shall warn about
    EXPECT_THROW(room.MakeRoom(p, huge), std::bad_alloc);
    EXPECT_EQ(TextIn(room, p), "kept");
}
#endif

} // namespace
} // namespace kelm
