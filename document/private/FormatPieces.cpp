#include <kelmDocument/private/FormatPieces.h>

#include <kelmDocument/private/ScanPartHere.h>

#include <klUtils/text/private/Blocks.h>
#include <klUtils/text/private/ShortText.h>

#include <algorithm>

namespace kelm::formatting
{

namespace
{

// How many of eight octets are within a character, as those are whose upper bits are 10.
std::size_t CountInside(uint64 octets)
{
    constexpr uint64 ones = 0x0101010101010101;
    return static_cast<std::size_t>((octets >> 7 & ~octets >> 6 & ones) * ones >> 56);
}

} // namespace

// Most texts have one octet a character, which is seen sixteen at a time.
std::size_t WidthOf(std::string_view text)
{
    const char* p = text.data();
    std::size_t left = text.size();
    const auto pass = [&](std::size_t size) { p += size, left -= size; };
    while (left >= text::s_blockSize && !HasAny(text::Block(p).AreBeyondAscii()))
        pass(text::s_blockSize);
    std::size_t numInside = 0;
    for (; left > s_maxShortText; pass(s_maxShortText))
        numInside += CountInside(LoadWord<uint64>(p));
    return text.size() - numInside - CountInside(WordOfShortText(p, static_cast<ssize_t>(left)));
}

std::size_t MarkSizeOf(std::string_view text)
{
    return text.starts_with(s_byteOrderMark) ? s_byteOrderMark.size() : 0;
}

std::size_t LineStartOf(std::string_view text, std::size_t at)
{
    return std::max(MarkSizeOf(text), at == 0 ? 0 : text.rfind('\n', at - 1) + 1);
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
