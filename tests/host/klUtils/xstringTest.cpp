#include <klUtils/xstring.h>

#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

// Read at run time, so that no compiler warns about what a caller's mistake would be elsewhere.
const volatile ssize_t s_huge = std::numeric_limits<ssize_t>::max() - 1;
const char* const volatile s_null = nullptr;

template <class C>
using Text = std::vector<C>;

// `length` characters, zeros and negative ones among them, that differ from place to place.
template <class C>
Text<C> Pattern(ssize_t length)
{
    Text<C> text;
    for (ssize_t i = 0; i < length; ++i)
        text.push_back(static_cast<C>(i * 37 + 200));
    return text;
}

template <class C>
basic_xstring<C> MakeString(const Text<C>& text)
{
    return basic_xstring<C>(text.data(), static_cast<ssize_t>(text.size()));
}

template <class C>
void ExpectHolds(const basic_xstring<C>& string, const Text<C>& text)
{
    ASSERT_EQ(string.size(), static_cast<ssize_t>(text.size()));
    EXPECT_EQ(string.length(), string.size());
    EXPECT_EQ(string.empty(), text.empty());
    EXPECT_GE(string.capacity(), string.size());
    EXPECT_TRUE(Text<C>(string.begin(), string.end()) == text);
    EXPECT_EQ(string.c_str()[string.size()], C()) << "the terminator";
    EXPECT_EQ(string.c_str(), string.data());
}

template <class C>
class BasicString : public ::testing::Test
{
};
using CharacterTypes = ::testing::Types<char, uint16>;
TYPED_TEST_SUITE(BasicString, CharacterTypes);

// On both sides of every border: empty, the last inline lengths and the first ones on the heap (10 and 11 characters of
// 16 bits, 22 and 23 of 8), and far beyond.
constexpr ssize_t s_lengths[] = {0, 1, 2, 9, 10, 11, 12, 21, 22, 23, 24, 44, 45, 100, 5000};

TYPED_TEST(BasicString, KeepsAFullInlineTextAndItsTerminatorInThreeWords)
{
    static_assert(sizeof(basic_xstring<TypeParam>) == 24);
    EXPECT_EQ(basic_xstring<TypeParam>::InlineCapacity, static_cast<ssize_t>(24 / sizeof(TypeParam)) - 2);
    for (const ssize_t length : s_lengths)
    {
        const auto string = MakeString(Pattern<TypeParam>(length));
        const auto* const inside = reinterpret_cast<const char*>(string.data());
        const auto* const object = reinterpret_cast<const char*>(&string);
        EXPECT_EQ(object <= inside && inside < object + sizeof string,
                  length <= basic_xstring<TypeParam>::InlineCapacity)
            << length;
    }
}

TYPED_TEST(BasicString, HoldsTheTextThatItIsMadeOf)
{
    for (const ssize_t length : s_lengths)
        ExpectHolds(MakeString(Pattern<TypeParam>(length)), Pattern<TypeParam>(length));
    ExpectHolds(basic_xstring<TypeParam>(), {});
    ExpectHolds(basic_xstring<TypeParam>(nullptr), {});
    ExpectHolds(basic_xstring<TypeParam>(nullptr, 0), {});
    const TypeParam zeroTerminated[] = {'a', 'b', 0, 'c'};
    ExpectHolds(basic_xstring<TypeParam>(zeroTerminated), {'a', 'b'});
    ExpectHolds(basic_xstring<TypeParam>(BasicSubString<TypeParam>(zeroTerminated, zeroTerminated + 4)),
                {'a', 'b', 0, 'c'});
}

TYPED_TEST(BasicString, CopiesAndMovesBetweenAllLengths)
{
    using String = basic_xstring<TypeParam>;
    for (const ssize_t from : s_lengths)
    {
        const String source = MakeString(Pattern<TypeParam>(from));
        String copy(source);
        ExpectHolds(copy, Pattern<TypeParam>(from));
        const String moved(std::move(copy));
        ExpectHolds(moved, Pattern<TypeParam>(from));
        ExpectHolds(copy, {}); // NOLINT: a string that was moved from is empty

        for (const ssize_t to : s_lengths)
        {
            String target = MakeString(Pattern<TypeParam>(to));
            target = source;
            ExpectHolds(target, Pattern<TypeParam>(from));
            ExpectHolds(source, Pattern<TypeParam>(from));

            String other = MakeString(Pattern<TypeParam>(to));
            other.swap(target);
            ExpectHolds(other, Pattern<TypeParam>(from));
            ExpectHolds(target, Pattern<TypeParam>(to));

            target = std::move(other);
            ExpectHolds(target, Pattern<TypeParam>(from));
        }
    }
}

