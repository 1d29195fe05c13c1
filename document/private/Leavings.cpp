#include <kelmDocument/private/Leavings.h>

#include <kelmDocument/private/Layout.h>

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace kelm::editing
{

namespace
{

// An item in place of another one: what is beside it is laid out by whether a word is there.
std::string StandIn(bool isMember, bool isWord)
{
    return std::string(isMember ? "a = " : "") + (isWord ? "a" : "''");
}

} // namespace

void Leavings::Remove(const OncePlaces::Place& place)
{
    const std::string_view whole = m_document.GetText();
    const Part& brackets = place.GetBrackets();
    const std::vector<Item>& items = place.GetItems();
    const Span item = items[place.m_index].m_span;
    const bool hasMembers = brackets.m_token == TOKEN_LEFT_CURLY;
    const std::optional<std::size_t> former = place.GetLeft().FindBefore(place.m_index);
    const std::optional<std::size_t> latter = place.GetLeft().FindBehind(place.m_index);
    const std::size_t begin = former ? items[*former].m_span.m_end : brackets.GetInside().m_begin;
    const std::size_t end = latter ? items[*latter].m_span.m_begin : brackets.GetInside().m_end;

    std::string text(1, whole[brackets.m_span.m_begin]);
    if (former)
        text += StandIn(hasMembers, IsInWord(whole[begin - 1]));
    const std::size_t before = text.size();
    text += TakeGap(begin, item.m_begin);
    text += item.In(whole);
    text += TakeGap(item.m_end, end);
    const std::size_t past = text.size();
    if (latter)
        text += StandIn(hasMembers, IsInWord(whole[end]));
    text += whole[brackets.m_span.m_end - 1];
    const std::size_t behind = text.size() - past;

    Document near = Document::Parse(std::move(text));
    Layout(near).RemoveItem(PartAt(near, 0), former ? 1 : 0);
    const std::string_view left = near.GetText();
    m_gaps.emplace(begin, Gap{end, std::string(left.substr(before, left.size() - behind - before))});
}

std::string Leavings::TakeGap(std::size_t begin, std::size_t end)
{
    const auto gap = m_gaps.find(begin);
    if (gap == m_gaps.end())
        return std::string(Span{begin, end}.In(m_document.GetText()));
    std::string text = std::move(gap->second.m_text);
    m_gaps.erase(gap);
    return text;
}

} // namespace kelm::editing
