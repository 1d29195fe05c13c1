#include <klObject/containers/xmap.h>

#include <klUtils/xstring.h>
#include <klUtils/xvector.h>
#include <support/Depth.h>
#include <support/Expect.h>
#include <support/OutOfMemory.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

xstring KeyOf(int i)
{
    return xstring(("key " + std::to_string(i) + (i % 3 == 0 ? " of a text beyond the inline size" : "")).c_str());
}

// Keys of which many begin with what others do or are, of zero bytes as well.
xstring BranchingKeyOf(int i)
{
    using namespace std::string_view_literals;
    static constexpr std::string_view s_parts[] = {"a"sv, "settings."sv, "\0\0\0"sv, "\xFF"sv,
                                                   "a part of more than sixteen characters"sv};
    constexpr int count = std::size(s_parts);
    std::string text;
    for (; i > 0; i /= count)
        text.insert(0, s_parts[i % count]);
    return xstring(std::string_view(text));
}

template <class K, class V>
void ExpectSame(const xmap<K, V>& map, const std::map<K, V>& model)
{
    ASSERT_EQ(map.size(), static_cast<ssize_t>(model.size()));
    auto expected = model.begin();
    for (const auto& [key, value] : map)
    {
        ASSERT_TRUE(key == expected->first);
        ASSERT_TRUE(value == expected->second);
        ++expected;
    }
    ASSERT_TRUE(expected == model.end());
}

// A key or payload that counts its instances and can refuse to be made.
struct Fragile
{
    explicit Fragile(int id = 0) : m_id(id) { Count(); }
    Fragile(const Fragile& other) : m_id(other.m_id) { Count(); }
    Fragile& operator=(const Fragile&) = delete;
    ~Fragile() { --s_live; }

    friend bool operator<(const Fragile& a, const Fragile& b) { return a.m_id < b.m_id; }

    static void Count()
    {
        if (s_makesLeft == 0)
            throw std::runtime_error("no more");
        --s_makesLeft;
        ++s_live;
    }

    static constexpr int NoLimit = -1;
    static inline int s_makesLeft = NoLimit;
    static inline int s_live = 0;

    int m_id;
};

struct Nest
{
    xmap<int, Nest> m_inner;
};

} // namespace

template <>
inline constexpr bool IsRelocatable<Fragile> = true;
template <>
inline constexpr bool IsRelocatable<Nest> = true;

TEST(Xmap, IsOneWordThatIsNullWhileEmpty)
{
    xmap<xstring, int> map;
    const void* word;
    std::memcpy(&word, static_cast<void*>(&map), sizeof word);
    EXPECT_EQ(word, nullptr);
    EXPECT_EQ(sizeof map, sizeof word);
    map["a"] = 1;
    EXPECT_TRUE(map.erase("a"));
    std::memcpy(&word, static_cast<void*>(&map), sizeof word);
    EXPECT_EQ(word, nullptr);
}

TEST(Xmap, HoldsEntriesInKeyOrderWhateverTheOrderOfInsertion)
{
    constexpr int count = 5000;
    std::vector<int> ascending(count);
    for (int i = 0; i < count; ++i)
        ascending[static_cast<std::size_t>(i)] = i;
    std::vector<int> descending(ascending.rbegin(), ascending.rend());
    std::vector<int> shuffled = ascending;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
    for (const std::vector<int>& order : {ascending, descending, shuffled})
    {
        xmap<int, xstring> map;
        for (const int i : order)
            map.Insert(i) = KeyOf(i);
        ASSERT_EQ(map.size(), count);
        int expected = 0;
        for (const auto& [key, value] : map)
        {
            ASSERT_EQ(key, expected++);
            ASSERT_EQ(value, KeyOf(key));
        }
        ASSERT_EQ(expected, count);
    }
}

class XmapOfTexts : public ::testing::TestWithParam<xstring (*)(int)>
{
};

