#include <kelm/private/errors/Source.h>

#include <klUtils/text/LsScanToken.h>

#include <algorithm>

namespace kelm
{

namespace
{

// What the first octet of a character says of it.
struct Utf8Form
{
    unsigned char m_mask;
    unsigned char m_lead;
    std::size_t m_length;
    int32 m_lowest; // a smaller code point is written in fewer octets
};

constexpr Utf8Form s_utf8Forms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

int32 CodePoint(std::string_view octets, const Utf8Form& form)
{
    int32 codePoint = static_cast<unsigned char>(octets[0]) & static_cast<unsigned char>(~form.m_mask);
    for (std::size_t i = 1; i < form.m_length; ++i)
    {
        const auto octet = static_cast<unsigned char>(octets[i]);
        if ((octet & 0xC0) != 0x80)
            return -1;
        codePoint = codePoint << 6 | (octet & 0x3F);
    }
    const bool isSurrogate = 0xD800 <= codePoint && codePoint <= 0xDFFF;
    return codePoint < form.m_lowest || isSurrogate || codePoint > 0x10FFFF ? -1 : codePoint;
}

} // namespace

Character FirstCharacter(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    for (const Utf8Form& form : s_utf8Forms)
        if ((first & form.m_mask) == form.m_lead && form.m_length <= text.size())
            if (const int32 codePoint = CodePoint(text, form); codePoint != -1)
                return {text.substr(0, form.m_length), codePoint};
    return {text.substr(0, 1), -1};
}

bool IsBinary(std::string_view text)
{
    if (text.find('\0') == std::string_view::npos)
        return false;
    constexpr std::size_t longest = 4;
    while (text.size() >= longest) // the last character may be cut
    {
        const Character c = FirstCharacter(text);
        if (c.m_codePoint == -1)
            return true;
        text.remove_prefix(c.m_octets.size());
    }
    return false;
}

SourceLine LineAt(const SourceText& source, std::size_t offset)
{
    const std::string_view text = source.m_text;
    const std::size_t at = std::min(offset, text.size());
    const std::size_t begin = at == 0 ? 0 : text.rfind('\n', at - 1) + 1; // npos + 1 is 0
    std::string_view line = text.substr(begin, text.find('\n', at) - begin);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return {line, std::min(at - begin, line.size())};
}

Place PlaceOf(const SourceText& source, std::size_t offset)
{
    const int64 line = GetLineNumber(source.View(), source.m_text.data() + std::min(offset, source.m_text.size()));
    const SourceLine at = LineAt(source, offset);
    int64 column = 1;
    for (std::string_view before = at.m_text.substr(0, at.m_offset); !before.empty(); ++column)
        before.remove_prefix(FirstCharacter(before).m_octets.size());
    return {source.m_firstLine + line - 1, column};
}

} // namespace kelm
