#include <klUtils/text/private/Blocks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>

// What blocks answer is what their questions say of each character alone.

namespace kelm::text
{
namespace
{

using Bytes = std::array<char, s_blockSize>;
using IsSet = std::function<bool(int i)>;

bool IsBeyondAscii(char c)
{
    return static_cast<uint8>(c) >= 0x80;
}

void ExpectLanes(Lanes lanes, const IsSet& isSet, const char* question, const Bytes& bytes)
{
    int first = 0;
    while (first < s_blockSize && !isSet(first))
        ++first;
    int firstNot = 0;
    while (firstNot < s_blockSize && isSet(firstNot))
        ++firstNot;
    const std::string text(bytes.data(), bytes.size());
    EXPECT_EQ(FirstOf(lanes), first) << question << " of " << testing::PrintToString(text);
    EXPECT_EQ(FirstNotOf(lanes), firstNot) << question << " of " << testing::PrintToString(text);
    EXPECT_EQ(HasAny(lanes), first != s_blockSize) << question << " of " << testing::PrintToString(text);

    // Each lane, by the block that has nothing but that one.
    for (int i = 0; i < s_blockSize; ++i)
    {
        Bytes one{};
        one[static_cast<std::size_t>(i)] = 1;
        EXPECT_EQ(HasAny(lanes & Block(one.data()).AreEqual(1)), isSet(i)) << question << " at " << i;
    }
}

// Characters at the borders of all sets, and any.
Bytes RandomBytes(std::mt19937_64& random)
{
    static constexpr unsigned char s_borders[] = {0x00, 0x01, 0x1F, 0x20, 0x2F, '0',  '9',  ':',  '@',  'A',
                                                  'F',  'G',  'Z',  '[',  '_',  '`',  'a',  'z',  '{',  0x7E,
                                                  0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFE, 0xFF};
    Bytes bytes;
    for (char& c : bytes)
        c = static_cast<char>(random() % 2 == 0 ? s_borders[random() % std::size(s_borders)] : random() % 256);
    return bytes;
}

TEST(Blocks, AnswerForEachCharacterAlone)
{
    std::mt19937_64 random(1);
    for (int round = 0; round < 500; ++round)
    {
        const Bytes bytes = RandomBytes(random);
        const Bytes other = RandomBytes(random);
        const Block block(bytes.data());
        const auto at = [&](int i) { return bytes[static_cast<std::size_t>(i)]; };
        const char c = bytes[random() % bytes.size()];
        ExpectLanes(
            block.AreEqual(c), [&](int i) { return at(i) == c; }, "equal", bytes);
        ExpectLanes(
            block.AreBeyondAscii(), [&](int i) { return IsBeyondAscii(at(i)); }, "beyond ASCII", bytes);
        const char border = static_cast<char>(random() % 128);
        ExpectLanes(
            block.AreBelow(border) | block.AreBeyondAscii(),
            [&](int i) { return IsBeyondAscii(at(i)) || at(i) < border; }, "below", bytes);
        ExpectLanes(
            block.AreBetween('0', '9'), [&](int i) { return '0' <= at(i) && at(i) <= '9'; }, "digits", bytes);
        ExpectLanes(
            block.AreBetween('\0', '\x1F'), [&](int i) { return static_cast<uint8>(at(i)) <= 0x1F; }, "controls",
            bytes);
        const auto isLetter = [](char letter)
        { return ('a' <= letter && letter <= 'f') || ('A' <= letter && letter <= 'F'); };
        ExpectLanes(
            block.AreLettersBetween('a', 'f'), [&](int i) { return isLetter(at(i)); }, "letters", bytes);

        Bytes least = other;
        for (char& bound : least)
            bound = static_cast<char>(bound | 0x80);
        const auto isAtLeast = [&](int i)
        { return static_cast<uint8>(at(i)) >= static_cast<uint8>(least[static_cast<std::size_t>(i)]); };
        ExpectLanes(block.AreAtLeast(Block(least.data())), isAtLeast, "at least", bytes);
    }
}

TEST(Blocks, JoinWhatTheyAnswer)
{
    std::mt19937_64 random(2);
    for (int round = 0; round < 200; ++round)
    {
        const Bytes bytes = RandomBytes(random);
        const Block block(bytes.data());
        const auto isLow = [&](int i)
        { return IsBeyondAscii(bytes[static_cast<std::size_t>(i)]) || bytes[static_cast<std::size_t>(i)] < '@'; };
        const auto isDigit = [&](int i)
        { return '0' <= bytes[static_cast<std::size_t>(i)] && bytes[static_cast<std::size_t>(i)] <= '9'; };
        const Lanes low = block.AreBelow('@');
        const Lanes digits = block.AreBetween('0', '9');
        const Lanes zeros = block.AreEqual('0');
        const auto isZero = [&](int i) { return bytes[static_cast<std::size_t>(i)] == '0'; };
        ExpectLanes(
            digits | block.AreBeyondAscii(),
            [&](int i) { return isDigit(i) || IsBeyondAscii(bytes[static_cast<std::size_t>(i)]); }, "or", bytes);
        ExpectLanes(
            low & digits, [&](int i) { return isLow(i) && isDigit(i); }, "and", bytes);
        ExpectLanes(
            digits ^ zeros, [&](int i) { return isDigit(i) != isZero(i); }, "exclusive or", bytes);
    }
}

TEST(Blocks, TellTheFirstOfTwo)
{
    const Bytes none{};
    for (int at = 0; at <= 2 * s_blockSize; ++at)
    {
        char both[2 * s_blockSize + 1] = {};
        both[at] = 'x';
        EXPECT_EQ(FirstOf(Block(both).AreEqual('x'), Block(both + s_blockSize).AreEqual('x')), at);
    }
    EXPECT_EQ(FirstOf(Block(none.data()).AreEqual('x'), Block(none.data()).AreEqual('x')), 2 * s_blockSize);
}

TEST(Blocks, TellTheFirstOfFour)
{
    const auto isX = [](const char* p) { return Block(p).AreEqual('x'); };
    for (int at = 0; at <= 4 * s_blockSize; ++at)
        for (int next = at; next <= 4 * s_blockSize; ++next)
        {
            char all[4 * s_blockSize + 1] = {};
            all[at] = all[next] = 'x';
            EXPECT_EQ(FirstOf(isX(all), isX(all + s_blockSize), isX(all + 2 * s_blockSize), isX(all + 3 * s_blockSize)),
                      at);
        }
}

TEST(Blocks, AreStoredAsTheyWere)
{
    std::mt19937_64 random(3);
    const Bytes bytes = RandomBytes(random);
    Bytes stored{};
    Block(bytes.data()).Store(stored.data());
    EXPECT_EQ(stored, bytes);

    uint64 low = 0;
    uint64 high = 0;
    std::memcpy(&low, bytes.data(), sizeof low);
    std::memcpy(&high, bytes.data() + sizeof low, sizeof high);
    Block(low, high).Store(stored.data());
    EXPECT_EQ(stored, bytes);

    Block::Of('x').Store(stored.data());
    EXPECT_EQ(std::string(stored.data(), stored.size()), std::string(stored.size(), 'x'));
}

template <int Count>
void ExpectEarlier(const char* text)
{
    Bytes earlier{};
    Block(text + s_blockSize).Earlier<Count>(Block(text)).Store(earlier.data());
    EXPECT_TRUE(std::equal(earlier.begin(), earlier.end(), text + s_blockSize - Count)) << Count;
}

TEST(Blocks, BeginEarlier)
{
    const char* const text = "0123456789abcdefghijklmnopqrstuv";
    ExpectEarlier<1>(text);
    ExpectEarlier<2>(text);
    ExpectEarlier<3>(text);
}

TEST(Blocks, OfDigitsAreANumber)
{
    std::mt19937_64 random(4);
    for (int round = 0; round < 1000; ++round)
    {
        std::string digits;
        while (digits.size() < static_cast<std::size_t>(s_blockSize))
            digits += static_cast<char>('0' + random() % 10);
        EXPECT_EQ(Block(digits.data()).GetDecimal(), std::strtoull(digits.c_str(), nullptr, 10)) << digits;
        std::string zeros = digits;
        zeros.replace(0, 3, 3, '\0');
        EXPECT_EQ(Block(zeros.data()).GetDecimal(), std::strtoull(digits.c_str() + 3, nullptr, 10)) << digits;
    }
}

// Of every length around one block, two, four, and as many as a lane can count.
TEST(Blocks, FindTheFirstWhereverItIs)
{
    for (std::size_t size = 0; size <= 150; ++size)
        for (std::size_t at = 0; at <= size; ++at)
        {
            std::string text(size, 'x');
            if (at < size)
                text[at] = '"';
            const char* const begin = text.data();
            EXPECT_EQ(FindFirst<Only<'"'>>(begin, begin + size) - begin, at) << size;
            EXPECT_EQ(FindFirstOfTwoBlocks<Only<'"'>>(begin, begin + size) - begin, at) << size;
            EXPECT_EQ(FindFirstOfFourBlocks<Only<'"'>>(begin, begin + size) - begin, at) << size;
        }
}

TEST(Blocks, CountOneCharacter)
{
    for (const ssize_t size : {ssize_t(0), ssize_t(1), ssize_t(15), ssize_t(16), ssize_t(31), ssize_t(32), ssize_t(33),
                               CountOfOne::s_mostBlocks * s_blockSize, CountOfOne::s_mostBlocks * s_blockSize + 17,
                               3 * CountOfOne::s_mostBlocks * s_blockSize + 5})
    {
        const std::string all(static_cast<std::size_t>(size), '\n');
        EXPECT_EQ(Count('\n', all.data(), all.data() + size), size);
        std::string some = all;
        for (std::size_t i = 0; i < some.size(); i += 3)
            some[i] = 'x';
        EXPECT_EQ(Count('\n', some.data(), some.data() + size), std::count(some.begin(), some.end(), '\n')) << size;
    }
}

} // namespace
} // namespace kelm::text
