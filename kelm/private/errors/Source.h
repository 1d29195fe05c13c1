#pragma once

#include <kelm/api.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string_view>

namespace kelm
{

// A text that is read, with the name that errors show for it. Both are someone else's.
struct SourceText
{
    std::string_view m_name;
    std::string_view m_text;
    int64 m_firstLine = 1; // the number of the text's first line in what it was taken from

    SubString View() const { return {m_text.data(), m_text.data() + m_text.size()}; }
};

// Of a whole file, what stands behind the mark that some editors put in front of UTF-8.
inline std::string_view WithoutByteOrderMark(std::string_view text)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

// Whether a text, or its beginning, is none: it holds NUL, and octets that are no character.
KELM_API bool IsBinary(std::string_view text);

// A place for people: lines and characters, both counted from 1. Characters are those of UTF-8; an octet that belongs
// to none counts as one.
struct Place
{
    int64 m_line;
    int64 m_column;
};

KELM_API Place PlaceOf(const SourceText& source, std::size_t offset);

// The line that holds the octet at `offset`, without its line break.
struct SourceLine
{
    std::string_view m_text;
    std::size_t m_offset; // of the octet, within the line
};
KELM_API SourceLine LineAt(const SourceText& source, std::size_t offset);

// The first character of a text that is not empty: its octets, and its code point, -1 where the octet is no character.
struct Character
{
    std::string_view m_octets;
    int32 m_codePoint;
};
KELM_API Character FirstCharacter(std::string_view text);

} // namespace kelm
