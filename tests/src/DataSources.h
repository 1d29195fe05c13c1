#pragma once

// Reading data sources in tests: texts into variables, and tables of texts that fail.

#include <klKelmScript/ParseDataSource.h>
#include <klObject/types/ReflectionByteCode.h>
#include <support/Depth.h>
#include <support/Expect.h>
#include <support/ExpectedLeaks.h>
#include <support/HandmadeClasses.h>

#include <gtest/gtest.h>

#include <string>

namespace kelm
{

// What is left of the text at the parser's current token.
inline std::string RestAt(const ExpressionParser& parser, SubString text)
{
    return ToStdString({parser.m_token.m_str.m_p1, text.m_p2});
}

// Reads a value into a variable of the type that `bc` describes and returns the text behind it.
inline std::string ReadVariable(const std::string& text, ReflectionByteCode type, void* data)
{
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    ParseVariable(parser, type, data);
    return RestAt(parser, ViewOf(text));
}

// Reads a class value into `object` and returns the text behind it.
template <class T>
std::string Fill(T& object, const std::string& text)
{
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    ParseClassVariable(parser, hand::ClassOf<T>(), &object);
    return RestAt(parser, ViewOf(text));
}

// A text that fails, with the whole message and the place of the error.
struct FailingText
{
    std::string m_text;
    std::string m_message;
    ssize_t m_offset;
};

template <class T, std::size_t N>
void ExpectFillFailures(const FailingText (&rows)[N])
{
    for (const FailingText& row : rows)
    {
        T object;
        EXPECT_TRUE(ThrowsLexScannerException([&] { Fill(object, row.m_text); }, ViewOf(row.m_text), row.m_offset,
                                              row.m_message))
            << row.m_text;
    }
}

} // namespace kelm
