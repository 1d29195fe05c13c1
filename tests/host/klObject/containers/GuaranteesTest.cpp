// What every mutating operation of every container promises: where it throws, the container is as it was, and its
// arguments may lie in the container. Each row is done with the first allocation failing, then the second, and so on
// until none fails.

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>
#include <support/OutOfMemory.h>

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

xstring Long(int i)
{
    return xstring("a text that is too long to lie inside " + std::to_string(i));
}

using Texts = xvector<xstring>;
using Map = xmap<xstring, xstring>;
using Set = xset<xstring>;
using Variant = xvariant<xstring, Texts, int>;

template <class C>
struct Row
{
    const char* m_name;
    C m_before;
    void (*m_operation)(C&);
    C m_after;
    bool m_allocates = true;
};

template <class C>
void ExpectGuarantees(const std::vector<Row<C>>& rows)
{
    for (const Row<C>& row : rows)
    {
        int failures = 0;
        for (bool isDone = false; !isDone;)
        {
            ASSERT_LT(failures, 2000) << row.m_name;
            C container(row.m_before);
            try
            {
                const OutOfMemory outOfMemory(failures);
                row.m_operation(container);
                isDone = true;
            }
            catch (const std::bad_alloc&)
            {
                ++failures;
                ASSERT_TRUE(container == row.m_before) << row.m_name << ", allocation " << failures;
            }
            ASSERT_TRUE(!isDone || container == row.m_after) << row.m_name;
        }
        EXPECT_EQ(failures > 0, row.m_allocates) << row.m_name;
    }
}

Texts Full(int count)
{
    Texts texts;
    texts.reserve(count);
    for (int i = 0; i < count; ++i)
        texts.push_back(Long(i));
    return texts; // copies are full, too
}

Map MapOf(int count)
{
    Map map;
    for (int i = 0; i < count; ++i)
        map[Long(i * 7 % count)] = Long(i * 7 % count + 100000);
    return map;
}

Map With(Map map, const xstring& key, const xstring& value)
{
    map[key] = value;
    return map;
}

Set SetOf(int count)
{
    Set set;
    for (int i = 0; i < count; ++i)
        set.Insert(Long(i * 7 % count));
    return set;
}

} // namespace

TEST(Guarantees, OfVectors)
{
    ExpectGuarantees<Texts>({
        {"push_back of an own element", Full(2), [](Texts& t) { t.push_back(t[0]); }, {Long(0), Long(1), Long(0)}},
        {"push_back of an own element that is moved",
         Full(2),
         [](Texts& t) { t.push_back(std::move(t[0])); },
         {"", Long(1), Long(0)}},
        {"push_back where there is room",
         Full(1),
         [](Texts& t) { t.reserve(9), t.push_back(t[0]); },
         {Long(0), Long(0)}},
        {"emplace_back of a part of an own element",
         Full(1),
         [](Texts& t) { t.emplace_back(t[0].data() + 2, 30); },
         {Long(0), xstring(Long(0).data() + 2, 30)}},
        {"insert of an own element at the front",
         Full(3),
         [](Texts& t) { t.insert(t.begin(), t[2]); },
         {Long(2), Long(0), Long(1), Long(2)}},
        {"resize", Full(2), [](Texts& t) { t.resize(4); }, {Long(0), Long(1), "", ""}},
        {"reserve", Full(2), [](Texts& t) { t.reserve(100); }, Full(2)},
        {"append",
         Full(1),
         [](Texts& t)
         {
             static const Texts others = Full(3);
             t.append(others.begin(), others.end());
         },
         {Long(0), Long(0), Long(1), Long(2)}},
        {"assignment", Full(2),
         [](Texts& t)
         {
             static const Texts others = Full(3);
             t = others;
         },
         Full(3)},
        {"erase", Full(3), [](Texts& t) { t.erase(t.begin() + 1); }, {Long(0), Long(2)}, false},
    });
}

