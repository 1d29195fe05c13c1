// The example files, which are right: what must be told at every place of them follows from their tokens alone.

#include <kelmLanguage/Completion.h>
#include <kelmLanguage/Help.h>
#include <kelmLanguage/References.h>
#include <kelmLanguage/Sites.h>

#include "Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace kelm::language
{

namespace
{

struct ExampleFile
{
    std::string m_name;
    std::string m_text;
};

std::vector<ExampleFile> ExampleFiles()
{
    std::vector<ExampleFile> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KELM_EXAMPLE_DATA))
        if (entry.path().extension() == ".kds" && entry.path().stem() != "broken")
        {
            std::ifstream file(entry.path(), std::ios::binary);
            files.push_back({entry.path().stem(), {std::istreambuf_iterator<char>(file), {}}});
        }
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.m_name < b.m_name; });
    return files;
}

// The name that a part of a text belongs to, with those around it that dots and colons join to it.
Span QualifiedNameAt(std::string_view text, Span part)
{
    const auto isOf = [](char c)
    { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == ':'; };
    while (part.m_begin > 0 && isOf(text[part.m_begin - 1]))
        --part.m_begin;
    while (part.m_end < text.size() && isOf(text[part.m_end]))
        ++part.m_end;
    return part;
}

std::string WithColons(std::string name)
{
    for (std::size_t at = name.find('.'); at != std::string::npos; at = name.find('.', at))
        name.replace(at, 1, "::");
    return name;
}
std::string LastPartOf(const std::string& name)
{
    return name.substr(name.find_last_of(".:") + 1);
}

bool IsOffered(const std::vector<Completion>& choices, const std::string& name)
{
    return std::any_of(choices.begin(), choices.end(),
                       [&](const Completion& choice) { return WithColons(choice.m_label) == WithColons(name); });
}

// Whether the line that a declaration is about has the name.
bool IsDeclaredAs(const std::optional<Declaration>& declaration, const std::string& name)
{
    if (!declaration)
        return false;
    std::istringstream lines(declaration->m_text);
    std::string line;
    for (std::size_t i = 0; i <= declaration->m_line; ++i)
        if (!std::getline(lines, line))
            return false;
    return line.find(name) != std::string::npos;
}

class EveryPlace : public ::testing::TestWithParam<ExampleFile>
{
};

TEST_P(EveryPlace, IsToldWhatIsWrittenThere)
{
    const Document document = Document::Parse(GetParam().m_text);
    const std::string_view text = document.GetText();
    const Types& types = ExampleTypes();
    // Of the longest files some places have to do.
    const std::size_t step = 1 + text.size() / 1000;
    const auto where = [&](std::size_t at)
    { return GetParam().m_name + ", line " + std::to_string(1 + std::count(text.begin(), text.begin() + at, '\n')); };
    for (std::size_t at = 0; at < text.size();)
    {
        const Part part = ScanPart(text, at);
        at = part.m_span.m_end;
        const bool isName = part.m_token == TOKEN_IDENTIFIER;
        const Span name = isName ? QualifiedNameAt(text, part.m_span) : part.m_span;
        const bool isValue = part.m_token == TOKEN_INTEGER || part.m_token == TOKEN_HEX_INTEGER ||
                             part.m_token == TOKEN_FLOAT || part.m_token == TOKEN_DOUBLE_QUOTED_STRING ||
                             part.m_token == TOKEN_SINGLE_QUOTED_STRING;
        for (std::size_t place = part.m_span.m_begin + 1 + at % step; place < part.m_span.m_end; place += step)
        {
            const Completions completions = Complete(document, types, place);
            const auto hover = HoverAt(document, types, place);
            if (isName)
            {
                const auto& choices = completions.m_choices;
                const std::string written(name.In(text));
                ASSERT_TRUE(IsOffered(choices, written)) << where(place) << ": " << written;
                ASSERT_EQ(completions.m_replaced, name) << where(place);
                ASSERT_TRUE(written == "null" || (hover && hover->m_span == name)) << where(place) << ": " << written;
                if (const auto subject = SubjectAt(document, types, place))
                {
                    const auto mentions = MentionsOf(document, types, subject->m_subject);
                    ASSERT_TRUE(std::any_of(mentions.begin(), mentions.end(),
                                            [&](Span mention) { return mention.m_end == name.m_end; }))
                        << where(place) << ": " << written;
                    ASSERT_TRUE(IsDeclaredAs(DeclarationOf(types, subject->m_subject), LastPartOf(written)))
                        << where(place) << ": " << written;
                    const auto renaming = RenamingAt(document, types, place);
                    ASSERT_TRUE(renaming && renaming->m_span.m_end == name.m_end) << where(place) << ": " << written;
                    ASSERT_FALSE(renaming->m_choices.empty() && renaming->m_nothingElse.empty()) << where(place);
                    // What could be typed there, or the same class with more or less of its name.
                    for (const std::string& other : renaming->m_choices)
                        ASSERT_TRUE(other != written &&
                                    (IsOffered(choices, other) || LastPartOf(other) == LastPartOf(written)))
                            << where(place) << ": " << other << " for " << written;
                }
                else
                {
                    ASSERT_TRUE(written == "null" || written == "true" || written == "false") << where(place);
                }
            }
            else
            {
                const bool isBetween = part.m_kind <= PartKind::Space || part.m_token == TOKEN_COLON_COLON;
                ASSERT_TRUE(completions.m_choices.empty() || isBetween) << where(place);
                ASSERT_EQ(hover.has_value(), isValue || part.m_token == TOKEN_COLON_COLON) << where(place);
                ASSERT_TRUE(!isValue || hover->m_span.m_end == part.m_span.m_end) << where(place);
            }
        }
    }
}

// Every name is coloured, and every member by position has a hint.
TEST_P(EveryPlace, IsColouredAsWhatItIs)
{
    const Document document = Document::Parse(GetParam().m_text);
    const std::string_view text = document.GetText();
    std::size_t names = 0;
    for (std::size_t at = 0; at < text.size(); at = ScanPart(text, at).m_span.m_end)
        names += ScanPart(text, at).m_token == TOKEN_IDENTIFIER ? 1 : 0;
    std::size_t last = 0;
    for (const ColouredToken& token : TokensOf(document, ExampleTypes()))
    {
        ASSERT_GE(token.m_span.m_begin, last);
        last = token.m_span.m_end;
        names -= token.m_kind <= TokenKind::Keyword ? 1 : 0;
    }
    EXPECT_EQ(names, 0u);
}

INSTANTIATE_TEST_SUITE_P(Examples, EveryPlace, ::testing::ValuesIn(ExampleFiles()),
                         [](const auto& example) { return example.param.m_name; });

} // namespace

} // namespace kelm::language
