// The example host, run as a program.

#include "Examples.h"

#include <support/RunProgram.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace kelm
{

namespace
{

ProgramResult RunHost(const std::string& file)
{
    return RunProgram({KELM_EXAMPLE_HOST, ExampleFile(file)});
}

TEST(ExampleHost, LoadsChangesWritesAndCollects)
{
    const ProgramResult result = RunHost("host/soup.kds");
    EXPECT_EQ(result.m_errors, "");
    EXPECT_EQ(result.m_output, R"(kitchen::Recipe {
    title = "Leek soup"
    servings = 4
    ingredients = [
        Ingredient {
            name = "leek"
            grams = 600.0
        },
        Ingredient {
            name = "potato"
            grams = 375.0
        },
        Ingredient {
            name = "stock"
            grams = 1000.0
        }
    ]
    sideDish = kitchen::Recipe {
        title = "Garlic bread"
        servings = 4
        ingredients = []
        sideDish = null
    }
}
freed: 1
)");
    EXPECT_EQ(result.m_exitCode, 0);
}

struct MistakeRow
{
    const char* m_file;
    const char* m_errors;
};

TEST(ExampleHost, SaysWhereAMistakeIs)
{
    static constexpr MistakeRow s_rows[] = {
        {"host/mistake.kds", "exampleHost: line 6: Unknown member 'gramms' of class kitchen::Ingredient\n"},
        {"data/garden.kds", "exampleHost: line 2: 'garden::Plan' is not a registered class name\n"},
        {"host/missing.kds", "exampleHost: line 1: Expected identifier when read end of text\n"},
    };
    for (const MistakeRow& row : s_rows)
    {
        SCOPED_TRACE(row.m_file);
        const ProgramResult result = RunHost(row.m_file);
        EXPECT_EQ(result.m_errors, row.m_errors);
        EXPECT_EQ(result.m_output, "");
        EXPECT_EQ(result.m_exitCode, 1);
    }
}

TEST(ExampleHost, HasUnderSixtyLines)
{
    const std::string source = TextOfFile(ExampleFile("host/main.cpp"));
    EXPECT_LT(std::count(source.begin(), source.end(), '\n'), 60);
}

} // namespace

} // namespace kelm
