#pragma once

// Expectations about the system's exceptions, each for EXPECT_TRUE or ASSERT_TRUE around it:
//
//     EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ReadNextToken(); }, text, 3, "Unterminated comment")) << text;
//
// Messages are compared whole. Anything else that happens, another type of exception included, is told in the failure.
// Also how GoogleTest prints the strings, views and tokens of the system.

#include <klUtils/BasicSubString.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/LiteralException.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/xostream.h>
#include <klUtils/xstring.h>

#include <gtest/gtest.h>

#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>

namespace kelm
{

inline std::string ToStdString(SubString text)
{
    return text.empty() ? std::string() : std::string(text.m_p1, text.m_p2);
}

// A view of all its bytes; the string must outlive it.
inline SubString ViewOf(const std::string& text)
{
    return {text.data(), text.data() + text.size()};
}
SubString ViewOf(std::string&& text) = delete;

inline void PrintTo(SubString text, std::ostream* os)
{
    *os << ::testing::PrintToString(ToStdString(text));
}
inline void PrintTo(const xstring& text, std::ostream* os)
{
    PrintTo(SubString(text), os);
}
inline void PrintTo(const LSToken& token, std::ostream* os)
{
    *os << "token " << static_cast<int>(token.m_type) << " ";
    PrintTo(token.m_str, os);
}

// What any object of the system that has Write, or an operator<<, writes to a stream.
template <class T>
std::string WrittenText(const T& object)
{
    StringStream os(4096);
    if constexpr (requires { object.Write(os); })
        object.Write(os);
    else
        os << object;
    return ToStdString(os.GetString());
}

// Calls `f`, which must throw an E, and returns check(the exception). E is caught exactly as thrown or as a base.
template <class E, class F, class Check>
::testing::AssertionResult Throws(F&& f, Check&& check)
{
    try
    {
        f();
    }
    catch (const E& e)
    {
        return check(e);
    }
    catch (const std::exception& e)
    {
        return ::testing::AssertionFailure() << "throws a " << typeid(e).name() << ": " << e.what();
    }
    return ::testing::AssertionFailure() << "throws nothing";
}

// `f` throws LexScannerException with the message `message`, at the byte `offset` of `text` (text.size() for its end),
// without a file name and with the line not yet known.
template <class F>
::testing::AssertionResult ThrowsLexScannerException(F&& f, SubString text, ssize_t offset, const std::string& message)
{
    return Throws<LexScannerException>(f,
                                       [&](const LexScannerException& e) -> ::testing::AssertionResult
                                       {
                                           const ssize_t actualOffset = e.m_pos - text.m_p1;
                                           if (ToStdString(e.m_description) == message && actualOffset == offset &&
                                               e.m_filename.empty() && e.m_lineNumber == -1)
                                               return ::testing::AssertionSuccess();
                                           return ::testing::AssertionFailure()
                                                  << "throws " << ::testing::PrintToString(ToStdString(e.m_description))
                                                  << " at " << actualOffset << " (file "
                                                  << ::testing::PrintToString(ToStdString(e.m_filename)) << ", line "
                                                  << e.m_lineNumber << "), not " << ::testing::PrintToString(message)
                                                  << " at " << offset;
                                       });
}

// `f` throws an exception of type E, with an m_description, whose message is `message`.
template <class E, class F>
::testing::AssertionResult ThrowsDescription(F&& f, const std::string& message)
{
    return Throws<E>(f,
                     [&](const E& e) -> ::testing::AssertionResult
                     {
                         if (ToStdString(e.m_description) == message)
                             return ::testing::AssertionSuccess();
                         return ::testing::AssertionFailure()
                                << "throws " << ::testing::PrintToString(ToStdString(e.m_description)) << ", not "
                                << ::testing::PrintToString(message);
                     });
}

template <class F>
::testing::AssertionResult ThrowsLiteralException(F&& f, const std::string& message)
{
    return ThrowsDescription<LiteralException>(f, message);
}

// `f` fails the assertion `condition` of the source `file`, at `line` unless that is 0.
template <class F>
::testing::AssertionResult FailsAssertion(F&& f, const std::string& condition, const std::string& file, int line = 0)
{
    return Throws<KelmAssertionError>(f,
                                      [&](const KelmAssertionError& e) -> ::testing::AssertionResult
                                      {
                                          if (ToStdString(e.m_condition) == condition &&
                                              ToStdString(e.m_file) == file && (line == 0 || e.m_line == line))
                                              return ::testing::AssertionSuccess();
                                          return ::testing::AssertionFailure()
                                                 << "throws " << e.what() << ", not " << condition << " (" << file
                                                 << ":" << line << ")";
                                      });
}

} // namespace kelm
