#include <klUtils/IException.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/LiteralException.h>
#include <klUtils/MessageException.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cstring>
#include <exception>
#include <memory>
#include <string>

namespace kelm
{
namespace
{

const char s_text[] = "some text";
const LSToken s_token{TOKEN_IDENTIFIER, {s_text + 5, s_text + 9}};

TEST(LexScannerException, StandsAtTheFirstCharacterOfItsToken)
{
    const LexScannerException e("what is wrong", s_token);
    EXPECT_EQ(e.m_description, "what is wrong");
    EXPECT_EQ(e.m_filename, "");
    EXPECT_EQ(e.m_lineNumber, -1);
    EXPECT_EQ(e.m_pos, s_text + 5);
}

TEST(LexScannerException, OwnsItsMessage)
{
    auto description = std::make_unique<xstring>("a description that is too long to lie inside the string");
    const LexScannerException e(*description, s_token);
    description.reset();
    EXPECT_EQ(e.m_description, "a description that is too long to lie inside the string");
}

TEST(LexScannerException, CopiesAllFourMembers)
{
    LexScannerException e("message", s_token);
    e.m_filename = "file.ks";
    e.m_lineNumber = 12;
    const LexScannerException copy(e);
    LexScannerException assigned("other", LSToken());
    assigned = e;
    for (const LexScannerException* other : {&copy, static_cast<const LexScannerException*>(&assigned)})
    {
        EXPECT_EQ(other->m_description, "message");
        EXPECT_EQ(other->m_filename, "file.ks");
        EXPECT_EQ(other->m_lineNumber, 12);
        EXPECT_EQ(other->m_pos, s_text + 5);
    }
}

TEST(LexScannerException, IsWrittenWithItsLineAndFileWhereKnown)
{
    const struct
    {
        const char* m_filename;
        int64 m_lineNumber;
        const char* m_written;
    } rows[] = {{"", -1, "message"},
                {"", 1, "line 1: message"},
                {"", 0, "line 0: message"},
                {"a.ks", -1, "a.ks: message"},
                {"a.ks", 9223372036854775807, "a.ks: line 9223372036854775807: message"}};
    for (const auto& row : rows)
    {
        LexScannerException e("message", s_token);
        e.m_filename = row.m_filename;
        e.m_lineNumber = row.m_lineNumber;
        EXPECT_EQ(WrittenText(e), row.m_written);
        EXPECT_STREQ(e.what(), "message");
    }
}

TEST(MessageException, IsItsMessage)
{
    const MessageException e("message");
    EXPECT_EQ(e.m_description, "message");
    EXPECT_STREQ(e.what(), "message");
    EXPECT_EQ(WrittenText(e), "message");
    const MessageException copy(e);
    EXPECT_EQ(copy.m_description, "message");
}

TEST(MessageException, KeepsZeroBytesOfItsMessage)
{
    EXPECT_EQ(WrittenText(MessageException(xstring("a\0b", 3))), std::string("a\0b", 3));
}

TEST(KelmAssertionError, NamesConditionFileAndLine)
{
    try
    {
        ThrowKelmAssertionError("a == b", "src/KSParser", 42);
        FAIL() << "throws nothing";
    }
    catch (const KelmAssertionError& e)
    {
        EXPECT_EQ(e.m_condition, "a == b");
        EXPECT_EQ(e.m_file, "src/KSParser");
        EXPECT_EQ(e.m_line, 42);
        EXPECT_STREQ(e.what(), "assertion failed: a == b (src/KSParser:42)");
        EXPECT_EQ(WrittenText(e), "assertion failed: a == b (src/KSParser:42)");
    }
}

constexpr ConstStringZ s_sourceFile = "tests/ExceptionsTest";

TEST(KelmAssert, EvaluatesItsConditionOnceAndNamesIt)
{
    int evaluations = 0;
    KELM_ASSERT(++evaluations == 1);
    EXPECT_EQ(evaluations, 1);
    EXPECT_TRUE(FailsAssertion([&] { KELM_ASSERT(++evaluations == 7); }, "++evaluations == 7", s_sourceFile, __LINE__));
    EXPECT_EQ(evaluations, 2);
}

template <class E>
void ExpectCaughtByBothBases(const E& thrown, const std::string& message)
{
    try
    {
        throw thrown;
    }
    catch (const std::exception& e)
    {
        EXPECT_EQ(e.what(), message);
    }
    try
    {
        throw thrown;
    }
    catch (const IException& e)
    {
        EXPECT_EQ(WrittenText(e), message);
    }
}

TEST(Exceptions, AreCaughtAsStandardOnesAndByTheirOwnBase)
{
    ExpectCaughtByBothBases(MessageException("message"), "message");
    ExpectCaughtByBothBases(LexScannerException("a", s_token), "a");
    ExpectCaughtByBothBases(LiteralException("b"), "b");
    ExpectCaughtByBothBases(KelmAssertionError("c", "d", 1), "assertion failed: c (d:1)");
}

// Calls the first function of an object's table the way that the table itself is used.
__attribute__((no_sanitize("undefined"))) void CallFirstSlot(const IException& e, xostream& os)
{
    void* const* table;
    std::memcpy(&table, static_cast<const void*>(&e), sizeof table);
    void (*first)(const IException*, xostream&);
    std::memcpy(&first, table, sizeof first);
    first(&e, os);
}

TEST(IException, HasWriteInItsFirstSlot)
{
    StringStream os(4096);
    CallFirstSlot(LiteralException("message"), os);
    EXPECT_EQ(os.GetString(), "message");
}

} // namespace
} // namespace kelm
