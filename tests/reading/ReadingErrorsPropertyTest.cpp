// Reading that goes on behind errors: its first error is that of reading which does not, each mistake is one error, and
// the brackets that are missing or too much are seen for what they are.

#include "AnyValue.h"
#include "ReadingClasses.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/private/ReadingErrors.h>
#include <klUtils/KelmAssertionError.h>
#include <src/DataSources.h>
#include <support/Cases.h>
#include <support/ReferenceComparison.h>
#include <support/ReferenceTexts.h>
#include <support/ReferenceTokens.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelm::reference
{

namespace
{

using ReadingErrorsProperty = ReadingTest;

SubString ViewOf(const std::string& text)
{
    return {text.data(), text.data() + text.size()};
}

std::vector<ReadingError> ErrorsOf(const std::string& text)
{
    const ExpectedLeaks leaks;
    ptr<IObject> object;
    SubString rest;
    return ReadAllErrors(ViewOf(text), 100, object, rest);
}

std::string Told(const std::string& text, const std::vector<ReadingError>& errors)
{
    std::string told;
    for (const ReadingError& error : errors)
        told += std::to_string(error.m_place - text.data()) + " [" +
                std::string(error.m_token.m_p1, error.m_token.m_p2) + "] " + error.m_message + "\n";
    return told;
}

// The one error of reading that stops there; empty where there is none.
std::string FirstError(const std::string& text)
{
    const ExpectedLeaks leaks;
    ExpressionParser parser;
    try
    {
        parser.Init(ViewOf(text));
        ParseDataSource(parser);
        return "";
    }
    catch (const LexScannerException& e)
    {
        return std::to_string(e.m_pos - text.data()) + " " + std::string(e.m_description.view());
    }
    catch (const KelmAssertionError& e)
    {
        const char* const place = parser.m_prevToken.m_str.m_p1;
        return std::to_string(place != nullptr ? place - text.data() : 0) + " " + e.what();
    }
}

std::string DrawText(Random& random)
{
    ValueDrawing drawing(random);
    return drawing.Space() + drawing.DataSource() + drawing.Space();
}

std::size_t NumCases(std::size_t share)
{
    return NumberIn("KELM_READING_CASES", 100000) / share;
}

uint64 Seed()
{
    return NumberIn("KELM_READING_SEED", 1);
}

// --- What is told

struct ErrorRow
{
    const char* m_text;
    const char* m_errors;
};

TEST_F(ReadingErrorsProperty, TellsEachMistake)
{
    const ErrorRow rows[] = {
        {"reading.Record { id = 1 port = 2 }", ""},
        {"", "0 [] Expected identifier when read end of text\n"},
        {"no.Such { id = }", "8 [no.Such] 'no::Such' is not a registered class name\n"},
        // Members
        {"reading.Record { id = 'a' nmae = 'b' port = -1 shade = BLACK ratio = 1.5 }",
         "22 ['a'] Expected int64 when read 'a'\n"
         "31 [nmae] Unknown member 'nmae' of class reading::Record\n"
         "44 [-] Expected uint16 when read -\n"
         "61 [BLACK] Unknown member 'BLACK' of enum reading::Shade\n"},
        {"reading.Record { id 1 port 2, name = }",
         "20 [1] Expected = when read 1\n37 [}] Expected string when read }\n"},
        {"reading.Record { id = 12abc port = 2 name = 'a\n score = x }",
         "22 [12abc] Malformed number 12abc\n44 ['a] Unterminated string literal\n56 [x] Expected float64 when read "
         "x\n"},
        // Elements, entries, positional bodies
        {"reading.Record { sizes = [1, 'a', 2, x, 3] tags = ['a' 'b', 3] port = x }",
         "29 ['a'] Expected int32 when read 'a'\n37 [x] Expected int32 when read x\n"
         "55 ['b'] Expected , when read 'b'\n60 [3] Expected string when read 3\n70 [x] Expected uint16 when read x\n"},
        {"reading.Document { numbers = ['a' -> x, 'b' 1, 3 -> 4] corners = [(1, x), (2)] last = x }",
         "37 [x] Expected int64 when read x\n44 [1] Expected -> when read 1\n47 [3] Expected string when read 3\n"
         "70 [x] Expected float64 when read x\n76 [)] Expected , when read )\n"
         "77 []] Expected , when read ]\n86 [x] Expected int64 when read x\n"},
        {"reading.Record { origin = (1, 2, 'a', 4) port = x }",
         "36 [,] Expected ) when read ,\n48 [x] Expected uint16 when read x\n"},
        {"reading.Record { origin = oint(1, 2) port = x }",
         "30 [oint] Expected reading::Place when read oint\n44 [x] Expected uint16 when read x\n"},
        // Objects and assertions
        {"reading.Document { owner = null next = no.Such { x = 1 } last = x }",
         "27 [null] assertion failed: p (src/ParseDataSource:LINE)\n"
         "47 [no.Such] 'no::Such' is not a registered class name\n64 [x] Expected int64 when read x\n"},
        {"reading.Document { wide = '\\xff' last = x }",
         "26 ['\\xff'] assertion failed: Utf16FromUtf8(dst,src) (src/ParseDataSource:LINE)\n"
         "40 [x] Expected int64 when read x\n"},
        // A closing bracket that is missing, or too much
        {"reading.Record { sizes = [1, 2 port = 3 name = 'b' }", "31 [port] Expected , when read port\n"},
        {"reading.Record { origin = { x = 1 port = 3 name = 'b' }",
         "39 [port] Unknown member 'port' of class reading::Place\n"},
        {"reading.Document { records = [Record { id = 1, Record { id = 2 }] last = 3 }",
         "45 [,] Expected identifier when read ,\n"},
        {"reading.Record { sizes = [1, 2]] port = 3 name = 'b' }", "31 []] Expected identifier when read ]\n"},
        {"reading.Document { records = [{ id = 1 origin = { x = 1 }} port = 3 }, { id = 2 }] last = 3 }",
         "59 [port] Expected , when read port\n"},
        // An opening one
        {"reading.Record { origin = x = 1 y = 2 } port = 3 }", "28 [x] Expected reading::Place when read x\n"},
        {"reading.Record { sizes = 1, 2] port = 3 }", "25 [1] Expected [ when read 1\n"},
        {"reading.Record { origin = {{ x = 1 } port = 3 }", "27 [{] Expected identifier when read {\n"},
        {"reading.Record { sizes = [[1, 2] port = 3 }", "26 [[] Expected int32 when read [\n"},
        {"reading.Record { sizes = [1, 2", "30 [] Expected , when read end of text\n"},
    };
    for (const ErrorRow& row : rows)
    {
        const std::string text = row.m_text;
        std::string told = Told(text, ErrorsOf(text));
        for (std::size_t at = told.find("Source:"); at != std::string::npos; at = told.find("Source:", at + 1))
            told.replace(at + 7, told.find(')', at) - at - 7, "LINE");
        EXPECT_EQ(told, row.m_errors) << text;
    }
}

TEST_F(ReadingErrorsProperty, BeginsWithTheErrorOfReadingThatStops)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(4); ++i)
    {
        std::string text = DrawText(random);
        if (!random.OneIn(4))
            Damage(random, text);
        const std::vector<ReadingError> errors = ErrorsOf(text);
        const std::string first =
            errors.empty() ? "" : std::to_string(errors[0].m_place - text.data()) + " " + errors[0].m_message;
        ASSERT_EQ(first, FirstError(text)) << text;
        ASSERT_LE(errors.size(), 100u);
    }
}

