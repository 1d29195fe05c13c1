// Runs every example of docs/language.md: each line "EXPRESSION  →  RESULT" of its ```kelm blocks.

#include <support/Script.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

constexpr const char* s_document = KELM_DOCS_DIR "/language.md";
constexpr const char* s_arrow = "→  ";

struct Example
{
    int m_line;
    std::string m_expression, m_result;
};

std::string WithoutTrailingBlanks(const std::string& text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::vector<Example> ReadExamples()
{
    std::vector<Example> examples;
    std::ifstream document(s_document);
    EXPECT_TRUE(document) << s_document;
    std::string line;
    bool isInBlock = false;
    for (int number = 1; std::getline(document, line); ++number)
    {
        if (line.compare(0, 3, "```") == 0)
        {
            isInBlock = line == "```kelm";
            continue;
        }
        if (!isInBlock || line.empty())
            continue;
        const std::size_t arrow = line.rfind(s_arrow);
        if (arrow == std::string::npos)
            ADD_FAILURE() << s_document << ":" << number << ": no result";
        else
            examples.push_back({number, WithoutTrailingBlanks(line.substr(0, arrow)),
                                line.substr(arrow + std::string(s_arrow).size())});
    }
    return examples;
}

// How the document writes what an expression comes to.
std::string ResultOf(const std::string& expression)
{
    const SubString text = ViewOf(expression);
    KSParser parser;
    KSValue value;
    try
    {
        parser.Init(text);
        parser.ParseExpression(value);
    }
    catch (const LexScannerException& e)
    {
        return "error at " + std::to_string(e.m_pos - text.m_p1 + 1) + ": " + ToStdString(e.m_description);
    }
    catch (const KSValueException& e)
    {
        return "error: " + ToStdString(e.m_description);
    }
    catch (const KelmAssertionError& e)
    {
        return "assertion: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ")";
    }
    const std::string result = WrittenText(value) + " : " + TypeToString(value.GetTag());
    return parser.m_token == TOKEN_END ? result : result + ", then " + WrittenText(parser.m_token);
}

TEST(LanguageReference, SaysWhatEveryExampleComesTo)
{
    const std::vector<Example> examples = ReadExamples();
    EXPECT_GE(examples.size(), 180U);
    for (const Example& example : examples)
        EXPECT_EQ(ResultOf(example.m_expression), example.m_result)
            << s_document << ":" << example.m_line << ": " << example.m_expression;
}

// A fence that is not closed, or closed twice, would turn examples into prose.
TEST(LanguageReference, ClosesItsBlocks)
{
    std::ifstream document(s_document);
    std::string line;
    int fences = 0;
    while (std::getline(document, line))
        fences += line.compare(0, 3, "```") == 0;
    EXPECT_EQ(fences % 2, 0);
}

} // namespace
} // namespace kelm
