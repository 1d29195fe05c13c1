#include <kelmLanguage/LineIndex.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

// Adds the lines that begin in [begin, end], which is behind the first octet.
void FindStarts(std::string_view text, std::size_t begin, std::size_t end, std::vector<std::size_t>& starts)
{
    for (std::size_t at = begin; at <= end; ++at)
        if (text[at - 1] == '\n' || (text[at - 1] == '\r' && (at == text.size() || text[at] != '\n')))
            starts.push_back(at);
}

bool IsInsideCharacter(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::size_t UnitsOf(char first, Units units)
{
    if (units == Units::Utf8)
        return 1;
    return IsInsideCharacter(first) ? 0 : static_cast<unsigned char>(first) >= 0xF0 ? 2 : 1;
}

} // namespace

LineIndex::LineIndex(std::string_view text) : m_starts{0}
{
    FindStarts(text, 1, text.size(), m_starts);
}

// Whether a line begins at a place depends on the octets on both sides of it.
void LineIndex::Edit(std::string_view text, Span removed, std::size_t inserted)
{
    const std::size_t begin = std::max<std::size_t>(removed.m_begin, 1);
    const auto first = std::lower_bound(m_starts.begin(), m_starts.end(), begin);
    const auto last = std::upper_bound(first, m_starts.end(), removed.m_end);
    for (auto start = last; start != m_starts.end(); ++start)
        *start += inserted - removed.GetSize();
    std::vector<std::size_t> starts;
    if (const std::size_t end = removed.m_begin + inserted; begin <= end)
        FindStarts(text, begin, end, starts);
    if (starts.size() == static_cast<std::size_t>(last - first))
        std::copy(starts.begin(), starts.end(), first);
    else
        m_starts.insert(m_starts.erase(first, last), starts.begin(), starts.end());
}

std::size_t LineIndex::LineOf(std::size_t offset) const
{
    return static_cast<std::size_t>(std::upper_bound(m_starts.begin(), m_starts.end(), offset) - m_starts.begin()) - 1;
}

std::size_t LineIndex::GetEnd(std::string_view text, std::size_t line) const
{
    std::size_t end = line + 1 < m_starts.size() ? m_starts[line + 1] : text.size();
    while (end > m_starts[line] && (text[end - 1] == '\n' || text[end - 1] == '\r'))
        --end;
    return end;
}

LinePlace LineIndex::PlaceOf(std::string_view text, std::size_t offset, Units units) const
{
    LinePlace place{LineOf(offset), 0};
    if (units == Units::Utf8)
        place.m_unit = offset - m_starts[place.m_line];
    else
        for (std::size_t at = m_starts[place.m_line]; at < offset; ++at)
            place.m_unit += UnitsOf(text[at], units);
    return place;
}

std::size_t LineIndex::OffsetOf(std::string_view text, LinePlace place, Units units) const
{
    if (place.m_line >= m_starts.size())
        return text.size();
    const std::size_t begin = m_starts[place.m_line];
    const std::size_t end = GetEnd(text, place.m_line);
    std::size_t at = begin;
    if (units == Units::Utf8)
        at = begin + std::min(place.m_unit, end - begin);
    else
        for (std::size_t unit = 0; at < end; ++at)
        {
            const std::size_t past = unit + UnitsOf(text[at], units);
            if (!IsInsideCharacter(text[at]) && past > place.m_unit)
                break;
            unit = past;
        }
    while (at > begin && at < end && IsInsideCharacter(text[at]))
        --at;
    return at;
}

} // namespace kelm::language