// --- Mistakes in texts that are right

struct Member
{
    const char* m_right;
    const char* m_wrong;
};
constexpr Member s_members[] = {
    {"id = 5", "id = 5.5"},
    {"name = 'a'", "name = a"},
    {"score = 1", "score = ,"},
    {"isActive = true", "isActive = 1"},
    {"shade = DARK", "shade = BLACK"},
    {"sizes = [1, 2]", "sizes = [1, x, 2]"},
    {"tags = ['a', 'b']", "tags = ['a' -> 'b']"},
    {"origin = { x = 1 }", "origin = { z = 1 }"},
    {"places = [(1, 2, 'a'), { y = 2 }]", "places = [(1, 2), { y = 2 }]"},
    {"port = 80", "port = 65536"},
    {"ratio = 1e3", "rato = 1e3"},
    {"letter = 'a'", "letter = 'ab'"},
    {"ordinary = 1", "ordinary = 0x"},
};

TEST_F(ReadingErrorsProperty, TellsAsManyErrorsAsThereAreMistakes)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(50); ++i)
    {
        std::string text = "reading.Document { records = [";
        std::size_t numMistakes = 0;
        for (int records = 0; records < 3; ++records)
        {
            text += records > 0 ? ", {" : "{";
            for (const Member& member : s_members)
            {
                const bool isWrong = random.OneIn(4);
                numMistakes += isWrong;
                text += std::string(random.OneIn(2) ? " " : "\n") + (isWrong ? member.m_wrong : member.m_right);
            }
            text += " }";
        }
        text += "] last = 1 }";
        const std::vector<ReadingError> errors = ErrorsOf(text);
        ASSERT_EQ(errors.size(), numMistakes) << text << "\n" << Told(text, errors);
    }
}

TEST_F(ReadingErrorsProperty, TellsOneErrorOfOneWrongToken)
{
    Random random(Seed());
    std::size_t numWrong = 0;
    std::size_t numOne = 0;
    std::size_t numMany = 0; // more than five
    std::size_t most = 0;
    std::string worst;
    for (std::size_t i = 0; i < NumCases(10); ++i)
    {
        std::string text = DrawText(random);
        if (!FirstError(text).empty())
            continue;
        std::vector<Token> tokens;
        for (std::size_t at = 0; at < text.size();)
        {
            const Token token = ScanToken(text, at, at == 0);
            if (token.m_kind > TOKEN_PREPROC_COMMENT)
                tokens.push_back(token);
            at = token.m_end;
        }
        if (tokens.size() < 20)
            continue;
        const Token token = tokens[random.Below(tokens.size())];
        const std::string written = TextOf(text, token);
        std::string instead;
        switch (random.Below(3))
        {
        case 0: break;
        case 1: instead = written + " " + written; break;
        default: instead = TextOf(text, tokens[random.Below(tokens.size())]);
        }
        std::string wrong = text;
        wrong.replace(token.m_begin, token.m_end - token.m_begin, " " + instead + " ");
        const std::vector<ReadingError> errors = ErrorsOf(wrong);
        if (errors.empty())
            continue; // which means something else, or the same
        ++numWrong;
        numOne += errors.size() == 1;
        numMany += errors.size() > 5;
        if (errors.size() > most)
        {
            most = errors.size();
            worst = "'" + written + "' at " + std::to_string(token.m_begin) + " becomes '" + instead + "' in " + wrong +
                    "\n" + Told(wrong, errors);
        }
    }
    EXPECT_GE(numOne * 100, numWrong * 96) << numOne << " of " << numWrong;
    EXPECT_LE(numMany * 500, numWrong) << numMany << " of " << numWrong << ", such as\n" << worst;
}

} // namespace

} // namespace kelm::reference
