#include <kelmLanguage/server/Frames.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelm::language
{

namespace
{

// Bodies, and "!" for what is none.
std::string MessagesIn(const std::string& octets, std::size_t piece)
{
    FrameReader reader;
    std::string told;
    for (std::size_t at = 0; at < octets.size(); at += piece)
    {
        reader.Add(std::string_view(octets).substr(at, piece));
        while (const auto message = reader.Next())
            told += message->m_fault.empty() ? "<" + message->m_body + ">" : "!";
    }
    return told;
}

TEST(FrameReader, FindsMessagesHoweverTheyCome)
{
    const std::pair<std::string, std::string> rows[] = {
        {Framed("{}"), "<{}>"},
        {Framed("a") + Framed("") + Framed("\r\n\r\n"), "<a><><\r\n\r\n>"},
        {"Content-Type: x\r\ncontent-length: 2\r\n\r\nab", "<ab>"},
        {"Content-Length:2\n\nab" + Framed("c"), "<ab><c>"},
        {"\r\n\r\n" + Framed("a"), "<a>"},
        {"Content-Length: 5\r\n\r\nab", ""},
        {"Content-Length: -1\r\n\r\n" + Framed("a"), "!<a>"},
        {"Content-Length: 2x\r\n\r\n" + Framed("a"), "!<a>"},
        {"Content-Length: 99999999999999999999999\r\n\r\n" + Framed("a"), "!<a>"},
        {"who knows\r\n" + Framed("a"), "!<a>"},
        {"Content-Type: x\r\n\r\n" + Framed("a"), "<a>"},
        {"Content-Type: x\r\nwho knows\r\nContent-Length: 1\r\n\r\na", "!<a>"},
        {"Content-Length: 1\r\nwho knows\r\n\r\na", "!<a>"},
        // Right behind a body whose length was not told, or was told wrongly.
        {"Content-Length: abc\r\n\r\n{\"a\": 1}" + Framed("a") + Framed("b"), "!<a><b>"},
        {"Content-Length: abc\r\n\r\n{\"a\":\r\n \"Content-Length: 1\"}" + Framed("a"), "!<a>"},
        {"Content-Length: 2\r\n\r\n{\"a\": 1}" + Framed("a") + Framed("b"), "<{\">!<a><b>"},
        {"{}" + Framed("a") + "{}" + Framed("b"), "!<a>!<b>"},
        {"length: 1\r\n{}Length: 1\r\nContent-Length: x\r\n" + Framed("a"), "!<a>"},
        {std::string(10000, 'x'), "!"},
        {std::string(10000, 'x') + Framed("a"), "!<a>"},
    };
    for (const auto& [octets, told] : rows)
        for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{7}, octets.size()})
            EXPECT_EQ(MessagesIn(octets, piece), told) << octets.substr(0, 60) << " by " << piece;
}

TEST(FrameReader, PassesOverWhatIsTooLong)
{
    FrameReader reader;
    reader.Add("Content-Length: " + std::to_string(s_longestMessage + 1) + "\r\n\r\n");
    ASSERT_TRUE(reader.Next());
    EXPECT_FALSE(reader.Next());
    const std::string piece(std::size_t{1} << 20, 'x');
    for (std::size_t i = 0; i < s_longestMessage; i += piece.size())
    {
        reader.Add(piece);
        ASSERT_FALSE(reader.Next());
    }
    reader.Add("x" + Framed("a"));
    const auto message = reader.Next();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->m_body, "a");
}

} // namespace

} // namespace kelm::language
