#include <kelm/kelm.h>
#include <kelm/private/errors/Hints.h>

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace hinted
{

enum class Kind
{
    knight,
    mage,
};

struct Place
{
    double x = 0;
    double y = 0;
};

struct Hero
{
    std::string name;
    Kind kind = Kind::knight;
    Place place;
    std::vector<int> marks;
    std::map<std::string, int> scores;
    std::pair<int, int> pair;
    std::variant<int, std::string> extra;
    std::chrono::seconds delay{1};
    bool isAlive = true;
};

} // namespace hinted

KELM_DESCRIBE_ENUM(hinted::Kind, knight, mage)
KELM_DESCRIBE(hinted::Place, x, y)
KELM_DESCRIBE(hinted::Hero, name, kind, place, marks, scores, pair, extra, delay, isAlive)

namespace kelm
{

namespace
{

struct Row
{
    const char* m_text;
    const char* m_hint; // empty for none
};

template <class F>
void ExpectHints(std::span<const Row> rows, const F& tryIt)
{
    for (const Row& row : rows)
    {
        const Error error = tryIt(row.m_text);
        EXPECT_EQ(error.GetHint(), row.m_hint) << row.m_text << "\n" << error.what();
        const std::string line = std::string(error.what()).substr(0, std::string(error.what()).find('\n'));
        const bool isShown = *row.m_hint != 0 && error.GetSuggestions().empty();
        EXPECT_EQ(line.ends_with(std::string("; ") + row.m_hint), isShown) << line;
    }
}

TEST(Hints, TellHowFilesAreWritten)
{
    constexpr const char* noCommas = "nothing stands between members, no comma either";
    constexpr const char* entries = "an entry is written key -> value";
    constexpr const char* lists = "lists and maps stand in square brackets: [1, 2], [\"a\" -> 1]";
    constexpr const char* names =
        "enumerators stand without quotes, and before a variant's value stands the name of its alternative";
    constexpr const char* aName =
        "a name stands here: an enumerator's, a class's, or before a variant's value that of its alternative";
    constexpr const char* durations =
        "a duration is a number and ns, us, ms, s, min or h, and whole in what the member counts";
    constexpr Row rows[] = {
        {"{ name = 'a', kind = mage }", noCommas},
        {"{ place = { x = 1 , y = 2 } }", noCommas},
        {"{ name = 'a'; kind = mage }", "nothing stands between members, no semicolon either"},
        {"{ name = 'a' # hero\n }", "comments that end a line begin with //"},
        {"{ name = 'a' ", "a } is missing"},
        {"// a comment alone\n", ""},
        {"{ name: 'a' }", "a member is written name = value"},
        {"{ \"name\" = 'a' }", "names stand without quotes"},
        {"{ kind = 'mage' }", names},
        {"{ extra = 'a' }", names},
        {"{ extra = 5 }", aName},
        {"{ extra = { x = 1 } }", aName},
        {"{ kind = 1.5 }", aName},
        {"{ name = Ann }", "a text stands in quotes: \"Ann\""},
        {"{ name = and }", "a text stands in quotes: \"and\""},
        {"{ name = 5 }", ""},
        {"{ scores = ['a': 1] }", entries},
        {"{ scores = ['a' = 1] }", entries},
        {"{ scores = ['a' => 1] }", entries},
        {"{ scores = { a = 1 } }", lists},
        {"{ marks = { 1, 2 } }", lists},
        {"{ pair = (1, 2) }", "lists and pairs stand in square brackets: [1, 2]"},
        {"{ place = [1, 2] }", "members stand in braces by name, in parentheses in their order"},
        {"{ isAlive = yes }", "a bool is true or false"},
        {"{ isAlive = 1 }", "a bool is true or false"},
        {"{ delay = 5 }", "a duration stands in quotes with its unit: \"250ms\""},
        {"{ delay = '1500ms' }", durations},
        {"{ delay = \"5 s\" }", durations},
        {"{ kind = Mage }", ""}, // the nearest name says it
        {"", ""},
        {"5", ""},
    };
    ExpectHints(rows, [](const char* text) { return TryRead<hinted::Hero>(text).GetError(); });
}

TEST(Hints, TellHowPathsAreWritten)
{
    hinted::Hero hero;
    hero.marks = {1, 2};
    hero.scores = {{"a", 1}};
    constexpr Row rows[] = {
        {"marks[1]", "a path begins with a dot: .marks"},
        {"name", "a path begins with a dot: .name"},
        {".marks.1", "elements are reached by [1], not by .1"},
        {".scores.a", "what a map holds is named by its key: [\"a\"]"},
        {".pair.first", "the parts of a pair are [0] and [1]"},
        {".place.,", ""},
        {".place.x y", ""},
        {".nmae", ""},
    };
    ExpectHints(rows, [&](const char* text) { return TryGet<int>(hero, text).GetError(); });
}

TEST(Hints, TellHowExpressionsAreWritten)
{
    hinted::Hero hero;
    double x = 2;
    Scope scope;
    scope.Bind("hero", hero).Bind("x", x);
    constexpr Row rows[] = {
        {"x > 1 and x < 3", "the operator is &&"},
        {"(x > 1 or x < 3)", "the operator is ||"},
        {"not x", "the operator is !"},
        {"x ** 2", "the operator is ^^"},
        {"x <> 2", "the operator is !="},
        {"'x is ' + x", "string(x) makes a text of a number"},
        {"x + '!'", "string(x) makes a text of a number"},
        {"x - '!'", ""},
        {"hero.name.length", "len(x) counts elements, and the octets of a text"},
        {"hero.marks.size()", "len(x) counts elements, and the octets of a text"},
        {"hero.scores.a", "what a map holds is named by its key: [\"a\"]"},
        {"x != null", "has(x) asks whether there is something"},
        {"hero.nmae", ""},
        {"x +", ""},
    };
    ExpectHints(rows, [&](const char* text) { return TryEvaluate(text, scope).GetError(); });
}

TEST(Hints, AreForShortWords)
{
    const std::string word(65, 'a');
    EXPECT_EQ(HintFor("Expected string when read a", "{ name = " + word, 9), "");
    EXPECT_EQ(HintFor("Expected string when read a", "{ name = " + word.substr(1), 9),
              "a text stands in quotes: \"" + word.substr(1) + "\"");
    EXPECT_EQ(HintFor("Expected string when read end of text", "{ name =", 8), "");
    EXPECT_EQ(HintFor("Expected string when read end of text", "", 5), "");
    EXPECT_EQ(HintFor("Expected end of text when read .", ".kind.x", 5),
              "what stands before has no members that a path reaches");
    constexpr const char* atEnd = "Expected identifier when read end of text";
    EXPECT_EQ(HintFor(atEnd, "// a {\n", 7), "");
    EXPECT_EQ(HintFor(atEnd,
                      "\xEF\xBB\xBF"
                      "A { // b\n",
                      12),
              "a } is missing");
    for (const std::string text : {"// a\rA { }\r", "# a\rA { }", "A { // b\n // c\r}"})
        EXPECT_EQ(HintFor(atEnd, text, text.size()),
                  "a comment ends at a line feed, and goes on behind a carriage return alone");
    EXPECT_EQ(HintFor(atEnd, "A { // b\r\n", 10), "a } is missing");
}

} // namespace

} // namespace kelm
