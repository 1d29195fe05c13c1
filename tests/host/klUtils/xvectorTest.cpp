#include <klUtils/xvector.h>

#include <klUtils/xstring.h>
#include <support/Depth.h>
#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

const std::string s_source = "host/klUtils/xvector";
constexpr ssize_t s_huge = std::numeric_limits<ssize_t>::max();

xstring LongText(int i)
{
    return xstring(("a text that is too long to lie inside " + std::to_string(i)).c_str());
}

template <class T>
std::vector<T> Elements(const xvector<T>& vector)
{
    return std::vector<T>(vector.begin(), vector.end());
}

std::string BytesOf(const VectorOfByte& vector)
{
    return std::string(vector.data(), static_cast<std::size_t>(vector.size()));
}

VectorOfByte MakeBytes(const std::string& bytes)
{
    VectorOfByte vector;
    vector.insertbytes(0, bytes.data(), static_cast<ssize_t>(bytes.size()));
    return vector;
}

// Counts its living instances and throws instead of making more than s_limit of them.
struct Counted
{
    static inline int s_alive = 0;
    static inline int s_limit = std::numeric_limits<int>::max();

    explicit Counted(int value = 0) : m_value(value) { Begin(); }
    Counted(const Counted& other) : m_value(other.m_value) { Begin(); }
    Counted(Counted&& other) noexcept : m_value(other.m_value) { ++s_alive; }
    ~Counted() { --s_alive; }
    Counted& operator=(const Counted&) = default;

    int m_value;

private:
    static void Begin()
    {
        if (s_alive >= s_limit)
            throw std::runtime_error("no more");
        ++s_alive;
    }
};

} // namespace

template <>
inline constexpr bool IsRelocatable<Counted> = true;