TEST(Guarantees, OfVectorsOfBytes)
{
    // Of their own bytes, before, behind and around the place, with room and without.
    for (const ssize_t room : {0, 100})
        for (ssize_t at = 0; at <= 10; ++at)
            for (ssize_t start = 0; start <= 10; ++start)
                for (ssize_t count = 0; count <= 10 - start; ++count)
                {
                    const std::string before = "0123456789";
                    VectorOfByte bytes;
                    bytes.reserve(10 + room);
                    bytes.insertbytes(0, before.data(), 10);
                    try
                    {
                        const OutOfMemory outOfMemory;
                        bytes.insertbytes(at, bytes.data() + start, count);
                    }
                    catch (const std::bad_alloc&)
                    {
                        ASSERT_EQ(std::string(bytes.data(), static_cast<std::size_t>(bytes.size())), before);
                        bytes.insertbytes(at, bytes.data() + start, count);
                    }
                    std::string after = before;
                    after.insert(static_cast<std::size_t>(at), before, static_cast<std::size_t>(start),
                                 static_cast<std::size_t>(count));
                    ASSERT_EQ(std::string(bytes.data(), static_cast<std::size_t>(bytes.size())), after);
                }
}

TEST(Guarantees, OfStrings)
{
    const xstring text = Long(1);
    ExpectGuarantees<xstring>({
        {"append of itself", text, [](xstring& s) { s.append(s); }, text + text},
        {"assignment of a longer one", "short", [](xstring& s) { s = "a text that is too long to lie inside 1"; },
         text},
        {"reserve", text, [](xstring& s) { s.reserve(1000); }, text},
        {"resize", text, [](xstring& s) { s.resize(70); },
         text + xstring(std::string(static_cast<std::size_t>(70 - text.size()), '\0'))},
        {"push_back", text, [](xstring& s) { s.push_back(s[0]); }, text + "a"},
        {"assignment of a part", text, [](xstring& s) { s.assign(s.data() + 2, 4); }, "text", false},
    });
}

TEST(Guarantees, OfMaps)
{
    for (const int count : {1, 4, 64, 3000})
    {
        const Map map = MapOf(count);
        ExpectGuarantees<Map>({
            {"a key that is an own payload", map, [](Map& m) { m.Insert(m.begin()->m_value); },
             With(map, map.begin()->m_value, "")},
            {"a key and a payload that are own payloads", map,
             [](Map& m) { m.try_emplace(m.rbegin()->m_value, m.begin()->m_value); },
             With(map, map.rbegin()->m_value, map.begin()->m_value)},
            {"an entry before all", map,
             [](Map& m) {
                 m.insert({"", m.begin()->m_value});
             },
             With(map, "", map.begin()->m_value)},
            {"a key that is there", map, [](Map& m) { m.Insert(m.begin()->m_key); }, map, false},
            {"assignment", Map{{"a", "b"}},
             [](Map& m)
             {
                 static const Map other = MapOf(100);
                 m = other;
             },
             MapOf(100)},
        });
    }
    ExpectGuarantees<Map>({{"the first entry",
                            {},
                            [](Map& m) {
                                m.insert({Long(1), Long(2)});
                            },
                            {{Long(1), Long(2)}}}});
}

TEST(Guarantees, OfSets)
{
    for (const int count : {1, 4, 64, 3000})
    {
        Set more = SetOf(count);
        more.Insert(Long(0) + "+");
        Set less = SetOf(count);
        less.erase(Long(0));
        ExpectGuarantees<Set>({
            {"a new element", SetOf(count), [](Set& s) { s.Insert(*s.begin() + "+"); }, more},
            {"erasure by an own element", SetOf(count), [](Set& s) { s.erase(*s.begin()); }, less, false},
        });
    }
}

TEST(Guarantees, OfVariants)
{
    const Texts texts = {Long(1), Long(2)};
    ExpectGuarantees<Variant>({
        {"a value made of the old one", texts, [](Variant& v) { v.Emplace<xstring>(v.Get<Texts>()[1]); }, Long(2)},
        {"the same alternative", Long(1), [](Variant& v) { v.Emplace<xstring>(v.Get<xstring>() + "+"); },
         Long(1) + "+"},
        {"assignment", texts,
         [](Variant& v)
         {
             static const Variant other = Long(7);
             v = other;
         },
         Long(7)},
    });
}

TEST(Guarantees, OfDynamicArrays)
{
    using Array = xdynarray<xstring>;
    ExpectGuarantees<Array>(
        {{"Reach", Array({Long(0)}), [](Array& a) { a.Reach(3) = ""; }, Array({Long(0), "", "", ""})}});
}

} // namespace kelm
