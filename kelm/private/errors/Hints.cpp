#include <kelm/private/errors/Hints.h>

#include <kelm/private/errors/Source.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/Scan.h>

#include <algorithm>
#include <iterator>

namespace kelm
{

namespace
{

// Where the token stands that an error is about, by what is before it.
enum class Where : uint8
{
    Anywhere,
    Beginning, // of the text
    Path,      // behind a dot or colon
    Value,     // behind what a value follows
    Member,    // elsewhere in brackets: a member may begin, or they may end
    Outside,   // behind comments or names alone
};

struct Situation
{
    std::string_view m_message;
    std::string_view m_before; // the text to the end of the token's first character
    std::string_view m_word;   // that stands at the place, if one does
    Where m_where;
};

// Not in comments.
bool HasBracket(std::string_view text)
{
    text = WithoutByteOrderMark(text);
    const char* const end = text.data() + text.size();
    text::Lexeme lexeme;
    bool isFirst = true;
    for (const char* p = text.data(); text::ScanToken(p, end, isFirst, lexeme); p = lexeme.m_past)
    {
        if (lexeme.m_kind == TOKEN_LEFT_CURLY || lexeme.m_kind == TOKEN_LEFT_PAREN || lexeme.m_kind == TOKEN_END)
            return lexeme.m_kind != TOKEN_END;
        isFirst = false;
    }
    return false;
}

Where WhereBehind(std::string_view text)
{
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    if (last == std::string_view::npos)
        return Where::Beginning;
    const bool isInBody = HasBracket(text);
    if (text[last] == '.' || text[last] == ':')
        return Where::Path;
    const bool isArrow = text[last] == '>' && last > 0 && text[last - 1] == '-';
    return isArrow || std::string_view("=[(,").find(text[last]) != std::string_view::npos ? Where::Value
           : isInBody                                                                     ? Where::Member
                                                                                          : Where::Outside;
}

// A message by how it begins and ends.
struct Form
{
    std::string_view m_begin;
    std::string_view m_end;
    Where m_where;
    std::string_view m_hint;
};

// The first that fits decides.
constexpr Form s_forms[] = {
    // Data sources.
    {"Expected identifier when read ,", "", Where::Member, "nothing stands between members, no comma either"},
    {"Expected identifier when read ;", "", Where::Member, "nothing stands between members, no semicolon either"},
    {"Expected identifier when read #", "", Where::Member, "comments that end a line begin with //"},
    {"Expected identifier when read end of text", "", Where::Member, "a } is missing"},
    {"Expected identifier when read ", "\"", Where::Member, "names stand without quotes"},
    {"Expected identifier when read ", "'", Where::Member, "names stand without quotes"},
    {"Expected identifier when read ", "\"", Where::Value,
     "enumerators stand without quotes, and before a variant's value stands the name of its alternative"},
    {"Expected identifier when read ", "'", Where::Value,
     "enumerators stand without quotes, and before a variant's value stands the name of its alternative"},
    {"Expected identifier when read ", "", Where::Value,
     "a name stands here: an enumerator's, a class's, or before a variant's value that of its alternative"},
    {"Expected = when read :", "", Where::Anywhere, "a member is written name = value"},
    {"Expected -> when read :", "", Where::Anywhere, "an entry is written key -> value"},
    {"Expected -> when read =", "", Where::Anywhere, "an entry is written key -> value"},
    {"Expected [ when read {", "", Where::Anywhere, "lists and maps stand in square brackets: [1, 2], [\"a\" -> 1]"},
    {"Expected [ when read (", "", Where::Anywhere, "lists and pairs stand in square brackets: [1, 2]"},
    {"Expected { when read [", "", Where::Anywhere, "members stand in braces by name, in parentheses in their order"},
    {"Expected bool when read ", "", Where::Anywhere, "a bool is true or false"},
    {"Expected duration when read ", "\"", Where::Anywhere,
     "a duration is a number and ns, us, ms, s, min or h, and whole in what the member counts"},
    {"Expected duration when read ", "'", Where::Anywhere,
     "a duration is a number and ns, us, ms, s, min or h, and whole in what the member counts"},
    {"Expected duration when read ", "", Where::Anywhere, "a duration stands in quotes with its unit: \"250ms\""},
    // Paths.
    {"Expected end of text when read .", " .", Where::Anywhere,
     "what stands before has no members that a path reaches"},
    {"Expected end of text when read .", "", Where::Anywhere, "elements are reached by [1], not by .1"},
    // Expressions.
    {"Incompatible types (string and ", ") for + operation", Where::Anywhere, "string(x) makes a text of a number"},
    {"Incompatible types (", " and string) for + operation", Where::Anywhere, "string(x) makes a text of a number"},
    {". not available on tuple", "", Where::Anywhere, "the parts of a pair are [0] and [1]"},
};

std::string HintForForm(const Situation& situation)
{
    const auto fits = [&](const Form& form)
    {
        return situation.m_message.starts_with(form.m_begin) && situation.m_message.ends_with(form.m_end) &&
               (form.m_where == Where::Anywhere || form.m_where == situation.m_where);
    };
    const Form* const form = std::find_if(std::begin(s_forms), std::end(s_forms), fits);
    return form != std::end(s_forms) ? std::string(form->m_hint) : std::string();
}

// What other languages call an operator of ours, and what their objects have where we have functions.
struct Spelling
{
    std::string_view m_written;
    std::string_view m_hint;
    bool m_isName = false;
};

constexpr Spelling s_spellings[] = {
    {"and", "the operator is &&"},
    {"or", "the operator is ||"},
    {"not", "the operator is !"},
    {"mod", "the operator is %"},
    {"xor", "the operator is ^"},
    {"**", "the operator is ^^"},
    {"===", "the operator is =="},
    {"!==", "the operator is !="},
    {"<>", "the operator is !="},
    {"null", "has(x) asks whether there is something", true},
    {"length", "len(x) counts elements, and the octets of a text", true},
    {"size", "len(x) counts elements, and the octets of a text", true},
};

template <class... Words>
bool BeginsWithOne(std::string_view message, Words... words)
{
    return (message.starts_with(words) || ...);
}

std::string HintForSpelling(const Situation& situation)
{
    const bool isName = BeginsWithOne(situation.m_message, "Unknown name ", ". not available on ");
    if (!isName && !BeginsWithOne(situation.m_message, "Unexpected ", "Expected "))
        return {};
    for (const Spelling& spelling : s_spellings)
        if ((isName || !spelling.m_isName) &&
            (situation.m_word.empty() ? situation.m_before.ends_with(spelling.m_written)
                                      : situation.m_word == spelling.m_written))
            return std::string(spelling.m_hint);
    return {};
}

// With the word itself.
std::string HintForWord(const Situation& situation)
{
    constexpr std::size_t longest = 64;
    const std::string_view message = situation.m_message;
    const std::string word(situation.m_word.substr(0, longest));
    if (word.empty() || word.size() != situation.m_word.size() || ('0' <= word[0] && word[0] <= '9'))
        return {};
    if (message == ". not available on map")
        return "what a map holds is named by its key: [\"" + word + "\"]";
    if (message.starts_with("Expected string when read "))
        return "a text stands in quotes: \"" + word + "\"";
    if (message.starts_with("Expected end of text when read ") && situation.m_where == Where::Beginning)
        return "a path begins with a dot: ." + word;
    return {};
}

// Where a comment has taken in lines that end otherwise than lines do here.
std::string HintForLineEnds(const Situation& situation)
{
    if (!situation.m_message.ends_with(" end of text"))
        return {};
    const std::string_view line = situation.m_before.substr(situation.m_before.rfind('\n') + 1);
    const std::size_t comment = line.starts_with('#') ? 0 : line.find("//");
    if (comment == std::string_view::npos || line.find('\r', comment) == std::string_view::npos)
        return {};
    return "a comment ends at a line feed, and goes on behind a carriage return alone";
}

constexpr std::string (*s_hints[])(const Situation&) = {HintForLineEnds, HintForWord, HintForSpelling, HintForForm};

} // namespace

std::string HintFor(std::string_view message, std::string_view text, std::size_t offset)
{
    const std::string_view rest = text.substr(std::min(offset, text.size()));
    const auto* const end = std::find_if_not(rest.begin(), rest.end(), IsIdentifierCharacter);
    const Situation situation{message, text.substr(0, offset + 1), std::string_view(rest.begin(), end),
                              WhereBehind(text.substr(0, offset))};
    for (const auto hintFor : s_hints)
        if (std::string hint = hintFor(situation); !hint.empty())
            return hint;
    return {};
}

} // namespace kelm
