#include <kelm/private/errors/Suggest.h>

#include <kelm/private/types/Names.h>

#include <klObject/types/Registry.h>
#include <klUtils/types.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace kelm
{

namespace
{

constexpr std::size_t s_maxSuggestions = 3;
constexpr std::size_t s_maxLead = 1; // of the nearest name before others

// However long a name is: what differs in more is another name.
constexpr std::size_t s_maxDistance = 16;

char LowerCase(char c)
{
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whichever is smaller, of the whole names or of their last parts, of which the written name's is found once. Nothing
// where too little of the last parts is the same.
std::optional<std::size_t> NameDistance(std::string_view wanted, std::string_view wantedPart, std::string_view existing)
{
    const std::string_view existingPart = LastPart(existing);
    const std::size_t limit = std::min((std::max(wantedPart.size(), existingPart.size()) + 1) / 3, s_maxDistance);
    const std::optional<std::size_t> ofParts = EditDistance(wantedPart, existingPart, limit);
    if (wantedPart.size() == wanted.size() && existingPart.size() == existing.size())
        return ofParts;
    const std::optional<std::size_t> ofNames = EditDistance(wanted, existing, ofParts.value_or(limit));
    return ofNames ? ofNames : ofParts;
}

// The forms of the messages about names that do not exist, and what exists in their place.
struct MessageForm
{
    std::string_view m_before;
    std::string_view m_between;
    std::string_view m_behind = {};
    std::vector<std::string> (*m_getNames)(const std::string& owner); // the text after m_between, m_behind cut off
    bool m_isClass = false;
    bool m_isAtName = false;
};

template <auto Find, auto GetNames>
std::vector<std::string> NamesOf(const std::string& owner)
{
    const auto* const descriptor = Find(owner.c_str());
    return descriptor != nullptr ? GetNames(*descriptor) : std::vector<std::string>();
}

constexpr MessageForm s_messageForms[] = {
    {.m_before = "'",
     .m_between = "' is not a registered class name",
     .m_getNames = [](const std::string&) { return CreatableClassNames(); },
     .m_isClass = true},
    {.m_before = "Unknown member '",
     .m_between = "' of class ",
     .m_getNames = NamesOf<TryFindReflectedClass, MemberNames>},
    {.m_before = "Unknown member '",
     .m_between = "' of enum ",
     .m_getNames = NamesOf<TryFindReflectedEnum, EnumeratorNames>},
    {.m_before = "Unknown member '",
     .m_between = "' of variant ",
     .m_getNames = NamesOf<TryFindReflectedVariant, AlternativeNames>},
    {.m_before = "Identifier ",
     .m_between = " is not a model field of class ",
     .m_getNames = NamesOf<TryFindReflectedClass, ModelFieldNames>,
     .m_isAtName = true},
    {.m_before = "Unexpected ",
     .m_between = " after ",
     .m_behind = " in expression",
     .m_getNames = [](const std::string&) { return BuiltInNames(); },
     .m_isAtName = true},
};

// What broken invariants of the library mean where bad input reaches them.
struct Explanation
{
    std::string_view m_condition;
    std::string_view m_file;
    std::string_view m_text;
};

constexpr Explanation s_explanations[] = {
    {"0", "src/ParseFieldPath", "a path does not reach a map or a set"},
    {"!isConst", "src/ParseFieldPath", "a path does not reach a const field"},
    {"rf.m_rsn2 == -1", "src/ParseFieldPath", "this field was dropped from the class"},
    {"rc.m_modelFields", "src/ParseFieldPath", "the class has no model, so no path leads into it"},
    {"0", "src/KSValue", "the language refuses subscripts and len of strings"},
    {"p", "src/ParseDataSource", "a persistent reference takes an object, not null"},
    {"Utf16FromUtf8(dst,src)", "src/ParseDataSource", "the text of a 16-bit string is not UTF-8"},
};

std::string Listed(const std::vector<std::string>& names, std::string_view beforeLast)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const bool isLast = i + 1 == names.size();
        text += i == 0 ? "" : isLast ? beforeLast : ", ";
        text += names[i];
    }
    return text;
}

struct NameAndOwner
{
    std::string m_name;
    std::string m_owner;
};

std::optional<NameAndOwner> Match(std::string_view message, const MessageForm& form)
{
    if (!message.starts_with(form.m_before) || !message.ends_with(form.m_behind))
        return std::nullopt;
    message.remove_prefix(form.m_before.size());
    message.remove_suffix(std::min(form.m_behind.size(), message.size()));
    const std::size_t between = message.find(form.m_between);
    if (between == std::string_view::npos)
        return std::nullopt;
    return NameAndOwner{std::string(message.substr(0, between)),
                        std::string(message.substr(between + form.m_between.size()))};
}

} // namespace

