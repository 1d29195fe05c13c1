#include <klUtils/text/private/DecimalDigits.h>

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

    for (const auto append : {text::AppendDigits, text::AppendFewDigits, text::AppendSomeDigits, text::AppendManyDigits,
                              text::AppendOneByOne})
    {
        const text::DigitRun run = append(exact.data(), exact.data() + exact.size(), before);
        RC_ASSERT(run.m_past - exact.data() == static_cast<ssize_t>(size));
        RC_ASSERT(run.m_number == expected);
    }
}

} // namespace
} // namespace kelm
