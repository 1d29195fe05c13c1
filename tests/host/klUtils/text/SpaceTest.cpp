#include <klUtils/text/private/Space.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

// What SkipComments leaves of a text behind a token, in memory that holds nothing else.
std::string RestBehind(const std::string& token, const std::string& text)
{
    const std::string whole = token + text;
    const std::vector<char> bytes(whole.begin(), whole.end());
    const char* const end = bytes.data() + bytes.size();
    return {text::SkipComments(bytes.data() + token.size(), end), end};
}

TEST(Comments, ArePassedWithTheWhiteSpaceBehindEach)
{
    struct Row
    {
        const char* m_text;
        const char* m_rest;
        const char* m_token = "x";
    };
    const Row rows[] = {
        {"", ""},
        {"b", "b"},
        {"// c", ""},
        {"//", ""},
        {"// c\nb", "b"},
        {"// c\r\n\t b", "b"},
        {"// a\n// b\n\nc", "c"},
        {"// /* a\nb", "b"},
        {"/* c */b", "b"},
        {"/* c */ \n b", "b"},
        {"/**/b", "b"},
        {"/***/b", "b"},
        {"/****/b", "b"},
        {"/* * / */b", "b"},
        {"/* // */b", "b"},
        {"/* a */// b\n/* c */d", "d"},
        // What is none.
        {"/ b", "/ b"},
        {"/", "/"},
        {"/= b", "/= b"},
        {"/* a */ / b", "/ b"},
        // What does not end.
        {"/*", "/*"},
        {"/*/", "/*/"},
        {"/* a", "/* a"},
        {"/* a *", "/* a *"},
        {"/* a */ /* b", "/* b"},
        {"// a\n/* b *", "/* b *"},
        // A hash begins one at the beginning of a line alone.
        {"# a\nb", "# a\nb"},
        {"# a\nb", "b", "x\n"},
        {"# a", "", "x\n"},
        {"# a\n# b\n # c", "# c", "x\n"},
        {"// a\n# b\nc", "c"},
        {"/* a */# b", "# b"},
        {"/* a\n*/# b", "# b"},
        {"/* a */\n# b\nc", "c"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(RestBehind(row.m_token, row.m_text), row.m_rest) << row.m_text;
}

TEST(Comments, MayBeOfAnyLengthAndEndAnywhere)
{
    for (std::size_t length = 0; length <= 70; ++length)
        for (const char filler : {'a', '*', '/', ' '})
            for (const std::size_t blanks : {0U, 1U, 2U, 15U, 16U, 17U, 33U})
            {
                const std::string inside(length, filler);
                const std::string space(blanks, ' ');
                for (const std::string& rest : {std::string(), std::string("b"), std::string("b = [1, 2, 3, 4, 5, 6]")})
                {
                    EXPECT_EQ(RestBehind("x", "/*" + inside + "*/" + space + rest), rest) << inside << blanks;
                    EXPECT_EQ(RestBehind("x", "//" + inside + "\n" + space + rest), rest) << inside << blanks;
                    const std::string open = "/*" + inside + space + rest;
                    EXPECT_EQ(RestBehind("x", open), open);
                }
                EXPECT_EQ(RestBehind("x", "//" + inside), "") << inside;
            }
}

} // namespace
} // namespace kelm