TYPED_TEST(BasicString, AssignedToItselfIsUnchanged)
{
    for (const ssize_t length : s_lengths)
    {
        auto string = MakeString(Pattern<TypeParam>(length));
        auto& alias = string;
        string = alias;
        ExpectHolds(string, Pattern<TypeParam>(length));
        string = std::move(alias);
        ExpectHolds(string, Pattern<TypeParam>(length));
        string.swap(alias);
        ExpectHolds(string, Pattern<TypeParam>(length));
    }
}

TYPED_TEST(BasicString, ChangesAloneAndNotWithItsCopy)
{
    for (const ssize_t length : s_lengths)
        if (length > 0)
        {
            const auto original = MakeString(Pattern<TypeParam>(length));
            auto copy = original;
            copy[length - 1] = 'x';
            ExpectHolds(original, Pattern<TypeParam>(length));
            EXPECT_EQ(copy[length - 1], TypeParam('x'));
        }
}

TYPED_TEST(BasicString, AppendsAnyTextToAnyText)
{
    for (const ssize_t length : s_lengths)
        for (const ssize_t more : s_lengths)
        {
            Text<TypeParam> whole = Pattern<TypeParam>(length);
            const Text<TypeParam> added = Pattern<TypeParam>(more);
            auto string = MakeString(whole);
            string.append(added.data(), more);
            whole.insert(whole.end(), added.begin(), added.end());
            ExpectHolds(string, whole);
        }
    basic_xstring<TypeParam> nothing;
    nothing.append(nullptr, 0);
    ExpectHolds(nothing, {});
}

TYPED_TEST(BasicString, PrependsAnyTextToAnyText)
{
    for (const ssize_t length : s_lengths)
        for (const ssize_t more : s_lengths)
        {
            Text<TypeParam> whole = Pattern<TypeParam>(length);
            const Text<TypeParam> added = Pattern<TypeParam>(more);
            auto string = MakeString(whole);
            string.prepend({added.data(), added.data() + more});
            whole.insert(whole.begin(), added.begin(), added.end());
            ExpectHolds(string, whole);
            auto copy = string;
            copy.push_back('x');
            ExpectHolds(string, whole);
        }
}

// Whatever is done to it in between.
TYPED_TEST(BasicString, GrowsAtBothEndsInLinearTime)
{
    basic_xstring<TypeParam> string;
    Text<TypeParam> text;
    int numMoves = 0;
    for (ssize_t i = 0; i < 10000; ++i)
    {
        const auto c = static_cast<TypeParam>(i);
        const ssize_t size = string.size();
        const TypeParam* const end = string.data() + size;
        string.prepend({&c, &c + 1});
        numMoves += string.data() + size + 1 != end;
        text.insert(text.begin(), c);
        const TypeParam* const begin = string.data();
        string.push_back(c);
        numMoves += string.data() != begin;
        text.push_back(c);
    }
    ExpectHolds(string, text);
    EXPECT_LE(numMoves, 40);
    string.reserve(2 * string.capacity());
    ExpectHolds(string, text);
    string.resize(5);
    string.assign(text.data(), 3);
    string.prepend({text.data() + 3, text.data() + 5});
    ExpectHolds(string, {text[3], text[4], text[0], text[1], text[2]});
    auto moved = std::move(string);
    string = moved;
    ExpectHolds(string, {text[3], text[4], text[0], text[1], text[2]});
}

TYPED_TEST(BasicString, AssignsAndAppendsPartsOfItself)
{
    for (const ssize_t length : s_lengths)
        for (const ssize_t begin : {ssize_t(0), length / 3, length})
            for (const ssize_t end : {begin, begin + (length - begin) / 2, length})
            {
                const Text<TypeParam> whole = Pattern<TypeParam>(length);
                const Text<TypeParam> part(whole.begin() + begin, whole.begin() + end);

                auto assigned = MakeString(whole);
                assigned.assign(assigned.data() + begin, end - begin);
                ExpectHolds(assigned, part);

                auto appended = MakeString(whole);
                appended.append(appended.data() + begin, end - begin);
                Text<TypeParam> expected = whole;
                expected.insert(expected.end(), part.begin(), part.end());
                ExpectHolds(appended, expected);
            }
}

TYPED_TEST(BasicString, GrowsByOneCharacterAtATimeInLinearTime)
{
    basic_xstring<TypeParam> string;
    Text<TypeParam> text;
    int numMoves = 0;
    for (ssize_t i = 0; i < 10000; ++i)
    {
        const TypeParam* const before = string.data();
        string.push_back(static_cast<TypeParam>(i));
        text.push_back(static_cast<TypeParam>(i));
        numMoves += string.data() != before;
    }
    ExpectHolds(string, text);
    EXPECT_LE(numMoves, 15);
}

