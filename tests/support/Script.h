#pragma once

// Evaluating expressions in tests. What an evaluation ends in is one text, so that tables of cases can be written down:
//
//     int64 7        bool true        void        string abc
//     LexScannerException at 3: Expected ) when read end of text      (the offset in bytes)
//     KSValueException: Division by zero error
//     LiteralException: ...
//     KelmAssertionError: 0 (src/KSValue)
//
// For tests that link klKelmScript.

#include <klKelmScript/KSParser.h>
#include <klKelmScript/KSValue.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

namespace kelm
{

inline std::string KindAndValue(const KSValue& value)
{
    if (value.is<void>())
        return "void";
    if (value.is<ReflectedValue>())
        return "reflected";
    return TypeToString(value.GetTag()) + (" " + WrittenText(value));
}

inline void PrintTo(const KSValue& value, std::ostream* os)
{
    *os << KindAndValue(value);
}

// What f(), a KSValue or something that makes one, comes to. `text` is what the position of a syntax error refers to.
template <class F>
std::string OutcomeOf(F&& f, SubString text = {})
{
    try
    {
        return KindAndValue(f());
    }
    catch (const LexScannerException& e)
    {
        return "LexScannerException at " + std::to_string(e.m_pos - text.m_p1) + ": " + ToStdString(e.m_description);
    }
    catch (const KSValueException& e)
    {
        return "KSValueException: " + ToStdString(e.m_description);
    }
    catch (const LiteralException& e)
    {
        return "LiteralException: " + ToStdString(e.m_description);
    }
    catch (const KelmAssertionError& e)
    {
        return "KelmAssertionError: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ")";
    }
}

struct Evaluation
{
    std::string m_outcome;
    std::string m_next; // the current token afterwards, as "TOKEN at OFFSET"; empty at the end of the text
    KSValue m_value;    // also what a failing evaluation has written
};

using ParserOperation = void (KSParser::*)(KSValue& literal);

inline Evaluation Evaluate(SubString text, ParserOperation operation = &KSParser::ParseExpression)
{
    Evaluation evaluation;
    KSParser parser;
    evaluation.m_outcome = OutcomeOf(
        [&]() -> const KSValue&
        {
            parser.Init(text);
            (parser.*operation)(evaluation.m_value);
            return evaluation.m_value;
        },
        text);
    if (parser.m_token.m_type != TOKEN_END)
        evaluation.m_next =
            WrittenText(parser.m_token) + " at " + std::to_string(parser.m_token.m_str.m_p1 - text.m_p1);
    return evaluation;
}

inline std::string OutcomeOfText(const std::string& text)
{
    return Evaluate(ViewOf(text)).m_outcome;
}

struct ExpressionRow
{
    std::string m_text;
    std::string m_outcome;
    // The current token afterwards. Where it is not given, a value must have taken the whole text, and a failure may
    // have left any token.
    std::optional<std::string> m_next = {};
};

inline void ExpectRow(const ExpressionRow& row, ParserOperation operation = &KSParser::ParseExpression)
{
    const Evaluation evaluation = Evaluate(ViewOf(row.m_text), operation);
    EXPECT_EQ(evaluation.m_outcome, row.m_outcome) << row.m_text;
    const bool isFailure = row.m_outcome.find(": ") != std::string::npos;
    if (row.m_next || !isFailure)
    {
        EXPECT_EQ(evaluation.m_next, row.m_next.value_or("")) << row.m_text;
    }
}

template <std::size_t N>
void ExpectRows(const ExpressionRow (&rows)[N], ParserOperation operation = &KSParser::ParseExpression)
{
    for (const ExpressionRow& row : rows)
        ExpectRow(row, operation);
}

} // namespace kelm