namespace
{

// The three words of any vector, as the reflection layer sees them.
struct Words
{
    char* m_data;
    ssize_t m_size;
    ssize_t m_capacity;
};

template <class Vector>
Words WordsOf(const Vector& vector)
{
    static_assert(sizeof(Words) == sizeof vector);
    Words words;
    std::memcpy(&words, static_cast<const void*>(&vector), sizeof words);
    return words;
}

TEST(VectorOfByte, IsThreeWordsOfBufferSizeAndCapacity)
{
    VectorOfByte vector = MakeBytes("abc");
    vector.reserve(100);
    const Words words = WordsOf(vector);
    EXPECT_EQ(words.m_data, vector.data());
    EXPECT_EQ(words.m_size, 3);
    EXPECT_EQ(words.m_capacity, 100);
}

TEST(VectorOfByte, InsertsBytesAnywhere)
{
    VectorOfByte vector;
    vector.insertbytes(0, nullptr, 0);
    EXPECT_TRUE(vector.empty());
    vector.insertbytes(0, "cd", 2);
    vector.insertbytes(0, "a", 1);
    vector.insertbytes(1, "b", 1);
    vector.insertbytes(4, "e\0f", 3);
    EXPECT_EQ(BytesOf(vector), std::string("abcde\0f", 7));
}

TEST(VectorOfByte, RefusesToInsertOutsideItself)
{
    VectorOfByte vector = MakeBytes("abc");
    for (const ssize_t at : {ssize_t(-1), ssize_t(4), s_huge})
        EXPECT_TRUE(FailsAssertion([&] { vector.insertbytes(at, "x", 1); }, "0 <= at && at <= m_size", s_source));
    EXPECT_TRUE(FailsAssertion([&] { vector.insertbytes(0, "x", -1); }, "count >= 0", s_source));
    EXPECT_EQ(BytesOf(vector), "abc");
}

TEST(VectorOfByte, ResizesWithZeros)
{
    VectorOfByte vector = MakeBytes("abc");
    vector.resize(5);
    EXPECT_EQ(BytesOf(vector), std::string("abc\0\0", 5));
    vector.resize(2);
    vector.resize(4);
    EXPECT_EQ(BytesOf(vector), std::string("ab\0\0", 4));
    vector.resize(0);
    EXPECT_TRUE(vector.empty());
}

TEST(VectorOfByte, RefusesANegativeSize)
{
    VectorOfByte vector = MakeBytes("abc");
    for (const ssize_t size : {ssize_t(-1), std::numeric_limits<ssize_t>::min()})
        EXPECT_TRUE(FailsAssertion([&] { vector.resize(size); }, "newSize >= 0", s_source));
    EXPECT_EQ(BytesOf(vector), "abc");
}

TEST(VectorOfByte, TooLargeForAnyMemoryThrowsAndIsUnchanged)
{
    VectorOfByte vector = MakeBytes("abc");
    EXPECT_THROW(vector.resize(s_huge), std::bad_alloc);
    EXPECT_THROW(vector.reserve(s_huge), std::bad_alloc);
    EXPECT_THROW(vector.Extend(s_huge), std::bad_alloc);
    EXPECT_THROW(vector.MakeRoom(s_huge), std::bad_alloc);
    EXPECT_THROW(vector.insertbytes(0, "x", s_huge), std::bad_alloc);
    EXPECT_EQ(BytesOf(vector), "abc");
}

TEST(VectorOfByte, ReservesExactlyAndOnlyUpwards)
{
    VectorOfByte vector = MakeBytes("abc");
    vector.reserve(150);
    EXPECT_EQ(vector.capacity(), 150);
    vector.reserve(10);
    vector.reserve(-1);
    EXPECT_EQ(vector.capacity(), 150);
    EXPECT_EQ(BytesOf(vector), "abc");
}

TEST(VectorOfByte, BeginsWith64BytesWhereItGrows)
{
    VectorOfByte vector;
    vector.Extend(1);
    EXPECT_EQ(vector.capacity(), 64);
    xvector<int64> numbers;
    numbers.push_back(1);
    EXPECT_EQ(numbers.capacity(), 8);
    EXPECT_EQ(xvector<int64>(numbers).capacity(), 1); // a copy has what it needs
}

TEST(VectorOfByte, GrowsByOneByteAtATimeInLinearTime)
{
    VectorOfByte vector;
    int numMoves = 0;
    for (int i = 0; i < 10000; ++i)
    {
        const char* const before = vector.data();
        vector.resize(i + 1);
        numMoves += vector.data() != before;
    }
    EXPECT_LE(numMoves, 15);
}

TEST(VectorOfByte, CopiesMovesSwapsAndClears)
{
    VectorOfByte vector = MakeBytes("abc");
    VectorOfByte copy(vector);
    copy.data()[0] = 'x';
    EXPECT_EQ(BytesOf(vector), "abc");
    EXPECT_EQ(BytesOf(copy), "xbc");
    VectorOfByte moved(std::move(copy));
    EXPECT_EQ(BytesOf(moved), "xbc");
    EXPECT_TRUE(copy.empty()); // NOLINT: a vector that was moved from is empty
    vector.swap(moved);
    EXPECT_EQ(BytesOf(vector), "xbc");
    moved = vector;
    EXPECT_EQ(BytesOf(moved), "xbc");
    const VectorOfByte& alias = moved;
    moved = alias;
    EXPECT_EQ(BytesOf(moved), "xbc");
    const ssize_t capacity = moved.capacity();
    moved.clear();
    EXPECT_TRUE(moved.empty());
    EXPECT_EQ(moved.capacity(), capacity);
    EXPECT_TRUE(VectorOfByte(moved).empty());
}

TEST(Vector, HoldsItsElementsInOrder)
{
    xvector<xstring> vector;
    EXPECT_TRUE(vector.empty());
    EXPECT_EQ(vector.begin(), vector.end());
    for (int i = 0; i < 100; ++i)
    {
        const xstring& made = vector.emplace_back(LongText(i));
        EXPECT_EQ(&made, &vector.back());
    }
    ASSERT_EQ(vector.size(), 100);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(vector[i], LongText(i));
    EXPECT_EQ(vector.front(), LongText(0));
    EXPECT_EQ(vector.back(), LongText(99));
    vector.pop_back();
    EXPECT_EQ(vector.size(), 99);
    EXPECT_EQ(vector.back(), LongText(98));
    vector.clear();
    EXPECT_TRUE(vector.empty());
}

TEST(Vector, GrowsWithElementsOfItsOwn)
{
    xvector<xstring> vector{LongText(0)};
    for (int i = 0; i < 100; ++i)
    {
        vector.emplace_back(vector.front());
        vector.push_back(vector.back());
        vector.emplace_back(vector.front().c_str());
    }
    ASSERT_EQ(vector.size(), 301);
    for (const xstring& element : vector)
        EXPECT_EQ(element, LongText(0));
}

TEST(Vector, IsAVectorOfBytesWhateverItsElements)
{
    xvector<int64> vector{1, 2, 3};
    vector.reserve(10);
    const Words words = WordsOf(vector);
    EXPECT_EQ(static_cast<void*>(words.m_data), static_cast<void*>(vector.data()));
    EXPECT_EQ(words.m_size, 24);
    EXPECT_EQ(words.m_capacity, 80);
}

TEST(Vector, GrowsInLinearTimeHoweverItGrows)
{
    xvector<int> pushed, resized;
    xvector<xstring> resizedStrings;
    int numMoves = 0;
    for (int i = 0; i < 10000; ++i)
    {
        const void* const before[] = {pushed.data(), resized.data(), resizedStrings.data()};
        pushed.push_back(i);
        resized.resize(i + 1);
        resizedStrings.resize(i + 1);
        numMoves += (pushed.data() != before[0]) + (resized.data() != before[1]) + (resizedStrings.data() != before[2]);
    }
    EXPECT_LE(numMoves, 45);
}

TEST(Vector, ResizesWithInitialValues)
{
    xvector<int> numbers{1, 2, 3};
    numbers.resize(1);
    numbers.resize(3);
    EXPECT_EQ(Elements(numbers), (std::vector<int>{1, 0, 0}));

    xvector<Counted> counted;
    counted.resize(5);
    EXPECT_EQ(Counted::s_alive, 5);
    counted.resize(2);
    EXPECT_EQ(Counted::s_alive, 2);
    counted.resize(0);
    EXPECT_EQ(Counted::s_alive, 0);

    const xvector<xstring> strings(3);
    ASSERT_EQ(strings.size(), 3);
    EXPECT_EQ(strings[2], "");
}

TEST(Vector, RefusesANegativeSize)
{
    xvector<char> bytes{'a'};
    EXPECT_TRUE(FailsAssertion([&] { bytes.resize(-1); }, "newSize >= 0", s_source));
    EXPECT_EQ(bytes.size(), 1);
    xvector<xstring> strings{LongText(0)};
    EXPECT_TRUE(FailsAssertion([&] { strings.resize(-1); }, "newSize >= 0", s_source));
    EXPECT_TRUE(FailsAssertion([&] { strings.resize(std::numeric_limits<ssize_t>::min()); }, "newSize >= 0", s_source));
    EXPECT_EQ(strings.size(), 1);
    EXPECT_TRUE(FailsAssertion([] { xvector<xstring> negative(-1); }, "newSize >= 0", s_source));
}

TEST(Vector, TooLargeForAnyMemoryThrowsAndIsUnchanged)
{
    xvector<xstring> vector{LongText(0)};
    for (const ssize_t count : {s_huge, s_huge / 8, s_huge / 24})
    {
        EXPECT_THROW(vector.resize(count), std::bad_alloc);
        EXPECT_THROW(vector.reserve(count), std::bad_alloc);
    }
    EXPECT_EQ(vector.size(), 1);
    EXPECT_THROW(xvector<int> numbers(s_huge), std::bad_alloc);
}

TEST(Vector, CopiesMovesAndSwaps)
{
    xvector<xstring> vector{LongText(0), LongText(1)};
    xvector<xstring> copy(vector);
    copy[0] = "x";
    EXPECT_EQ(vector[0], LongText(0));
    xvector<xstring> moved(std::move(copy));
    EXPECT_EQ(moved[0], "x");
    EXPECT_TRUE(copy.empty()); // NOLINT: a vector that was moved from is empty
    moved.swap(vector);
    EXPECT_EQ(vector[0], "x");
    vector = moved;
    EXPECT_TRUE(vector == moved);
    const xvector<xstring>& alias = vector;
    vector = alias;
    EXPECT_TRUE(vector == moved);
    vector = xvector<xstring>();
    EXPECT_TRUE(vector.empty());
    EXPECT_TRUE(xvector<xstring>(vector).empty());
}

TEST(Vector, ComparesElementByElementAndThenByLength)
{
    const xvector<int> vectors[] = {{}, {1}, {1, 2}, {1, 3}, {2}};
    for (const auto& a : vectors)
        for (const auto& b : vectors)
        {
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a < b, &a < &b); // the rows are sorted
        }
}