TEST_P(XmapOfTexts, AgreesWithAModelOverRandomOperations)
{
    for (const int range : {8, 300, 20000})
    {
        std::mt19937 random(static_cast<unsigned>(range));
        std::map<xstring, int> model;
        xmap<xstring, int> map;
        for (int step = 0; step < 30000; ++step)
        {
            const xstring key = GetParam()(static_cast<int>(random() % static_cast<unsigned>(range)));
            switch (random() % 8)
            {
            case 0:
            case 1:
            case 2: ASSERT_EQ(map.erase(key), model.erase(key) == 1); break;
            case 3:
            {
                ASSERT_EQ(map.count(key), static_cast<ssize_t>(model.count(key)));
                const auto bound = model.lower_bound(key);
                ASSERT_EQ(map.lower_bound(key) == map.end(), bound == model.end());
                if (bound != model.end())
                {
                    ASSERT_EQ(map.lower_bound(key)->m_key, bound->first);
                }
                break;
            }
            case 4:
            {
                const auto found = map.find(key);
                ASSERT_EQ(found != map.end(), model.count(key) == 1);
                if (found != map.end())
                {
                    ASSERT_EQ(found->m_value, model[key]);
                }
                break;
            }
            default: map[key] = step; model[key] = step;
            }
        }
        ExpectSame(map, model);
        while (!model.empty()) // from the front, the back, and in between
        {
            auto victim = model.begin();
            std::advance(victim,
                         random() % 3 == 0 ? 0 : static_cast<long>(random() % std::min<std::size_t>(model.size(), 50)));
            ASSERT_TRUE(map.erase(victim->first));
            model.erase(victim);
            if (model.size() % 500 == 0)
                ExpectSame(map, model);
        }
        EXPECT_TRUE(map.empty());
        EXPECT_TRUE(map.begin() == map.end());
    }
}

INSTANTIATE_TEST_SUITE_P(Xmap, XmapOfTexts, ::testing::Values(&KeyOf, &BranchingKeyOf));

// Before, between and behind keys that all begin alike, as many as fill no leaf, one, and many; and what is shorter
// than they have in common.
class XmapOfAlikeTexts : public ::testing::TestWithParam<int>
{
protected:
    void Insert(const std::string& text)
    {
        const xstring key{std::string_view(text)};
        m_map[key] = m_model[key] = static_cast<int>(m_model.size());
    }
    void ExpectFound(const std::string& text, bool isThere) const
    {
        const xstring key{std::string_view(text)};
        EXPECT_EQ(m_map.contains(key), isThere) << text;
        const auto bound = m_model.lower_bound(key);
        ASSERT_EQ(m_map.lower_bound(key) == m_map.end(), bound == m_model.end()) << text;
        if (bound != m_model.end())
        {
            EXPECT_EQ(m_map.lower_bound(key)->m_key, bound->first) << text;
        }
    }

    std::map<xstring, int> m_model;
    xmap<xstring, int> m_map;
};

TEST_P(XmapOfAlikeTexts, FindsThemAndWhatTheyBeginWith)
{
    const std::string start = "what all of them begin with ";
    constexpr int first = 1000;
    for (int i = 0; i < GetParam(); ++i)
        Insert(start + std::to_string(first + i));
    for (std::size_t size = 0; size <= start.size(); ++size)
        for (const char* const end : {"", " ", "~"})
            ExpectFound(start.substr(0, size) + end, false);
    Insert("z");
    for (const std::string text : {"y", "z", "zz"})
        ExpectFound(text, text == "z");
    for (std::size_t size = 0; size <= start.size(); ++size)
    {
        Insert(start.substr(0, size));
        ExpectFound(start.substr(0, size), true);
        ExpectFound(start + std::to_string(first), true);
    }
    ExpectSame(m_map, m_model);
}

INSTANTIATE_TEST_SUITE_P(Xmap, XmapOfAlikeTexts, ::testing::Values(3, 64, 1000));

TEST(Xmap, IsWalkedBackwardsFromLeafToLeaf)
{
    xmap<int32, int32> map;
    constexpr int32 count = 1000;
    for (int32 i = 0; i < count; ++i)
        map[i] = -i;
    int32 expected = count;
    for (auto it = map.end(); it != map.begin();)
    {
        --it;
        ASSERT_EQ(it->m_key, --expected);
        ASSERT_EQ(it->m_value, -expected);
    }
    EXPECT_EQ(expected, 0);
}

