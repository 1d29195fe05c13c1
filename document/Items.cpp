#include <kelmDocument/Items.h>

namespace kelm
{

ItemWalk::ItemWalk(const Document& document, const Part& brackets)
    : m_walk(PartWalk(document).Inside(brackets)), m_hasMembers(brackets.m_token == TOKEN_LEFT_CURLY)
{
    Advance();
    Advance();
}

ItemWalk::ItemWalk(const Document& document, const Part& brackets, std::size_t begin)
    : m_walk(document, {begin, brackets.GetInside().m_end}), m_hasMembers(brackets.m_token == TOKEN_LEFT_CURLY)
{
    Advance();
    Advance();
}

void ItemWalk::Advance()
{
    m_now = m_behind;
    if (!m_walk.NextToken(m_behind))
        m_behind = Part{};
}

bool ItemWalk::Next(Item& item)
{
    if (IsAtEnd())
        return false;
    item = Item{.m_span = m_now.m_span, .m_value = m_now.m_span};
    if (m_hasMembers && IsAtMember())
    {
        item.m_name = m_now.m_span;
        Advance();
        item.m_span.m_end = m_now.m_span.m_end;
        Advance();
        const std::size_t begin = IsAtEnd() || IsAtMember() ? item.m_span.m_end : m_now.m_span.m_begin;
        item.m_value = {begin, begin};
    }
    for (; !IsAtEnd() && !(m_hasMembers ? IsAtMember() : m_now.Is(TOKEN_COMMA)); Advance())
        if (!m_hasMembers && m_now.Is(TOKEN_MINUS_GREATER) && item.m_key.IsEmpty())
        {
            item.m_key = {item.m_span.m_begin, item.m_span.m_end};
            item.m_span.m_end = m_now.m_span.m_end;
            item.m_value = m_behind.m_span.IsEmpty() ? Span{item.m_span.m_end, item.m_span.m_end}
                                                     : Span{m_behind.m_span.m_begin, m_behind.m_span.m_begin};
        }
        else
            item.m_span.m_end = item.m_value.m_end = m_now.m_span.m_end;
    if (!m_hasMembers && !IsAtEnd())
    {
        if (item.m_span == m_now.m_span) // nothing before the comma
            item.m_span.m_end = item.m_value.m_end = item.m_span.m_begin;
        item.m_separator = m_now.m_span;
        Advance();
    }
    return true;
}

} // namespace kelm
