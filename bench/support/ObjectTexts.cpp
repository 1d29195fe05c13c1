#include "ObjectTexts.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <random>
#include <set>

namespace kelm::bench
{

namespace
{

using Generator = std::mt19937_64; // unlike the distributions, the same everywhere

std::int64_t Between(Generator& random, std::int64_t least, std::int64_t most)
{
    return least + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most - least + 1));
}

std::string Word(Generator& random, int shortest, int longest)
{
    std::string word(static_cast<std::size_t>(Between(random, shortest, longest)), ' ');
    for (char& c : word)
        c = static_cast<char>('a' + random() % 26);
    return word;
}

std::string Digits17(double value)
{
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 16).ptr;
    return std::string(text, end);
}

// Shortest, and always a float.
std::string Shortest(double value)
{
    char text[40];
    const std::string digits(text, std::to_chars(text, text + sizeof text, value).ptr);
    return digits.find_first_of(".e") == std::string::npos ? digits + ".0" : digits;
}

std::string Quoted(const std::string& text)
{
    return '"' + text + '"';
}

template <class Values, class ToText>
std::string Join(const Values& values, ToText toText)
{
    std::string text;
    for (const auto& value : values)
    {
        if (!text.empty())
            text += ',';
        text += toText(value);
    }
    return text;
}

template <class Values, class ToText>
Texts ListTexts(const char* className, const Values& values, ToText toText)
{
    const std::string list = '[' + Join(values, toText) + ']';
    return {className + ("{values=" + list + '}'), "{\"values\":" + list + '}', "values:" + list};
}

void PadJson(Texts& texts)
{
    texts.m_json.reserve(texts.m_json.size() + 64);
}

// name <between> value <after> name <between> value ...
std::string RecordText(const PlainRecord& r, const char* quote, char between, char after, const std::string& colour)
{
    const std::pair<const char*, std::string> members[s_valuesPerRecord] = {
        {"name", Quoted(r.m_name)},
        {"id", std::to_string(r.m_id)},
        {"x", Shortest(r.m_x)},
        {"y", Shortest(r.m_y)},
        {"z", Shortest(r.m_z)},
        {"colour", colour},
        {"width", std::to_string(r.m_width)},
        {"height", std::to_string(r.m_height)},
        {"depth", std::to_string(r.m_depth)},
    };
    std::string text = "{";
    for (const auto& [name, value] : members)
    {
        if (text.size() > 1)
            text += after;
        text += quote + std::string(name) + quote + between + value;
    }
    return text + '}';
}

} // namespace

std::vector<std::int64_t> MakeIntegers(long count)
{
    Generator random(1);
    std::vector<std::int64_t> values(static_cast<std::size_t>(count));
    for (std::int64_t& value : values)
        value = Between(random, -1'000'000'000, 1'000'000'000);
    return values;
}

std::vector<double> MakeDoubles(long count)
{
    Generator random(2);
    std::vector<double> values(static_cast<std::size_t>(count));
    for (double& value : values)
        value = static_cast<double>(random() >> 11) / 9007199254740992.0 * 1000.0; // 53 random bits
    return values;
}

