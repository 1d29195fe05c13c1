#include <kelmDocument/private/Layout.h>

#include <kelmDocument/Format.h>

#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace kelm::editing
{

namespace
{

constexpr std::string_view s_indent = "    ";
constexpr std::string_view s_blanks = " \t\v\f\r";

bool IsSpace(char c)
{
    return c == '\n' || s_blanks.find(c) != std::string_view::npos;
}

bool IsLineComment(std::string_view comment)
{
    return !comment.starts_with("/*");
}

// Whether two texts side by side would be other tokens than apart.
bool WouldJoin(std::string_view before, std::string_view behind)
{
    return !before.empty() && !behind.empty() && IsInWord(before.back()) && IsInWord(behind.front());
}

std::ptrdiff_t CountBreaks(std::string_view space)
{
    return std::count(space.begin(), space.end(), '\n');
}

} // namespace

bool IsInWord(char c)
{
    return IsIdentifierCharacter(c) || c == '.';
}

std::string Apart(std::string_view before, std::string_view text, std::string_view behind)
{
    const bool joinsBefore = WouldJoin(before, text.empty() ? behind : text);
    const bool joinsBehind = WouldJoin(text, behind);
    return std::string(joinsBefore ? " " : "") + std::string(text) + (joinsBehind ? " " : "");
}

std::string Spaced(const std::string& value)
{
    if (value.find_first_of("[({") == std::string::npos)
        return value;
    constexpr std::string_view before = "{ v = ";
    constexpr std::string_view behind = " }\n";
    const Result<std::string> text =
        Format(std::string(before) + value + std::string(behind), {.m_width = std::numeric_limits<std::size_t>::max()});
    return text ? text->substr(before.size(), text->size() - before.size() - behind.size()) : value;
}

Part PartAt(const Document& document, std::size_t at)
{
    PartWalk walk(document, {at, document.GetText().size()});
    Part part{};
    walk.Next(part);
    return part;
}

std::vector<Item> ItemsOf(const Document& document, const Part& brackets)
{
    std::vector<Item> items;
    ItemWalk walk(document, brackets);
    for (Item item; walk.Next(item);)
        items.push_back(item);
    return items;
}

std::optional<Part> BracketsOf(const Document& document, Span value)
{
    PartWalk walk(document, value);
    for (Part part{}; walk.NextToken(part);)
        if (part.m_kind == PartKind::Brackets)
            return part;
    return std::nullopt;
}

// An item with its comments and its comma.
struct Layout::Group
{
    Span m_span;
    Span m_behind; // the comments behind it; empty for none
};

// The items beside a place, or from the first one on; and which of them it is.
struct Layout::Surroundings
{
    std::vector<Item> m_items;
    std::size_t m_index;
};

Layout::Surroundings Layout::Around(const Part& brackets, const ItemPlace& place) const
{
    const bool isNear = place.m_lead != 0;
    Surroundings around{{}, isNear ? ItemPlace::s_numBefore : place.m_index};
    ItemWalk walk = isNear ? ItemWalk(m_document, brackets, place.m_lead) : ItemWalk(m_document, brackets);
    for (Item item; around.m_items.size() < around.m_index + 2 && walk.Next(item);)
        around.m_items.push_back(item);
    return around;
}

std::vector<Part> Layout::PartsOf(Span span) const
{
    std::vector<Part> parts;
    PartWalk walk(m_document, span);
    for (Part part{}; walk.Next(part);)
        parts.push_back(part);
    return parts;
}

std::size_t Layout::LineStart(std::size_t at) const
{
    const std::size_t end = at == 0 ? std::string_view::npos : GetText().rfind('\n', at - 1);
    return end == std::string_view::npos ? 0 : end + 1;
}

bool Layout::IsBlank(Span span) const
{
    return span.In(GetText()).find_first_not_of(s_blanks) == std::string_view::npos;
}

// Whether nothing but blanks is before it there. Lines can be as long as texts.
bool Layout::BeginsLine(std::size_t at) const
{
    const std::size_t last = at == 0 ? std::string_view::npos : GetText().find_last_not_of(s_blanks, at - 1);
    return last == std::string_view::npos || GetText()[last] == '\n';
}

// Whether nothing but blanks is behind it there.
bool Layout::EndsLine(std::size_t at) const
{
    const std::size_t next = GetText().find_first_not_of(s_blanks, at);
    return next == std::string_view::npos || GetText()[next] == '\n';
}

// Of the line there.
std::string Layout::IndentAt(std::size_t at) const
{
    const std::size_t start = LineStart(at);
    const std::size_t end = std::min(GetText().find_first_not_of(" \t", start), GetText().size());
    return std::string(GetText().substr(start, end - start));
}

// Of comments with white space between them.
bool Layout::EndsInLineComment(Span comments) const
{
    const std::vector<Part> parts = PartsOf(comments);
    return !parts.empty() && IsLineComment(parts.back().m_span.In(GetText()));
}

// A new line up to an item. The comments above it begin where they can be comments.
std::string Layout::LineWith(const std::string& indent, const NewItem& item) const
{
    return item.m_above.starts_with('#') ? item.m_above : indent + item.m_above;
}

std::string Layout::NewLine() const
{
    const std::size_t at = GetText().find('\n');
    return at != std::string_view::npos && at > 0 && GetText()[at - 1] == '\r' ? "\r\n" : "\n";
}

Layout::Group Layout::GroupOf(const Part& brackets, const std::vector<Item>& items, std::size_t index) const
{
    const Item& item = items[index];
    const bool hasCommas = brackets.m_token != TOKEN_LEFT_CURLY;
    const std::size_t before = index == 0 ? brackets.GetInside().m_begin : items[index - 1].GetEnd();
    const bool isLast = index + 1 == items.size();
    const std::size_t next = isLast ? brackets.GetInside().m_end : items[index + 1].m_span.m_begin;

    // On the line of what stands before it, a comment is that one's, unless this item is on the same line.
    std::size_t begin = item.m_span.m_begin;
    const std::vector<Part> above = PartsOf({before, begin});
    const bool isOnSameLine = CountBreaks(Span{before, begin}.In(GetText())) == 0;
    if (!isOnSameLine || hasCommas || index == 0)
        for (std::size_t i = above.size(); i-- > 0;)
        {
            const std::string_view text = above[i].m_span.In(GetText());
            if (above[i].m_kind != PartKind::Comment)
            {
                if (CountBreaks(text) > 1)
                    break;
                continue;
            }
            if (!isOnSameLine && CountBreaks(Span{before, above[i].m_span.m_begin}.In(GetText())) == 0)
                break;
            begin = above[i].m_span.m_begin;
        }

    // Behind it: up to the comma, and on its last line if no other item follows there.
    std::size_t end = item.GetEnd();
    Span behind{end, end};
    const std::vector<Part> following = PartsOf({end, next});
    const bool isFollowed = !isLast && CountBreaks(Span{end, next}.In(GetText())) == 0;
    if (!isFollowed || !hasCommas)
        for (const Part& part : following)
        {
            if (part.m_kind != PartKind::Comment)
            {
                if (CountBreaks(part.m_span.In(GetText())) > 0)
                    break;
                continue;
            }
            if (behind.IsEmpty())
                behind.m_begin = part.m_span.m_begin;
            behind.m_end = end = part.m_span.m_end;
        }
    return {{begin, end}, behind};
}

// What is to be taken out so that neither a blank line nor blanks too many are left.
Span Layout::WithSpace(Span removed) const
{
    const std::string_view text = GetText();
    const std::size_t behind = std::min(text.find_first_not_of(s_blanks, removed.m_end), text.size());
    const bool beginsLine = BeginsLine(removed.m_begin);
    if (beginsLine && behind < text.size() && text[behind] == '\n')
        return {LineStart(removed.m_begin), behind + 1};
    std::size_t begin = removed.m_begin;
    while (begin > 0 && IsSpace(text[begin - 1]) && text[begin - 1] != '\n')
        --begin;
    std::size_t end = removed.m_end;
    while (end < text.size() && IsSpace(text[end]) && text[end] != '\n' && text[end] != '\r')
        ++end;
    const char former = begin > 0 ? text[begin - 1] : '\n';
    const bool endsLine = end == text.size() || text[end] == '\n' || text[end] == '\r';
    if (beginsLine || former == '{' || former == '[' || former == '(')
        return {endsLine && !beginsLine ? begin : removed.m_begin, end};
    const char latter = removed.m_end < text.size() ? text[removed.m_end] : '\n';
    if (IsSpace(latter) || latter == ']' || latter == ')' || latter == '}' || latter == ',')
        return {begin, removed.m_end};
    return removed;
}

// By tokens, which stay apart from their neighbours.
void Layout::Replace(Span removed, std::string_view text)
{
    m_document.Edit(removed, Apart(GetText().substr(0, removed.m_begin), text, GetText().substr(removed.m_end)));
}

void Layout::ReplaceValue(Span value, std::string_view text)
{
    std::vector<Part> tokens;
    bool hasComments = false;
    for (const Part& part : PartsOf(value))
        if (!part.IsPassed())
            tokens.push_back(part);
        else
            hasComments |= part.m_kind == PartKind::Comment;
    const bool hasBrackets =
        std::any_of(tokens.begin(), tokens.end(), [](const Part& part) { return part.m_kind == PartKind::Brackets; });
    if (!hasComments || hasBrackets)
        return Replace(value, text);
    for (std::size_t i = tokens.size(); i-- > 1;)
        Replace(tokens[i].m_span, "");
    Replace(tokens.front().m_span, text);
}

void Layout::RemoveItem(const Part& brackets, const ItemPlace& place)
{
    const auto& [items, index] = Around(brackets, place);
    const Group group = GroupOf(brackets, items, index);
    Replace(WithSpace(group.m_span), "");
    if (index > 0 && index + 1 == items.size() && !items[index - 1].m_separator.IsEmpty())
        m_document.Edit(items[index - 1].m_separator, "");
}

NewItem Layout::GetItem(const Part& brackets, const ItemPlace& place) const
{
    const auto& [items, index] = Around(brackets, place);
    const Item& item = items[index];
    const Group group = GroupOf(brackets, items, index);
    // A comment between it and its comma stays before the comma.
    const std::size_t end = item.m_separator.IsEmpty() ? item.m_span.m_end : item.m_separator.m_begin;
    std::string text(Span{item.m_span.m_begin, end}.In(GetText()));
    while (!text.empty() && IsSpace(text.back()) && PartsOf({item.m_span.m_end, end}).size() <= 1)
        text.pop_back();
    const std::string before(Span{group.m_span.m_begin, item.m_span.m_begin}.In(GetText()));
    const bool isAbove = CountBreaks(before) > 0;
    return {.m_text = (isAbove ? "" : before) + text,
            .m_above = isAbove ? before : std::string(),
            .m_behind = std::string(group.m_behind.In(GetText()))};
}

// A member with what stands around its equals sign: as with a neighbour, in the neighbours' column if they have one.
std::string Layout::MemberText(const std::vector<Item>& items, std::size_t index, const NewItem& item) const
{
    if (item.m_name.empty())
        return item.m_text;
    struct Sides
    {
        std::size_t m_name;
        std::string_view m_before;
        std::string_view m_behind;
        std::size_t GetColumn() const { return m_name + m_before.size(); }
    };
    const auto sidesOf = [&](const Item& neighbour) -> std::optional<Sides>
    {
        for (const Part& part : PartsOf({neighbour.m_name.m_end, neighbour.m_value.m_begin}))
            if (part.Is(TOKEN_EQUAL))
            {
                const Span before{neighbour.m_name.m_end, part.m_span.m_begin};
                const Span behind{part.m_span.m_end, neighbour.m_value.m_begin};
                const bool isPlain = before.In(GetText()).find_first_not_of(" \t") == std::string_view::npos &&
                                     behind.In(GetText()).find_first_not_of(" \t") == std::string_view::npos;
                if (isPlain)
                    return Sides{neighbour.m_name.GetSize(), before.In(GetText()), behind.In(GetText())};
            }
        return std::nullopt;
    };
    std::string before = " ";
    std::string behind = " ";
    std::optional<std::size_t> column;
    const std::size_t nearest = index > 0 ? index - 1 : 0;
    if (nearest < items.size())
        if (const std::optional<Sides> sides = sidesOf(items[nearest]))
        {
            before = sides->m_before;
            behind = sides->m_behind;
            for (const std::size_t other : {nearest - 1, nearest + 1})
                if (other < items.size() && BeginsLine(items[other].m_span.m_begin))
                    if (const std::optional<Sides> beside = sidesOf(items[other]);
                        beside && beside->GetColumn() == sides->GetColumn() && beside->m_name != sides->m_name)
                        column = sides->GetColumn();
            if (!column && before.size() > 1)
                column = sides->GetColumn();
        }
    if (column)
        before = std::string(*column > item.m_name.size() ? *column - item.m_name.size() : 1, ' ');
    return item.m_name + before + "=" + behind + item.m_text;
}

// Into brackets that hold no item.
void Layout::InsertFirst(const Part& brackets, const NewItem& item)
{
    const Span inside = brackets.GetInside();
    const bool hasMembers = brackets.m_token == TOKEN_LEFT_CURLY;
    const std::string text = MemberText({}, 0, item);
    const std::string_view held = inside.In(GetText());
    const std::size_t lastBreak = held.rfind('\n');
    const std::string behind = item.m_behind.empty() ? "" : " " + item.m_behind;
    const bool needsLine = !item.m_above.empty() || (!behind.empty() && IsLineComment(item.m_behind));
    if (lastBreak == std::string_view::npos && !needsLine)
    {
        const std::string_view blank = hasMembers ? " " : "";
        if (held.find_first_not_of(s_blanks) == std::string_view::npos)
            return m_document.Edit(inside, std::string(blank) + text + behind + std::string(blank));
        const std::string_view former = IsSpace(held.back()) ? "" : " ";
        return m_document.Edit({inside.m_end, inside.m_end},
                               std::string(former) + text + behind + std::string(former.empty() ? " " : blank));
    }
    // A line of its own before that of the closing bracket.
    const std::string indent = IndentAt(brackets.m_span.m_begin);
    const std::string line = indent + std::string(s_indent);
    if (lastBreak == std::string_view::npos)
        return m_document.Edit({inside.m_end, inside.m_end},
                               NewLine() + LineWith(line, item) + text + behind + NewLine() + indent);
    const std::size_t at = inside.m_begin + lastBreak + 1;
    if (IsBlank({at, inside.m_end}))
        return m_document.Edit({at, at}, LineWith(line, item) + text + behind + NewLine());
    m_document.Edit({inside.m_end, inside.m_end},
                    NewLine() + LineWith(line, item) + text + behind + NewLine() + indent);
}

void Layout::InsertMember(Span value, std::span<const std::string_view> members, const NewItem& item)
{
    const std::optional<Part> brackets = BracketsOf(m_document, value);
    if (!brackets)
        return m_document.Edit({value.m_end, value.m_end}, " { " + item.m_name + " = " + item.m_text + " }");
    const auto indexOf = [&](std::string_view member)
    { return std::find(members.begin(), members.end(), member) - members.begin(); };
    const std::ptrdiff_t index = indexOf(item.m_name);
    std::ptrdiff_t former = -1;
    std::size_t place = 0;
    const std::vector<Item> items = ItemsOf(m_document, *brackets);
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        const std::ptrdiff_t other = indexOf(items[i].m_name.In(GetText()));
        if (other < index && other >= former)
        {
            former = other;
            place = i + 1;
        }
    }
    InsertItem(*brackets, place, item);
}

