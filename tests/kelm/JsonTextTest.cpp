#include <gtest/gtest.h>
#include <kelm/private/types/JsonText.h>

#include <cmath>
#include <limits>

namespace kelm
{

namespace
{

std::string Quoted(std::string_view text)
{
    JsonText json(JSON_COMPACT);
    json.Text(text);
    return json.GetText();
}

TEST(JsonText, LaysOutArraysAndObjects)
{
    const auto write = [](JsonText&& json)
    {
        json.BeginObject();
        json.Name("a");
        json.BeginArray();
        json.EndArray();
        json.Name("b");
        json.BeginArray();
        json.Integer(int64{-1});
        json.BeginObject();
        json.EndObject();
        json.Null();
        json.EndArray();
        json.Name("c\"");
        json.BeginObject();
        json.Name("d");
        json.Bool(true);
        json.EndObject();
        json.EndObject();
        return json.GetText();
    };
    EXPECT_EQ(write(JsonText(JSON_COMPACT)), R"({"a":[],"b":[-1,{},null],"c\"":{"d":true}})");
    EXPECT_EQ(write(JsonText(JSON_INDENTED)), R"({
  "a": [],
  "b": [
    -1,
    {},
    null
  ],
  "c\"": {
    "d": true
  }
})");
}

TEST(JsonText, WritesNumbersInTheirShortestDigits)
{
    JsonText json(JSON_COMPACT);
    json.BeginArray();
    json.Integer(std::numeric_limits<int64>::min());
    json.Integer(std::numeric_limits<uint64>::max());
    for (const float64 value : {0.1, 1.0, -0.0, 122577.2428, 1e300, 5e-324, std::nan("")})
        json.Float(value);
    json.Float(0.1F);
    json.Float(-std::numeric_limits<float32>::infinity());
    json.EndArray();
    EXPECT_EQ(json.GetText(), "[-9223372036854775808,18446744073709551615,0.1,1.0,-0.0,122577.2428,1e+300,5e-324,"
                              "\"nan\",0.1,\"-inf\"]");
}

struct TextRow
{
    std::string_view m_text;
    std::string_view m_json; // without its quotes; R stands for U+FFFD
};

using namespace std::string_view_literals;

// Octets that are no character become U+FFFD; together, where they could have begun one.
constexpr TextRow s_texts[] = {
    {"", ""},
    {"a b~/", "a b~/"},
    {"\"\\\b\f\n\r\t"sv, R"(\"\\\b\f\n\r\t)"},
    {"\0\x1F\x7F"sv, "\\u0000\\u001f\x7F"},
    {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {"\xFF\xFE", "RR"},
    {"\x80\xBF", "RR"},
    {"\xC3", "R"},
    {"\xC3(", "R("},
    {"\xC0\xAF", "RR"},
    {"\xE2\x82", "R"},
    {"\xE2\x82(", "R("},
    {"\xE2(\x82", "R(R"},
    {"\xE0\x80\x80", "RRR"},
    {"\xED\xA0\x80", "RRR"},
    {"\xF0\x9F\x98", "R"},
    {"\xF0\x9F\xC3\xA4", "R\xC3\xA4"},
    {"\xF4\x90\x80\x80", "RRRR"},
    {"\xF5\x80", "RR"},
};

TEST(JsonText, QuotesTexts)
{
    for (const TextRow& row : s_texts)
    {
        std::string expected = "\"";
        for (const char c : row.m_json)
            c == 'R' ? expected += "\xEF\xBF\xBD" : expected += c;
        EXPECT_EQ(Quoted(row.m_text), expected + "\"");
    }
}

} // namespace

} // namespace kelm