TEST(Xmap, ErasesAnEntryByItsOwnKey)
{
    xmap<xstring, int> map;
    for (int i = 0; i < 1000; ++i)
        map[KeyOf(i)] = i;
    for (int left = 1000; left > 0; --left)
    {
        EXPECT_EQ(map.size(), left);
        EXPECT_TRUE(map.erase(map.begin()->m_key));
    }
    EXPECT_FALSE(map.erase("key 1"));
}

TEST(Xmap, GivesAPayloadThatIsValueInitialised)
{
    xmap<int, int> numbers;
    EXPECT_EQ(numbers.Insert(7), 0);
    numbers[7] = 5;
    EXPECT_EQ(numbers.Insert(7), 5);
    EXPECT_EQ(numbers.size(), 1);
}

TEST(Xmap, IsAValue)
{
    xmap<xstring, xvector<int>> map = {{"one", {1}}, {"two", {1, 2}}, {"two", {3}}};
    EXPECT_EQ(map.size(), 2);
    EXPECT_TRUE(map["two"] == xvector<int>({1, 2}));

    xmap<xstring, xvector<int>> copy = map;
    EXPECT_TRUE(copy == map);
    copy["two"].push_back(3);
    EXPECT_FALSE(copy == map);
    EXPECT_EQ(map["two"].size(), 2);

    xmap<xstring, xvector<int>> moved = std::move(copy);
    EXPECT_EQ(moved["two"].size(), 3);
    moved = map;
    EXPECT_TRUE(moved == map);
    moved.swap(copy);
    EXPECT_TRUE(moved.empty());
    map.clear();
    EXPECT_TRUE(map.empty());
}

TEST(Xmap, CopiesEveryLeafAndCopiesStayApart)
{
    xmap<int, int> map;
    for (int i = 0; i < 4000; ++i)
        map[(i * 7919) % 4000] = i;
    const xmap<int, int> copy = map;
    for (int i = 0; i < 4000; i += 2)
        map.erase(i);
    EXPECT_EQ(copy.size(), 4000);
    int expected = 0;
    for (const auto& entry : copy)
        ASSERT_EQ(entry.m_key, expected++);
}

TEST(Xmap, IsOrderedByKeysThenPayloads)
{
    const struct
    {
        xmap<int, int> m_less;
        xmap<int, int> m_greater;
    } rows[] = {
        {{}, {{1, 1}}},
        {{{1, 1}}, {{1, 2}}},
        {{{1, 9}}, {{2, 0}}},
        {{{1, 1}}, {{1, 1}, {2, 0}}},
        {{{1, 1}, {2, 5}}, {{1, 1}, {3, 0}}},
    };
    for (const auto& row : rows)
    {
        EXPECT_TRUE(row.m_less < row.m_greater);
        EXPECT_FALSE(row.m_greater < row.m_less);
        EXPECT_FALSE(row.m_less == row.m_greater);
        EXPECT_FALSE(row.m_less < row.m_less);
    }
}

TEST(Xmap, MovesInMemoryAsBytes)
{
    using Map = xmap<xstring, xstring>;
    alignas(Map) char here[sizeof(Map)];
    alignas(Map) char there[sizeof(Map)];
    auto* const map = new (here) Map();
    for (int i = 0; i < 1000; ++i)
        (*map)[KeyOf(i)] = KeyOf(i);
    std::memcpy(there, here, sizeof here);
    auto& moved = *reinterpret_cast<Map*>(there);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(moved[KeyOf(i)], KeyOf(i));
    moved.~Map();
}

TEST(Xmap, TakesKeysThatHaveNoOrder)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    xmap<double, int> map;
    for (int i = 0; i < 3000; ++i)
        map[i % 5 == 0 ? nan : static_cast<double>((i * 7919) % 3000)] = i;
    ssize_t count = 0;
    for (const auto& entry : map)
    {
        static_cast<void>(entry);
        ++count;
    }
    EXPECT_EQ(count, map.size());
}

