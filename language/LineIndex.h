#pragma once

// LineIndex: where the lines of a text begin, kept while the text is edited; and places as editors tell them.

#include <kelmDocument/Part.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace kelm::language
{

// What the columns of a place count.
enum class Units : uint8
{
    Utf8,
    Utf16,
};

// Both from 0.
struct LinePlace
{
    std::size_t m_line = 0;
    std::size_t m_unit = 0;

    friend bool operator==(const LinePlace&, const LinePlace&) = default;
};

// Lines end with "\n", "\r\n" or "\r".
class LineIndex
{
public:
    explicit LineIndex(std::string_view text);

    // After a run of octets was replaced: `text` is the new one.
    void Edit(std::string_view text, Span removed, std::size_t inserted);

    std::size_t GetCount() const { return m_starts.size(); }
    std::size_t GetStart(std::size_t line) const { return m_starts[line]; }
    // Of an octet, or of the end of the text.
    std::size_t LineOf(std::size_t offset) const;
    // Behind a line, before its line break.
    std::size_t GetEnd(std::string_view text, std::size_t line) const;

    LinePlace PlaceOf(std::string_view text, std::size_t offset, Units units) const;

    // The nearest place that the text has: the end of a line that is shorter, the end of the text behind its last line,
    // the beginning of a character that the place is inside of.
    std::size_t OffsetOf(std::string_view text, LinePlace place, Units units) const;

private:
    std::vector<std::size_t> m_starts; // the first is 0
};

} // namespace kelm::language