void Layout::InsertItem(const Part& brackets, const ItemPlace& place, const NewItem& item)
{
    const auto& [items, index] = Around(brackets, place);
    if (items.empty())
        return InsertFirst(brackets, item);
    const bool hasMembers = brackets.m_token == TOKEN_LEFT_CURLY;
    const std::string text = MemberText(items, index, item);
    const std::string comma = hasMembers ? "" : ",";
    const std::string behind = item.m_behind.empty() ? "" : " " + item.m_behind;
    const bool isLineComment = !item.m_behind.empty() && IsLineComment(item.m_behind);
    const bool needsLine = isLineComment || !item.m_above.empty();
    if (index == 0)
    {
        const std::size_t at = GroupOf(brackets, items, 0).m_span.m_begin;
        const Item& first = items[0];
        const auto indent = [&] { return IndentAt(first.m_span.m_begin); };
        if (BeginsLine(at))
            return m_document.Edit({LineStart(at), LineStart(at)},
                                   LineWith(indent(), item) + text + comma + behind + NewLine());
        return m_document.Edit({at, at}, (item.m_above.empty() ? "" : NewLine() + LineWith(indent(), item)) + text +
                                             comma + behind + (isLineComment ? NewLine() + indent() : " "));
    }

    const Item& former = items[index - 1];
    const bool isLast = index == items.size();
    const Group group = GroupOf(brackets, items, index - 1);
    const bool endsInLineComment = EndsInLineComment(group.m_behind);
    const bool endsLine = EndsLine(group.m_span.m_end);
    const bool hasLines = BeginsLine(former.m_span.m_begin) && (endsLine || isLast);
    const auto indent = [&] { return IndentAt(former.m_span.m_begin); }; // only of those that have lines
    // The new item's comma: behind it, or for the last one behind the former.
    const std::string ownComma = isLast ? "" : comma;
    const bool onLine = hasLines || endsInLineComment || needsLine;
    std::string added;
    if (onLine)
        added = NewLine() + LineWith(indent(), item) + text + ownComma + behind;
    else
        added = " " + text + ownComma + behind;
    if (onLine && !endsLine && (isLast ? isLineComment : true))
        added += NewLine() + IndentAt(isLast ? brackets.m_span.m_begin : former.m_span.m_begin);
    if (!needsLine && !hasMembers && isLast && index > 1)
        if (const Span lead{items[index - 2].m_separator.m_begin, former.m_span.m_begin};
            BeginsLine(lead.m_begin) && IsBlank({lead.m_begin + 1, lead.m_end})) // commas that begin lines
        {
            const std::size_t end = group.m_span.m_end;
            return m_document.Edit({end, end}, NewLine() + indent() + std::string(lead.In(GetText())) + text);
        }
    if (!onLine && !hasMembers && isLast)
    {
        // Blanks behind commas as before the former item.
        if (index > 1 && items[index - 2].m_separator.m_end == former.m_span.m_begin)
            added.erase(0, 1);
        m_document.Edit({group.m_span.m_end, group.m_span.m_end}, "," + added);
        return;
    }
    m_document.Edit({group.m_span.m_end, group.m_span.m_end}, added);
    if (!hasMembers && isLast)
        m_document.Edit({former.m_span.m_end, former.m_span.m_end}, ",");
}

void Layout::NameItems(const Part& brackets, std::span<const std::string_view> names)
{
    const std::vector<Item> items = ItemsOf(m_document, brackets);
    if (brackets.m_isClosed)
        m_document.Edit({brackets.m_span.m_end - 1, brackets.m_span.m_end},
                        IsSpace(GetText()[brackets.m_span.m_end - 2]) ? "}" : " }");
    for (std::size_t i = items.size(); i-- > 0;)
    {
        const Item& item = items[i];
        if (!item.m_separator.IsEmpty())
            m_document.Edit(item.m_separator, IsSpace(GetText()[item.m_separator.m_end]) ? "" : " ");
        m_document.Edit({item.m_span.m_begin, item.m_span.m_begin},
                        std::string(i < names.size() ? names[i] : std::string_view()) + " = ");
    }
    const std::size_t begin = brackets.m_span.m_begin;
    const bool isBehindName = begin > 0 && IsInWord(GetText()[begin - 1]);
    m_document.Edit({begin, begin + 1},
                    (isBehindName ? " {" : "{") + std::string(IsSpace(GetText()[begin + 1]) ? "" : " "));
}

} // namespace kelm::editing
