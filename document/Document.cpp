#include <kelmDocument/Document.h>

#include <kelmDocument/private/ScanPartHere.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace kelm
{

namespace
{

// Of a block. Each edit reads one or two of them, and looks at the sizes of all.
constexpr std::size_t s_blockSize = 1024;

int DepthChange(EToken token)
{
    return static_cast<int>(IsOpeningBracket(token)) - static_cast<int>(IsClosingBracket(token));
}

// The same of the operator that a character is.
constexpr std::array<int8, 256> s_depthChanges = []
{
    std::array<int8, 256> changes{};
    for (const uint8 opening : {uint8{'('}, uint8{'['}, uint8{'{'}})
        changes[opening] = 1;
    for (const uint8 closing : {uint8{')'}, uint8{']'}, uint8{'}'}})
        changes[closing] = -1;
    return changes;
}();

} // namespace

Document Document::Parse(std::string text)
{
    Document document;
    document.m_text = std::move(text);
    const std::size_t size = document.m_text.size();
    document.m_blocks.reserve(size / s_blockSize + 1);
    for (std::size_t at = 0; at < size; at += document.m_blocks.back().m_size)
        document.m_blocks.push_back(document.ScanBlock(at, at + s_blockSize));
    return document;
}

// Of the parts from `begin` to the first one that ends at `until` or behind it.
Document::Block Document::ScanBlock(std::size_t at, std::size_t until) const
{
    const char* const begin = m_text.data();
    const char* const end = begin + m_text.size();
    const char* const enough = begin + std::min(until, m_text.size());
    const char* p = begin + at;
    int32 depth = 0;
    int32 lowest = 0;
    while (p < enough)
        if (text::StartOf(*p) == text::Start::SingleOperator)
        {
            depth += s_depthChanges[static_cast<unsigned char>(*p++)];
            lowest = std::min(lowest, depth);
        }
        else
        {
            p = ScanPartHere(begin, p, end).m_past; // which is no bracket
        }
    return {at, static_cast<std::size_t>(p - begin) - at, lowest, depth};
}

// From a part at some depth below brackets to the part that closes them. False, with the place gone to `end`, where it
// is not before that.
bool Document::FindClosingIn(std::size_t end, Depth& place) const
{
    const char* const text = m_text.data();
    const char* p = text + place.m_at;
    for (const char* const stop = text + end; p != stop;)
    {
        const ScannedPart part = ScanPartHere(text, p, text + m_text.size());
        place.m_depth += DepthChange(part.m_token);
        if (place.m_depth == 0)
        {
            place.m_at = static_cast<std::size_t>(p - text);
            return true;
        }
        p = part.m_past;
    }
    place.m_at = end;
    return false;
}

std::size_t Document::FindClosing(std::size_t opening, std::size_t& from) const
{
    if (m_blocks[from].m_begin + m_blocks[from].m_size <= opening)
    {
        const auto first = m_blocks.begin() + static_cast<std::ptrdiff_t>(from);
        const auto behind = std::upper_bound(first, m_blocks.end(), opening,
                                             [](std::size_t at, const Block& block) { return at < block.m_begin; });
        from = static_cast<std::size_t>(behind - m_blocks.begin()) - 1;
    }
    Depth place{opening + 1, 1};
    for (std::size_t i = from; i < m_blocks.size(); ++i)
    {
        const Block& block = m_blocks[i];
        const std::size_t end = block.m_begin + block.m_size;
        if (i != from && place.m_depth + block.m_lowest > 0)
            place = {end, place.m_depth + block.m_net};
        else if (FindClosingIn(end, place))
            return place.m_at;
    }
    return m_text.size();
}

// The blocks from `at` to `end`, where the block `last` begins; where no part begins there, `last` becomes the next one
// at whose beginning one does.
std::vector<Document::Block> Document::ScanBlocks(std::size_t at, std::size_t end,
                                                  std::vector<Block>::const_iterator& last) const
{
    std::vector<Block> blocks;
    while (true)
    {
        while (at > end && last != m_blocks.end())
            end += last++->m_size;
        if (at >= end)
            return blocks;
        // No block is left to be small, while there are others.
        if (end - at < s_blockSize / 2 && last != m_blocks.end())
            end += last++->m_size;
        blocks.push_back(ScanBlock(at, end - at < 2 * s_blockSize ? end : at + s_blockSize));
        at += blocks.back().m_size;
    }
}

// Reads again from the block before the edit to a block behind it that begins where a part still does: from there on
// the parts are the same. Where memory ends, text and index stay as they are.
void Document::Edit(Span removed, std::string_view inserted)
{
    const std::size_t look = removed.m_begin - std::min(removed.m_begin, s_longestLook + 1);
    auto first = m_blocks.cbegin();
    std::size_t begin = 0;
    while (first != m_blocks.end() && begin + first->m_size <= look)
        begin += first++->m_size;
    auto last = first; // the first block that stays
    std::size_t end = begin;
    while (last != m_blocks.end() && end <= removed.m_end)
        end += last++->m_size;

    const std::string former(removed.In(m_text));
    m_text.replace(removed.m_begin, removed.GetSize(), inserted);
    try
    {
        const std::vector<Block> blocks = ScanBlocks(begin, end + inserted.size() - removed.GetSize(), last);
        const auto numReplaced = last - first;
        const auto replaced = m_blocks.insert(first, blocks.begin(), blocks.end()) + std::ssize(blocks);
        auto behind = m_blocks.erase(replaced, replaced + numReplaced);
        for (; behind != m_blocks.end(); ++behind)
            behind->m_begin += inserted.size() - removed.GetSize(); // or less, which wraps as it should
    }
    catch (...)
    {
        m_text.replace(removed.m_begin, inserted.size(), former); // for which there is room
        throw;
    }
}

// --- Parts of a level ------------------------------------------------------------------------------------------------

PartWalk PartWalk::Inside(const Part& brackets) const
{
    PartWalk inside = *this;
    inside.m_at = brackets.GetInside().m_begin;
    inside.m_end = brackets.GetInside().m_end;
    return inside;
}

bool PartWalk::Next(Part& part)
{
    if (m_at >= m_end)
        return false;
    const std::string_view text = m_document->GetText();
    part = ScanPart(text, m_at);
    if (IsOpeningBracket(part.m_token))
    {
        const std::size_t closing = m_document->FindClosing(m_at, m_block);
        part.m_kind = PartKind::Brackets;
        part.m_isClosed = closing < text.size();
        part.m_span.m_end = part.m_isClosed ? closing + 1 : closing;
    }
    m_at = part.m_span.m_end;
    return true;
}

bool PartWalk::NextToken(Part& part)
{
    bool isAny = Next(part);
    while (isAny && part.IsPassed())
        isAny = Next(part);
    return isAny;
}

} // namespace kelm