std::optional<std::size_t> EditDistance(std::string_view a, std::string_view b, std::size_t limit)
{
    if (a.size() > b.size())
        std::swap(a, b);
    if (b.size() - a.size() > limit)
        return std::nullopt;
    // Row i holds the distances of the first i characters of `a` to those beginnings of `b` that are shorter or longer
    // by no more than the limit: the one to the first j stands at j - i + limit. Three rows are kept.
    const std::size_t tooFar = limit + 1;
    const std::size_t width = 2 * limit + 1;
    std::vector<std::size_t> beforeLast(width, tooFar);
    std::vector<std::size_t> last(width, tooFar);
    std::vector<std::size_t> row(width, tooFar);
    for (std::size_t j = 0; j <= limit; ++j)
        row[j + limit] = j;
    for (std::size_t i = 1; i <= a.size(); ++i)
    {
        std::swap(beforeLast, last);
        std::swap(last, row);
        std::size_t least = tooFar;
        for (std::size_t at = 0; at < width; ++at)
        {
            row[at] = tooFar;
            if (at + i < limit || at + i - limit > b.size())
                continue;
            const std::size_t j = at + i - limit;
            std::size_t& distance = row[at];
            const auto isSame = [&](std::size_t m, std::size_t n) { return LowerCase(a[m]) == LowerCase(b[n]); };
            if (j > 0)
                distance = std::min(distance, last[at] + (isSame(i - 1, j - 1) ? 0 : 1));
            if (at > 0)
                distance = std::min(distance, row[at - 1] + 1);
            if (at + 1 < width)
                distance = std::min(distance, last[at + 1] + 1);
            if (i > 1 && j > 1 && isSame(i - 1, j - 2) && isSame(i - 2, j - 1))
                distance = std::min(distance, beforeLast[at] + 1);
            least = std::min(least, distance);
        }
        if (least == tooFar)
            return std::nullopt;
    }
    const std::size_t distance = row[b.size() - a.size() + limit];
    return distance <= limit ? std::optional(distance) : std::nullopt;
}

std::vector<std::string> NearestNames(std::string_view name, const std::vector<std::string>& names)
{
    std::vector<std::pair<std::size_t, std::string>> near;
    const std::string_view lastPart = LastPart(name);
    for (const std::string& existing : names)
        if (const std::optional<std::size_t> distance = NameDistance(name, lastPart, existing))
            near.emplace_back(*distance, existing);
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end()); // a name may hide another one
    std::vector<std::string> nearest;
    for (auto& [distance, existing] : near)
        if (nearest.size() < s_maxSuggestions && distance <= near.front().first + s_maxLead)
            nearest.push_back(std::move(existing));
    return nearest;
}

std::string ThereAre(const std::vector<std::string>& names)
{
    constexpr std::size_t most = 10;
    if (names.empty() || names.size() > most)
        return {};
    return (names.size() == 1 ? "there is " : "there are ") + Listed(names, " and ");
}

std::string DidYouMean(const std::vector<std::string>& names)
{
    return names.empty() ? "" : "did you mean " + Listed(names, " or ") + "?";
}

std::string_view Explain(const KelmAssertionError& error)
{
    for (const Explanation& explanation : s_explanations)
        if (error.m_condition.view() == explanation.m_condition && error.m_file.view() == explanation.m_file)
            return explanation.m_text;
    return {};
}

std::string UnknownName::TellExisting() const
{
    const std::string question = DidYouMean(NearestNames(m_name, m_existing));
    return question.empty() ? ThereAre(m_existing) : question;
}

std::optional<UnknownName> FindUnknownName(std::string_view message)
{
    for (const MessageForm& form : s_messageForms)
        if (std::optional<NameAndOwner> unknown = Match(message, form))
            return UnknownName{std::move(unknown->m_name), form.m_getNames(unknown->m_owner), form.m_isClass,
                               form.m_isAtName};
    return std::nullopt;
}

} // namespace kelm