TEST(Vector, DestroysEveryElementOnceEvenWhenMakingOneFails)
{
    {
        xvector<Counted> vector;
        for (int i = 0; i < 10; ++i)
            vector.emplace_back(i);
        EXPECT_EQ(Counted::s_alive, 10);

        Counted::s_limit = 15;
        EXPECT_THROW(xvector<Counted> copy(vector), std::runtime_error);
        EXPECT_EQ(Counted::s_alive, 10);
        EXPECT_THROW(xvector<Counted> made(6), std::runtime_error);
        EXPECT_EQ(Counted::s_alive, 10);
        xvector<Counted> other(1);
        EXPECT_THROW(other = vector, std::runtime_error);
        EXPECT_EQ(other.size(), 1);

        Counted::s_limit = Counted::s_alive;
        EXPECT_THROW(vector.emplace_back(11), std::runtime_error);
        EXPECT_THROW(vector.resize(11), std::runtime_error);
        EXPECT_EQ(vector.size(), 10);
        Counted::s_limit = std::numeric_limits<int>::max();
        EXPECT_EQ(Counted::s_alive, 11);
    }
    EXPECT_EQ(Counted::s_alive, 0);
}

struct NestedVectors
{
    xvector<NestedVectors> m_children;
};

} // namespace

template <>
inline constexpr bool IsRelocatable<NestedVectors> = true;

