#include <klUtils/text/private/ShortText.h>

#include <support/ExactText.h>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace kelm
{
namespace
{

TEST(ShortText, IsAWordWithItsFirstCharacterLowestAndZerosAbove)
{
    const std::pair<const char*, uint64> rows[] = {
        {"", 0},
        {"a", 0x61},
        {"ab", 0x6261},
        {"abc", 0x636261},
        {"abcd", 0x64636261},
        {"abcde", 0x6564636261},
        {"abcdef", 0x666564636261},
        {"abcdefg", 0x67666564636261},
        {"abcdefgh", 0x6867666564636261},
        {"\xff\x80", 0x80ff},
    };
    for (const auto& [text, word] : rows)
    {
        const ExactText exact(text);
        EXPECT_EQ(WordOfShortText(exact.begin(), exact.View().size()), word) << text;
    }
}

TEST(ShortText, IsWhatIsLeftOfAWord)
{
    const std::string text = "\xff"
                             "bcdefg\x80";
    for (ssize_t size = 0; size <= s_maxShortText; ++size)
        EXPECT_EQ(LoadWord<uint64>(text.data()) & s_firstCharacters[size], WordOfShortText(text.data(), size)) << size;
}

// Wherever the difference is, and whatever the characters around it have in common.
TEST(KnownText, EndsNowhereInATextThatDiffersAnywhere)
{
    for (std::size_t size = 1; size <= 40; ++size)
    {
        const std::string known(size, 'k');
        const ExactText exactKnown(known);
        for (std::size_t at = 0; at <= size; ++at)
        {
            std::string text = known;
            if (at < size)
                text[at] = 'x';
            const ExactText exact(text);
            EXPECT_EQ(KnownText(exactKnown.View()).FindEnd(exact.begin(), exact.end()),
                      at < size ? nullptr : exact.end())
                << size << " " << at;
        }
    }
}

RC_GTEST_PROP(KnownText, EndsWhereATextBeginsWithIt, ())
{
    const auto anyText = [](int maxSize)
    { return *rc::gen::resize(maxSize, rc::gen::container<std::string>(rc::gen::element('a', 'b', '\0'))); };
    const std::string known = anyText(20);
    const std::string text = *rc::gen::element(known, anyText(20), known.substr(0, known.size() / 2)) + anyText(12);
    const ExactText exactKnown(known);
    const ExactText exact(text);
    const bool isThere = !known.empty() && text.starts_with(known);
    const char* const end = isThere ? exact.begin() + known.size() : nullptr;
    RC_ASSERT(KnownText(exactKnown.View()).FindEnd(exact.begin(), exact.end()) == end);
    RC_CLASSIFY(isThere, "begins");
}

} // namespace
} // namespace kelm
