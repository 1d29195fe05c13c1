#include <kelmLanguage/JsonTape.h>

#include <gmock/gmock.h>

namespace kelm::language
{

namespace
{

// The tape of a text, each value as what it is and where it stands in the text; or what is wrong, and where.
std::string Taped(const std::string& text)
{
    JsonFault fault;
    const std::optional<JsonTape> tape = JsonTape::Read(text, fault);
    if (!tape)
        return std::to_string(fault.m_place) + ": " + fault.m_message;
    static constexpr char s_kinds[] = "0bntaoN"; // as JsonKind has them
    std::string shown;
    for (std::size_t i = 0; i < tape->size(); ++i)
    {
        const JsonValue& value = (*tape)[i];
        shown += s_kinds[static_cast<std::size_t>(value.m_kind)];
        shown += "<" + text.substr(value.m_begin, value.m_end - value.m_begin) + ">";
        shown += std::to_string(value.m_next) + " ";
    }
    return shown;
}

struct Row
{
    std::string m_text;
    std::string m_tape;
};

const Row s_rows[] = {
    {"null", "0<null>1 "},
    {" true\n", "b<true>1 "},
    {"-1.5e+3", "n<-1.5e+3>1 "},
    {"[1,2 ,\t3]", "a<[1,2 ,\t3]>4 n<1>2 n<2>3 n<3>4 "},
    {"[[],[1],{}]", "a<[[],[1],{}]>5 a<[]>2 a<[1]>4 n<1>4 o<{}>5 "},
    {"{\"a\":1,\"b\":[2]}", "o<{\"a\":1,\"b\":[2]}>6 N<\"a\">2 n<1>3 N<\"b\">4 a<[2]>6 n<2>6 "},
    {R"(["a\"]","\\",""])", R"(a<["a\"]","\\",""]>4 t<"a\"]">2 t<"\\">3 t<"">4 )"},
    {"// [\n[1/*,*/,/* ] */2]// x", "a<[1/*,*/,/* ] */2]>3 n<1>2 n<2>3 "},
    {"[1//\n]", "a<[1//\n]>2 n<1>2 "},
    {"18446744073709551616", "n<18446744073709551616>1 "},

    {"[1,]", "3: it is no JSON: syntax error while parsing value - unexpected ']'; expected '[', '{', or a literal"},
    {"[1e999]", "5: it is no JSON: number overflow parsing '1e999'"},
    {"[\"\xFF\"]", "2: it is no JSON: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; last "
                   "read: '\"\xFF'"},
    {"1 2", "2: it is no JSON: syntax error while parsing value - unexpected number literal; expected end of input"},
    {"{\"a\":{\"a\":1},\"a\":2}", "13: member 'a' is written twice"},
    {"[/* \"]",
     "6: it is no JSON: syntax error while parsing value - invalid comment; missing closing '*/'; last read: "
     "'[/* \"]'"},
};

TEST(JsonTape, TellsValuesAndTheirPlaces)
{
    for (const Row& row : s_rows)
        EXPECT_EQ(Taped(row.m_text), row.m_tape) << row.m_text;
}

TEST(JsonTape, TellsCharactersOfTexts)
{
    JsonFault fault;
    const std::string text = R"({"a\u0062":"\u00e9\u0000","plain":"\ud83c\udf31"})";
    const std::optional<JsonTape> read = JsonTape::Read(text, fault);
    ASSERT_TRUE(read);
    EXPECT_EQ((*read)[1].m_text, "ab");
    EXPECT_EQ((*read)[2].m_text, std::string_view("\xC3\xA9\0", 3));
    EXPECT_EQ((*read)[3].m_text, "plain");
    EXPECT_EQ((*read)[4].m_text, "\xF0\x9F\x8C\xB1");
}

TEST(JsonTape, RefusesTooManyLevels)
{
    EXPECT_EQ(Taped(std::string(1001, '[')), "1000: values are nested to more than 1000 levels");
    EXPECT_EQ(Taped(std::string(1000, '[') + std::string(1000, ']')).substr(0, 4), "a<[[");
}

} // namespace

} // namespace kelm::language