TYPED_TEST(BasicString, ResizesWithZerosAndKeepsWhatRemains)
{
    for (const ssize_t from : s_lengths)
        for (const ssize_t to : s_lengths)
        {
            Text<TypeParam> text = Pattern<TypeParam>(from);
            auto string = MakeString(text);
            string.resize(to);
            text.resize(static_cast<std::size_t>(to));
            ExpectHolds(string, text);
            string.resize(from); // grown again over what was there
            text.resize(static_cast<std::size_t>(from));
            ExpectHolds(string, text);
        }
}

TYPED_TEST(BasicString, ReservesWithoutChangingItsText)
{
    for (const ssize_t length : s_lengths)
        for (const ssize_t capacity : s_lengths)
        {
            auto string = MakeString(Pattern<TypeParam>(length));
            string.reserve(capacity);
            EXPECT_GE(string.capacity(), capacity);
            ExpectHolds(string, Pattern<TypeParam>(length));
        }
}

TYPED_TEST(BasicString, ClearsAndMayBeFilledAgain)
{
    for (const ssize_t length : s_lengths)
    {
        auto string = MakeString(Pattern<TypeParam>(length));
        string.clear();
        ExpectHolds(string, {});
        const Text<TypeParam> text = Pattern<TypeParam>(30);
        string.append(text.data(), 30);
        ExpectHolds(string, text);
    }
}

TYPED_TEST(BasicString, TooLongForAnyMemoryThrowsAndIsUnchanged)
{
    for (const ssize_t length : s_lengths)
    {
        auto string = MakeString(Pattern<TypeParam>(length));
        EXPECT_THROW(string.reserve(s_huge), std::bad_alloc);
        EXPECT_THROW(string.resize(s_huge), std::bad_alloc);
        EXPECT_THROW(string.append(string.data(), s_huge), std::bad_alloc);
        const std::basic_string_view<TypeParam> huge(string.data(), std::size_t(s_huge) / sizeof(TypeParam));
        EXPECT_THROW(string.prepend(huge), std::bad_alloc);
        EXPECT_THROW(string + huge, std::bad_alloc);
        ExpectHolds(string, Pattern<TypeParam>(length));
    }
}

TYPED_TEST(BasicString, WorksAtAnAddressMisalignedByFour)
{
    using String = basic_xstring<TypeParam>;
    for (const ssize_t length : s_lengths)
    {
        alignas(8) char memory[64];
        String* const string = ::new (static_cast<void*>(memory + 4)) String(MakeString(Pattern<TypeParam>(length)));
        ExpectHolds(*string, Pattern<TypeParam>(length));
        const String copy(*string);
        ExpectHolds(copy, Pattern<TypeParam>(length));
        Text<TypeParam> text = Pattern<TypeParam>(length);
        for (int i = 0; i < 30; ++i)
        {
            string->push_back('x');
            text.push_back('x');
        }
        ExpectHolds(*string, text);
        *string = copy;
        ExpectHolds(*string, Pattern<TypeParam>(length));
        EXPECT_TRUE(*string == copy);
        string->~String();
    }
}

TYPED_TEST(BasicString, MayBeMovedInMemoryAsBytes)
{
    using String = basic_xstring<TypeParam>;
    for (const ssize_t length : s_lengths)
    {
        alignas(8) char from[sizeof(String)];
        alignas(8) char to[sizeof(String) + 4];
        ::new (static_cast<void*>(from)) String(MakeString(Pattern<TypeParam>(length)));
        std::memcpy(to + 4, from, sizeof from);
        std::memset(from, 0xEE, sizeof from);
        String* const string = std::launder(reinterpret_cast<String*>(to + 4));
        ExpectHolds(*string, Pattern<TypeParam>(length));
        string->~String();
    }
}

TYPED_TEST(BasicString, IsEmptyWhenAllItsBytesAreZero)
{
    using String = basic_xstring<TypeParam>;
    alignas(8) char memory[sizeof(String)] = {};
    String* const string = std::launder(reinterpret_cast<String*>(memory));
    ExpectHolds(*string, {});
    EXPECT_TRUE(*string == String());
    const Text<TypeParam> text = Pattern<TypeParam>(30);
    string->append(text.data(), 30);
    ExpectHolds(*string, text);
    string->~String();
}

