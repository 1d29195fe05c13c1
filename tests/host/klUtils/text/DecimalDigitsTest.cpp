#include <klUtils/text/DecimalDigits.h>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

RC_GTEST_PROP(DecimalDigits, AreAppendedUpToTheFirstOtherByte, ())
{
    const auto digits = *rc::gen::container<std::string>(rc::gen::inRange('0', static_cast<char>('9' + 1)));
    const auto rest = *rc::gen::container<std::string>(
        rc::gen::oneOf(rc::gen::element('/', ':', '.', '\xb0', '\xff', '\0', '5'), rc::gen::arbitrary<char>()));
    const auto before = *rc::gen::arbitrary<uint64>();

    const std::string text = digits + rest;
    const std::vector<char> exact(text.begin(), text.end()); // nothing may be read beyond it
    uint64 expected = before;
    std::size_t size = 0;
    for (; size < text.size() && text[size] >= '0' && text[size] <= '9'; ++size)
        expected = 10 * expected + static_cast<uint64>(text[size] - '0');

    for (const auto append : {AppendDigits, AppendFewDigits})
    {
        uint64 number = before;
        const char* const end = append(exact.data(), exact.data() + exact.size(), number);
        RC_ASSERT(end - exact.data() == static_cast<ssize_t>(size));
        RC_ASSERT(number == expected);
    }
}

TEST(DecimalDigits, AreRecognisedByEachByte)
{
    for (int position = 0; position < 8; ++position)
        for (int c = 0; c < 256; ++c)
        {
            std::string bytes = "98765432";
            bytes[static_cast<std::size_t>(position)] = static_cast<char>(c);
            const uint64 marks = MarkFirstNonDigit(LoadWord<uint64>(bytes.data()));
            const bool isDigit = c >= '0' && c <= '9';
            EXPECT_EQ(AreEightDigits(LoadWord<uint64>(bytes.data())), isDigit) << position << " " << c;
            if (!isDigit)
            {
                EXPECT_EQ(std::countr_zero(marks) / 8, position) << c;
            }
        }
}

} // namespace
} // namespace kelm