std::vector<PlainRecord> MakeRecords(long count)
{
    Generator random(3);
    const auto small = [&] { return static_cast<int>(Between(random, 0, 9'999)); };
    const auto coordinate = [&] { return static_cast<double>(Between(random, -999'999, 999'999)) / 1000.0; };
    std::vector<PlainRecord> values(static_cast<std::size_t>(count));
    for (PlainRecord& r : values)
    {
        r.m_name = Word(random, 4, 12);
        r.m_id = Between(random, 0, 1'000'000);
        r.m_x = coordinate();
        r.m_y = coordinate();
        r.m_z = coordinate();
        r.m_colour = static_cast<int>(random() % 4);
        r.m_width = small();
        r.m_height = small();
        r.m_depth = small();
    }
    return values;
}

PlainCounts MakeCounts(long count)
{
    Generator random(4);
    PlainCounts values;
    std::set<std::string> keys;
    while (static_cast<long>(values.size()) < count)
    {
        const std::string key = Word(random, 8, 16);
        if (keys.insert(key).second)
            values.emplace_back(key, Between(random, 0, 1'000'000));
    }
    return values;
}

Texts TextsOf(const std::vector<std::int64_t>& values)
{
    Texts texts = ListTexts("sample::Integers", values, [](std::int64_t value) { return std::to_string(value); });
    PadJson(texts);
    return texts;
}

Texts TextsOf(const std::vector<double>& values)
{
    Texts texts = ListTexts("sample::Doubles", values, Digits17);
    PadJson(texts);
    return texts;
}

Texts TextsOf(const std::vector<PlainRecord>& values)
{
    Texts texts;
    const auto ours = [](const PlainRecord& r) { return RecordText(r, "", '=', ' ', s_colours[r.m_colour]); };
    const auto json = [](const PlainRecord& r) { return RecordText(r, "\"", ':', ',', Quoted(s_colours[r.m_colour])); };
    const auto proto = [](const PlainRecord& r) { return RecordText(r, "", ':', ' ', s_colours[r.m_colour]); };
    texts.m_ours = "sample::Records{values=[" + Join(values, ours) + "]}";
    texts.m_json = "{\"values\":[" + Join(values, json) + "]}";
    texts.m_proto = "values:[" + Join(values, proto) + "]";
    PadJson(texts);
    return texts;
}

Texts TextsOf(const PlainCounts& values)
{
    using Count = PlainCounts::value_type;
    Texts texts;
    const auto ours = [](const Count& c) { return Quoted(c.first) + "->" + std::to_string(c.second); };
    const auto json = [](const Count& c) { return Quoted(c.first) + ':' + std::to_string(c.second); };
    const auto proto = [](const Count& c)
    { return "{key:" + Quoted(c.first) + " value:" + std::to_string(c.second) + '}'; };
    texts.m_ours = "sample::Counts{values=[" + Join(values, ours) + "]}";
    texts.m_json = "{\"values\":{" + Join(values, json) + "}}";
    texts.m_proto = "values:[" + Join(values, proto) + "]";
    PadJson(texts);
    return texts;
}

std::string ItemName(int i)
{
    return "item number " + std::to_string(i);
}

double PartWeight(int node, int part)
{
    return 10.0 * node + part + 0.25;
}

Texts DocumentTexts()
{
    std::vector<int> all(s_documentItems);
    std::iota(all.begin(), all.end(), 0);
    const auto text =
        [&](const std::string& quote, const std::string& between, const std::string& after, const std::string& nested)
    {
        const auto member = [&](const char* name) { return quote + name + quote + between; };
        const auto object = [&](const char* name) { return quote + name + quote + nested; };
        const auto item = [&](int i)
        { return '{' + member("id") + std::to_string(i) + after + member("name") + Quoted(ItemName(i)) + '}'; };
        const auto node = [&](int n)
        {
            const auto part = [&](int p) {
                return '{' + member("label") + Quoted("part") + after + member("weight") + Shortest(PartWeight(n, p)) +
                       '}';
            };
            return '{' + member("id") + std::to_string(n) + after + object("mesh") + '{' + member("triangles") + "12" +
                   after + member("parts") + '[' + Join(all, part) + "]}}";
        };
        return member("items") + '[' + Join(all, item) + ']' + after + object("scene") + '{' + member("title") +
               Quoted("scene") + after + member("nodes") + '[' + Join(all, node) + "]}";
    };
    Texts texts = {"sample::Document{" + text("", "=", " ", "=") + '}', '{' + text("\"", ":", ",", ":") + '}',
                   text("", ":", " ", "")};
    PadJson(texts);
    return texts;
}

std::string MemberName(int i)
{
    return std::string("m") + static_cast<char>('0' + i / 10) + static_cast<char>('0' + i % 10);
}

std::string MembersText(const char* className, long count, int members)
{
    Generator random(5);
    std::vector<int> order(static_cast<std::size_t>(members));
    std::iota(order.begin(), order.end(), 0);
    std::string text = std::string(className) + "{values=[";
    for (long i = 0; i < count; ++i)
    {
        for (std::size_t j = order.size() - 1; j > 0; --j) // std::shuffle differs between libraries
            std::swap(order[j], order[random() % (j + 1)]);
        text += i == 0 ? "{" : ",{";
        for (const int member : order)
            text += MemberName(member) + '=' + std::to_string(member) + ' ';
        text += '}';
    }
    return text + "]}";
}

} // namespace kelm::bench