TYPED_TEST(BasicString, ComparesByUnsignedCharactersAndThenByLength)
{
    const Text<TypeParam> texts[] = {{},
                                     {0},
                                     {0, 0},
                                     {1},
                                     {'a'},
                                     {'a', 0},
                                     {'a', 'b'},
                                     {'b'},
                                     Text<TypeParam>(40, 'b'),
                                     Text<TypeParam>(41, 'b'),
                                     {static_cast<TypeParam>(-1)},
                                     {static_cast<TypeParam>(-1), 0}};
    for (const auto& a : texts)
        for (const auto& b : texts)
        {
            const auto order = &a - &b; // the rows are sorted
            EXPECT_EQ(MakeString(a) < MakeString(b), order < 0);
            EXPECT_EQ(MakeString(a) == MakeString(b), order == 0);
            EXPECT_EQ(MakeString(a).Compare(MakeString(b)) > 0, order > 0);
        }
}

TEST(String, ComparesWithZeroTerminatedTexts)
{
    EXPECT_TRUE(xstring("abc") == "abc");
    EXPECT_TRUE("abc" == xstring("abc"));
    EXPECT_FALSE(xstring("abc") == "ab");
    EXPECT_FALSE(xstring("ab") == "abc");
    EXPECT_FALSE(xstring("a\0b", 3) == "a");
    EXPECT_TRUE(xstring() == "");
    EXPECT_TRUE(xstring() == s_null);
    EXPECT_FALSE(xstring("a") == s_null);
}

TEST(String, TakesAZeroTerminatedTextOfItsOwn)
{
    xstring string("before, on the heap, far beyond what fits inside");
    string = "after";
    EXPECT_EQ(string, "after");
    string = string.c_str() + 2;
    EXPECT_EQ(string, "ter");
    string = s_null;
    EXPECT_EQ(string, "");
}

TEST(String, IsAViewOfItsBytes)
{
    const xstring string("a\0b", 3);
    const SubString view = string;
    EXPECT_EQ(view.m_p1, string.data());
    EXPECT_EQ(view.size(), 3);
    EXPECT_EQ(string.view(), std::string_view("a\0b", 3));
}

TEST(String, HasItsBytesAsANumberFromAnyPlace)
{
    for (ssize_t length = 0; length <= 40; ++length)
    {
        const Text<char> text = Pattern<char>(length);
        const xstring string = MakeString(text);
        EXPECT_EQ(string.GetPrefix(), string.GetPrefixFrom(0)) << length;
        for (ssize_t from = 0; from <= length; ++from)
        {
            uint64 expected = 0;
            for (ssize_t i = from; i < from + 8; ++i)
                expected =
                    expected << 8 | (i < length ? static_cast<unsigned char>(text[static_cast<std::size_t>(i)]) : 0);
            EXPECT_EQ(string.GetPrefixFrom(from), expected) << length << ' ' << from;
        }
    }
}

RC_GTEST_PROP(String, DoesWhatAStandardStringDoes, (const std::vector<std::pair<uint8, std::string>>& steps))
{
    xstring string;
    std::string expected;
    for (const auto& [choice, text] : steps)
    {
        const auto length = static_cast<ssize_t>(text.size());
        switch (choice % 6)
        {
        case 0:
            string.assign(text.data(), length);
            expected = text;
            break;
        case 1:
        case 2:
            string.append(text.data(), length);
            expected += text;
            break;
        case 3:
            string.resize(choice);
            expected.resize(choice);
            break;
        case 4:
            string.append(string);
            expected += std::string(expected);
            if (expected.size() > 1000)
            {
                string.clear();
                expected.clear();
            }
            break;
        default: string = xstring(string); string.reserve(choice);
        }
        RC_ASSERT(ToStdString(string) == expected);
        RC_ASSERT(string.c_str()[string.size()] == '\0');
    }
}

TEST(Strings, AreAssignedFromATextWhateverIsBehindIt)
{
    // Lengths and surroundings on either side of what is kept inline, in memory that holds nothing else.
    for (ssize_t length = 0; length <= 40; ++length)
        for (ssize_t behind = 0; behind <= 40; ++behind)
            for (const char* const before : {"", "short", "a text that is too long to be kept inline"})
            {
                const Text<char> text = Pattern<char>(length + behind);
                xstring string(before);
                string.AssignFrom(text.data(), length, text.data() + text.size());
                const std::string expected(text.data(), static_cast<std::size_t>(length));
                ASSERT_EQ(ToStdString(string), expected) << length << ' ' << behind << ' ' << before;
                ASSERT_EQ(string.c_str()[length], '\0') << length << ' ' << behind << ' ' << before;
                string.append("tail", 4);
                ASSERT_EQ(ToStdString(string), expected + "tail") << length << ' ' << behind << ' ' << before;
            }
}

} // namespace
} // namespace kelm
