// Layouts of random documents: tokens and comments stay, a second layout changes nothing, and what is read is the same.

#include "CommentPlaces.h"
#include "EditedTypes.h"
#include "Ships.h"

#include <kelmDocument/Format.h>
#include <klObject/objects/Collector.h>
#include <support/Cases.h>
#include <support/ExpectedLeaks.h>
#include <support/ReferenceTexts.h>
#include <support/SameDocument.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

using reference::Random;

uint64 Seed()
{
    return NumberIn("KELM_READING_SEED", 1);
}

std::size_t NumCases()
{
    return NumberIn("KELM_READING_CASES", 3000);
}

FormatOptions AnyOptions(Random& random)
{
    return {random.OneIn(3) ? 100 : random.Below(120), random.OneIn(2) ? 4 : random.Below(9)};
}

// A layout's text, which is held to what is always true of it. Empty where there is none.
std::string Laid(const std::string& text, const FormatOptions& options)
{
    const Result<std::string> result = Format(text, options);
    EXPECT_EQ(!result, FindSyntaxError(text).has_value());
    if (!result)
        return {};
    const std::string told =
        text + "\n--- " + std::to_string(options.m_width) + " " + std::to_string(options.m_indent) + "\n" + *result;
    EXPECT_EQ(PiecesOf(*result), PiecesOf(text)) << told;
    const Result<std::string> again = Format(*result, options);
    EXPECT_EQ(again ? *again : again.GetError().what(), *result) << told;
    return *result;
}

void ExpectNoDoubleBlankLines(const std::string& text)
{
    std::string plain = text;
    std::erase(plain, '\r');
    EXPECT_EQ(plain.find("\n\n\n"), std::string::npos) << text;
}

TEST(FormatProperty, OfShips)
{
    ExpectedLeaks leaks; // alternatives that are replaced, where damage has made a member of two
    yard::Register();
    Random random(Seed());
    std::size_t numLaid = 0;
    for (std::size_t i = 0; i < NumCases() && !testing::Test::HasFailure(); ++i)
    {
        int numComments = 0;
        std::string text = random.OneIn(3) ? TidyShip(random, numComments) : AnyShip(random, numComments);
        const bool isWhole = !random.OneIn(3);
        if (!isWhole)
            reference::Damage(random, text);
        const FormatOptions options = AnyOptions(random);
        const std::string laid = Laid(text, options);
        const std::string readsAs = WhatItReadsAs(text);
        // What can be read has a layout, and is still the same.
        EXPECT_EQ(laid.empty() ? std::string() : WhatItReadsAs(laid), readsAs) << text << "\n---\n" << laid;
        numLaid += laid.empty() ? 0 : 1;
        if (isWhole)
            ExpectNoDoubleBlankLines(laid);
        if (i % 64 == 0)
            CollectGarbage();
    }
    CollectGarbage();
    EXPECT_GT(numLaid, NumCases() / 2);
}

// Documents that no class is for, of everything that the grammar has.
class AnyDocument
{
public:
    explicit AnyDocument(Random& random) : m_random(random) {}

    std::string Make()
    {
        Put(m_random.OneIn(10) ? "\xEF\xBB\xBF" : "");
        Space();
        if (!m_random.OneIn(8))
            Name();
        Body(0);
        Space();
        return std::move(m_text);
    }

private:
    void Put(std::string_view text) { m_text += text; }

    void Space()
    {
        static constexpr std::string_view spaces[] = {" ",
                                                      " ",
                                                      "",
                                                      "  ",
                                                      "\n",
                                                      "\n    ",
                                                      "\n\n\n  ",
                                                      "\r\n",
                                                      "\t",
                                                      " // a\n",
                                                      " // b   \n",
                                                      "\n// c\n\n",
                                                      " /* d */ ",
                                                      "/* e */",
                                                      "\n/* f */ ",
                                                      "/* g\n */",
                                                      "\n# h\n",
                                                      " //\r\r\n",
                                                      "// fmt: off\n",
                                                      "\n// fmt: on\n",
                                                      "    // i\n"};
        Put(m_random.OneIn(3) ? m_random.Of(spaces) : " ");
    }

    void Token(std::string_view text)
    {
        Put(text);
        Space();
    }

    void Name()
    {
        static constexpr std::string_view names[] = {"a", "bcd", "Point", "inf", "longer_name"};
        Token(m_random.Of(names));
        while (m_random.OneIn(4))
        {
            Token(m_random.OneIn(2) ? "." : "::");
            Token(m_random.Of(names));
        }
        Put(" "); // names do not become one
    }