TEST(Xmap, IsUnchangedWhereAKeyOrPayloadCannotBeMade)
{
    {
        xmap<Fragile, Fragile> map;
        for (int i = 0; i < 300; ++i)
            for (const int makes : {0, 1, 2}) // the key's copy fails, the payload fails, neither does
            {
                const Fragile key(i * 131 % 300);
                Fragile::s_makesLeft = makes;
                bool hasThrown = false;
                try
                {
                    map.Insert(key);
                }
                catch (const std::runtime_error&)
                {
                    hasThrown = true;
                }
                Fragile::s_makesLeft = Fragile::NoLimit;
                ASSERT_EQ(hasThrown, makes < 2);
                ASSERT_EQ(map.size(), i + (makes == 2));
                ASSERT_EQ(Fragile::s_live, 2 * map.size() + 1);
            }

        Fragile::s_makesLeft = 400; // a copy fails on its way
        EXPECT_THROW((xmap<Fragile, Fragile>(map)), std::runtime_error);
        Fragile::s_makesLeft = Fragile::NoLimit;
        EXPECT_EQ(Fragile::s_live, 600);
    }
    EXPECT_EQ(Fragile::s_live, 0);
}

TEST(Xmap, IsUnchangedWhereThereIsNoMemory)
{
    std::mt19937 random(7);
    std::map<int, int> model;
    xmap<int, int> map;
    int failures = 0;
    for (int i = 0; i < 30000; ++i)
    {
        const int key = i < 15000 ? i : static_cast<int>(random() % 1000000);
        for (int allocations = 0; allocations < 4; ++allocations) // a leaf, inner nodes, a root
            try
            {
                const OutOfMemory outOfMemory(allocations);
                map[key] = i;
                break;
            }
            catch (const std::bad_alloc&)
            {
                ++failures;
                ASSERT_EQ(map.size(), static_cast<ssize_t>(model.size()));
                ASSERT_EQ(map.count(key), 0);
            }
        map[key] = i;
        model[key] = i;
    }
    EXPECT_GT(failures, 400);
    ExpectSame(map, model);
}

TEST(Xmap, DestroysMapsNestedToAnyDepth)
{
    Nest nest;
    for (int depth = 0; depth < s_nesting / 5; ++depth)
    {
        Nest outer;
        outer.m_inner.Insert(1).m_inner.swap(nest.m_inner);
        nest.m_inner.swap(outer.m_inner);
    }
    nest.m_inner.clear();
    EXPECT_TRUE(nest.m_inner.empty());
}

TEST(XmapFunctions, WorkOnAMapThatIsKnownByItsAddressAlone)
{
    const MapFns& fns = MapFunctions<xstring, int>::table;
    alignas(void*) char memory[sizeof(void*)];
    fns.Construct(memory);
    EXPECT_EQ(fns.Count(memory), 0);
    for (int i = 99; i >= 0; --i)
    {
        const xstring key = KeyOf(100 + i);
        *static_cast<int*>(fns.Insert(memory, &key)) = i;
    }
    const xstring key = KeyOf(107);
    EXPECT_EQ(*static_cast<int*>(fns.Insert(memory, &key)), 7);
    EXPECT_EQ(fns.Count(memory), 100);

    struct Walk
    {
        int m_count = 0;
        int m_limit;
    };
    const EntryVisitor visit = [](void* context, const void* k, void* payload)
    {
        auto& walk = *static_cast<Walk*>(context);
        EXPECT_EQ(*static_cast<const xstring*>(k), KeyOf(100 + *static_cast<int*>(payload)));
        return ++walk.m_count < walk.m_limit;
    };
    for (const int limit : {1, 42, 1000})
    {
        Walk walk{.m_limit = limit};
        fns.ForEach(memory, visit, &walk);
        EXPECT_EQ(walk.m_count, std::min(limit, 100));
    }
    fns.Destruct(memory);
}

TEST(XmapFunctions, TellWhetherInsertionRunsAProgramsCode)
{
    struct Own
    {
        int m_id = 0;
        auto operator<=>(const Own&) const = default;
    };
    EXPECT_TRUE((MapFunctions<int, double>::table.m_insertsAlone));
    EXPECT_TRUE((MapFunctions<xstring, xstring16>::table.m_insertsAlone));
    EXPECT_FALSE((MapFunctions<Own, int>::table.m_insertsAlone)) << "its comparison";
    EXPECT_FALSE((MapFunctions<int, Own>::table.m_insertsAlone)) << "its constructor";
    EXPECT_FALSE((MapFunctions<int, xmap<int, Own>>::table.m_insertsAlone));
}

} // namespace kelm
