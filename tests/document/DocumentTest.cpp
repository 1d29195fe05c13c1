// Documents: their parts are the text, their tree is that of the tokens, and an edit makes what a new reading would.

#include "Trees.h"

#include <support/Cases.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace kelm
{

namespace
{

using reference::Random;

std::string PartsOf(const Document& document)
{
    std::string text;
    std::vector<PartWalk> levels{PartWalk(document)};
    Part part{};
    std::vector<Part> open;
    while (!levels.empty())
        if (!levels.back().Next(part))
        {
            levels.pop_back();
            if (!open.empty())
            {
                text += Span{open.back().GetInside().m_end, open.back().m_span.m_end}.In(document.GetText());
                open.pop_back();
            }
        }
        else if (part.m_kind == PartKind::Brackets)
        {
            text += Span{part.m_span.m_begin, part.GetInside().m_begin}.In(document.GetText());
            const PartWalk inside = levels.back().Inside(part);
            levels.push_back(inside);
            open.push_back(part);
        }
        else
            text += part.m_span.In(document.GetText());
    return text;
}

struct TreeRow
{
    const char* m_text;
    const char* m_tree;
};

TEST(Document, IsATreeOfBrackets)
{
    const TreeRow rows[] = {
        {"", ""},
        {"a{}", "token/10008[0,1) brackets/10057[1,3) } "},
        {"\xEF\xBB\xBF# x\r\na", "mark/-1[0,3) comment/-1[3,6) space/-1[6,8) token/10008[8,9) "},
        {"a # b", "token/10008[0,1) space/-1[1,2) token/10065[2,3) space/-1[3,4) token/10008[4,5) "},
        {"{ [ }", "brackets/10057[0,5) space/-1[1,2) brackets/10059[2,5) space/-1[3,4) } {} "},
        {")(", "token/10056[0,1) brackets/10055[1,2) {} "},
        {"'a\nb", "wrong/-1[0,2) space/-1[2,3) token/10008[3,4) "},
        {"12abc.5 /* x", "wrong/-1[0,7) space/-1[7,8) wrong/-1[8,12) "},
        {"\x01\xC3\xA4 x", "wrong/-1[0,3) space/-1[3,4) token/10008[4,5) "},
    };
    for (const TreeRow& row : rows)
    {
        EXPECT_EQ(TreeOf(Document::Parse(row.m_text)), row.m_tree) << row.m_text;
        EXPECT_EQ(ReferenceTreeOf(row.m_text), row.m_tree) << row.m_text;
    }
}

// As many as the environment says.
std::size_t NumCases()
{
    return NumberIn("KELM_DOCUMENT_CASES", 8000);
}

uint64 Seed()
{
    return NumberIn("KELM_DOCUMENT_SEED", 1);
}

TEST(Document, LosesNothingOfAnyText)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        const std::string text = AnyText(random);
        const Document document = Document::Parse(text);
        ASSERT_EQ(PartsOf(document), text);
        ASSERT_EQ(TreeOf(document), ReferenceTreeOf(text)) << text;
    }
}

TEST(Document, IsTheSameAfterAnyEdits)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases() / 20; ++i)
    {
        std::string text = AnyText(random);
        if (random.OneIn(3))
            for (int n = 0; n < 4; ++n)
                text += AnyText(random);
        Document document = Document::Parse(text);
        for (int edit = 0; edit < 20; ++edit)
        {
            const std::size_t begin = random.Below(text.size() + 1);
            const std::size_t size = random.OneIn(2) ? 0 : random.Below(random.OneIn(8) ? text.size() + 1 : 4);
            const Span removed{begin, std::min(begin + size, text.size())};
            const std::string inserted = random.OneIn(3)    ? ""
                                         : random.OneIn(10) ? AnyText(random)
                                                            : AnyText(random).substr(0, 1 + random.Below(3));
            document.Edit(removed, inserted);
            text.replace(removed.m_begin, removed.GetSize(), inserted);
            ASSERT_EQ(document.GetText(), text);
            ASSERT_EQ(TreeOf(document), ReferenceTreeOf(text)) << text << "\nedit at " << begin << " of " << inserted;
        }
    }
}

TEST(Document, KeepsItsIndexSmallWhereItIsEditedOften)
{
    std::string text;
    for (int i = 0; i < 4000; ++i)
        text += "member" + std::to_string(i) + " = [1,2,3]\n";
    Document document = Document::Parse(text);
    Random random(3);
    constexpr const char* typed[] = {"a", "{", " ", "}", "1,"};
    for (int i = 0; i < 4000; ++i)
        document.Edit({text.size() / 2, text.size() / 2}, random.Of(typed));
    EXPECT_EQ(TreeOf(document), TreeOf(Document::Parse(std::string(document.GetText()))));
    EXPECT_LT(document.GetIndexSize(), document.GetText().size() / 8);
}

TEST(Document, KeepsAnyLevels)
{
    constexpr std::size_t levels = 300000;
    const std::string text = std::string(levels, '[') + std::string(levels, ']');
    const Document document = Document::Parse(text);
    EXPECT_LT(document.GetIndexSize(), text.size() / 20);
    PartWalk walk(document);
    Part part{};
    for (std::size_t i = 0; i < 2000; ++i)
    {
        ASSERT_TRUE(walk.Next(part));
        ASSERT_EQ(part.m_span, (Span{i, text.size() - i}));
        walk = walk.Inside(part);
    }
}

TEST(Document, ReadsTheFilesOfTheExamples)
{
    for (const auto& file : std::filesystem::recursive_directory_iterator(KELM_EXAMPLE_DATA))
    {
        if (!file.is_regular_file())
            continue;
        std::stringstream stream;
        stream << std::ifstream(file.path()).rdbuf();
        const std::string text = stream.str();
        EXPECT_EQ(TreeOf(Document::Parse(text)), ReferenceTreeOf(text)) << file.path();
    }
}

} // namespace

} // namespace kelm