    void Scalar()
    {
        static constexpr std::string_view scalars[] = {
            "1", "2.5", "0xff", "1e9", "'c'", "\"ä\"", "\"a longer text\"", "1234567"};
        if (m_random.OneIn(5))
        {
            Token(m_random.OneIn(2) ? "-" : "+");
            Token("1");
        }
        else
        {
            Token(m_random.Of(scalars));
        }
        Put(" ");
    }

    void Value(int depth)
    {
        while (m_random.OneIn(6))
            Name();
        switch (m_random.Below(depth < 4 ? 6 : 3))
        {
        case 0:
        case 1: return Scalar();
        case 2: return Name();
        case 3: return Body(depth);
        default: return List(depth);
        }
    }

    void Body(int depth)
    {
        if (m_random.OneIn(3))
            return Items("(", ")", depth, false);
        Token("{");
        for (std::size_t n = m_random.Below(6); n-- > 0;)
        {
            static constexpr std::string_view names[] = {"a", "bc", "def", "ghijkl"};
            Token(m_random.Of(names));
            for (std::size_t blanks = m_random.Below(4); m_random.OneIn(3) && blanks-- > 0;)
                Put(" ");
            Token("=");
            Value(depth + 1);
        }
        Token("}");
    }

    void List(int depth) { Items("[", "]", depth, m_random.OneIn(3)); }

    void Items(std::string_view opening, std::string_view closing, int depth, bool isMap)
    {
        Token(opening);
        const bool isOfScalars = m_random.OneIn(2);
        for (std::size_t n = m_random.Below(isOfScalars ? 20 : 5), i = 0; i < n; ++i)
        {
            if (i > 0)
                Token(",");
            if (isOfScalars)
                Scalar();
            else
                Value(depth + 1);
            if (!isMap)
                continue;
            Token("->");
            Value(depth + 1);
        }
        Token(closing);
    }

    Random& m_random;
    std::string m_text;
};

TEST(FormatProperty, OfDocumentsOfAnyClass)
{
    Random random(Seed());
    for (std::size_t i = 0; i < 4 * NumCases() && !testing::Test::HasFailure(); ++i)
    {
        std::string text = AnyDocument(random).Make();
        const bool isWhole = !random.OneIn(4);
        if (!isWhole)
            reference::Damage(random, text);
        const std::string laid = Laid(text, AnyOptions(random));
        EXPECT_TRUE(!isWhole || !laid.empty()) << text;
    }
}

TEST(FormatProperty, OfChangesOfLines)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases() && !testing::Test::HasFailure(); ++i)
    {
        const std::string text = AnyDocument(random).Make();
        const FormatOptions options = AnyOptions(random);
        const std::size_t begin = random.Below(text.size() + 1);
        const std::size_t end = random.OneIn(4) ? text.size() : begin + random.Below(text.size() - begin + 1);
        const bool isAll = random.OneIn(4);
        const Span range{isAll ? 0 : begin, isAll ? text.size() : end};
        const std::vector<SpaceChange> changes = *FormatLines(text, range, options);
        std::string after = text;
        for (std::size_t n = changes.size(); n-- > 0;)
        {
            const SpaceChange& change = changes[n];
            ASSERT_NE(change.m_removed.In(text), change.m_inserted);
            ASSERT_TRUE(n == 0 || changes[n - 1].m_removed.m_end < change.m_removed.m_begin);
            after.replace(change.m_removed.m_begin, change.m_removed.GetSize(), change.m_inserted);
        }
        const std::string told = text + "\n--- " + std::to_string(begin) + " " + std::to_string(end) + "\n" + after;
        EXPECT_EQ(PiecesOf(after), PiecesOf(text)) << told;
        EXPECT_TRUE(!isAll || after == *Format(text, options)) << told;
        // Lines in front of the range and behind it are as they were, but for blank ones.
        const std::size_t lineStart = range.m_begin == 0 ? 0 : text.rfind('\n', range.m_begin - 1) + 1;
        const std::size_t before = text.find_last_not_of(" \t\r\n\v\f", lineStart == 0 ? 0 : lineStart - 1);
        const std::size_t sizeBefore = lineStart == 0 || before == std::string::npos ? 0 : before + 1;
        EXPECT_EQ(after.substr(0, sizeBefore), text.substr(0, sizeBefore)) << told;
        const std::size_t behind = std::min(text.find('\n', range.m_end), text.size());
        EXPECT_TRUE(after.ends_with(text.substr(behind))) << told;
    }
}

TEST(FormatProperty, OfAnyText)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases() && !testing::Test::HasFailure(); ++i)
    {
        std::string text = "A { a = ";
        for (std::size_t n = random.Below(6); n-- > 0;)
            text += reference::AnyToken(random) + reference::AnySpace(random);
        Laid(text + "}", AnyOptions(random));
    }
}

} // namespace

} // namespace kelm
