#include <kelmDocument/private/FormatPieces.h>

#include <kelmDocument/private/ScanPartHere.h>

#include <klUtils/text/private/Blocks.h>

#include <algorithm>

namespace kelm::formatting
{

namespace
{

constexpr bool IsInside(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Octets that are not a character each.
struct Others
{
    static text::Lanes In(const text::Block& block) { return block.AreBeyondAscii(); }
    static bool In(char c) { return static_cast<unsigned char>(c) >= 0x80; }
};

} // namespace

// Most texts have one octet a character, which is seen sixteen at a time.
std::size_t WidthOf(std::string_view text)
{
    const char* const end = text.data() + text.size();
    const char* const other = text::FindFirst<Others>(text.data(), end);
    return text.size() - static_cast<std::size_t>(std::count_if(other, end, IsInside));
}

std::size_t MarkSizeOf(std::string_view text)
{
    return text.starts_with(s_byteOrderMark) ? s_byteOrderMark.size() : 0;
}

std::size_t LineStartOf(std::string_view text, std::size_t at)
{
    return std::max(MarkSizeOf(text), at == 0 ? 0 : text.rfind('\n', at - 1) + 1);
}

bool Found::IsCommentBehind(unsigned numBreaks) const
{
    return std::any_of(m_comments.begin(), m_comments.end(),
                       [&](const Comment& c) { return c.m_numBreaks >= numBreaks; });
}

std::size_t Found::CountCommentsBehind() const
{
    if (m_where == Where::Begin)
        return 0;
    const auto other =
        std::find_if(m_comments.begin(), m_comments.end(), [](const Comment& c) { return c.m_numBreaks > 0; });
    const bool isAlsoBefore = other == m_comments.end() && m_piece.m_numBreaks == 0;
    if (isAlsoBefore && (m_where == Where::Open || m_where == Where::AfterComma || m_where == Where::Empty))
        return 0;
    return static_cast<std::size_t>(other - m_comments.begin());
}

} // namespace kelm::formatting