namespace
{

NestedVectors MakeChain(int depth)
{
    NestedVectors chain;
    for (int i = 0; i < depth; ++i)
    {
        NestedVectors outer;
        outer.m_children.push_back(std::move(chain));
        chain = std::move(outer);
    }
    return chain;
}

TEST(Vector, OfItsOwnKindNestsToAnyDepth)
{
    constexpr int depth = s_depth / 20;
    const NestedVectors chain = MakeChain(depth);
    const NestedVectors copy(chain);
    int copiedDepth = 0;
    for (const NestedVectors* level = &copy; !level->m_children.empty(); level = &level->m_children.front())
        ++copiedDepth;
    EXPECT_EQ(copiedDepth, depth);
}

RC_GTEST_PROP(Vector, DoesWhatAStandardVectorDoes, (const std::vector<std::pair<uint8, int>>& steps))
{
    xvector<xstring> vector;
    std::vector<std::string> expected;
    for (const auto& [choice, number] : steps)
    {
        const xstring text = LongText(number);
        switch (choice % 5)
        {
        case 0:
        case 1:
            vector.push_back(text);
            expected.push_back(ToStdString(text));
            break;
        case 2:
            vector.resize(choice % 20);
            expected.resize(choice % 20);
            break;
        case 3:
            if (!expected.empty())
            {
                vector.pop_back();
                expected.pop_back();
            }
            break;
        default: vector = xvector<xstring>(vector);
        }
        RC_ASSERT(vector.size() == static_cast<ssize_t>(expected.size()));
        for (ssize_t i = 0; i < vector.size(); ++i)
            RC_ASSERT(ToStdString(vector[i]) == expected[static_cast<std::size_t>(i)]);
    }
}

} // namespace
} // namespace kelm
