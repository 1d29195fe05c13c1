#include "UnifiedDiff.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kelm::tool
{

namespace
{

// Unchanged lines before and behind changed ones.
constexpr std::size_t s_numContext = 3;

// Lines in place of others.
struct Block
{
    Span m_before;       // whole lines of the text
    std::string m_after; // what they become
};

std::size_t CountLines(std::string_view text)
{
    const auto numBreaks = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    return numBreaks + (text.empty() || text.ends_with('\n') ? 0 : 1);
}

std::size_t LineStart(std::string_view text, std::size_t at)
{
    return at == 0 ? 0 : text.rfind('\n', at - 1) + 1;
}

// Where the line there ends, with its line break.
std::size_t LineEnd(std::string_view text, std::size_t at)
{
    return at == text.size() ? at : std::min(text.find('\n', at), text.size() - 1) + 1;
}

// A change without what both texts have in common.
struct Change
{
    Span m_removed;
    std::string_view m_inserted;
};

Change ShortestOf(const SpaceChange& change, std::string_view text)
{
    Change shortest{change.m_removed, change.m_inserted};
    Span& removed = shortest.m_removed;
    std::string_view& inserted = shortest.m_inserted;
    while (!removed.IsEmpty() && !inserted.empty() && text[removed.m_begin] == inserted.front())
    {
        ++removed.m_begin;
        inserted.remove_prefix(1);
    }
    while (!removed.IsEmpty() && !inserted.empty() && text[removed.m_end - 1] == inserted.back())
    {
        --removed.m_end;
        inserted.remove_suffix(1);
    }
    return shortest;
}

// Without equal lines at both ends.
void Trim(Block& block, std::string_view text)
{
    std::size_t begin = 0;
    std::string_view before = block.m_before.In(text);
    std::string_view after = block.m_after;
    while (!before.empty())
    {
        const std::size_t size = LineEnd(before, 0);
        if (!after.starts_with(before.substr(0, size)) || (after.size() > size && before[size - 1] != '\n'))
            break;
        before.remove_prefix(size);
        after.remove_prefix(size);
        begin += size;
    }
    std::size_t end = 0;
    while (!before.empty() && !after.empty())
    {
        const std::string_view last = before.substr(LineStart(before, before.size() - 1));
        if (last != after.substr(LineStart(after, after.size() - 1)))
            break;
        before.remove_suffix(last.size());
        after.remove_suffix(last.size());
        end += last.size();
    }
    block.m_before = {block.m_before.m_begin + begin, block.m_before.m_end - end};
    block.m_after = std::string(after);
}

std::vector<Block> BlocksOf(std::string_view text, std::span<const SpaceChange> changes)
{
    std::vector<Block> blocks;
    std::size_t taken = 0; // of the text, by the last block
    const auto close = [&]
    {
        if (blocks.empty())
            return;
        blocks.back().m_after += text.substr(taken, blocks.back().m_before.m_end - taken);
        Trim(blocks.back(), text);
    };
    for (const SpaceChange& whole : changes)
    {
        const Change change = ShortestOf(whole, text);
        const std::size_t begin = LineStart(text, change.m_removed.m_begin);
        if (blocks.empty() || begin > blocks.back().m_before.m_end)
        {
            close();
            blocks.push_back({{begin, begin}, {}});
            taken = begin;
        }
        Block& block = blocks.back();
        block.m_after += text.substr(taken, change.m_removed.m_begin - taken);
        block.m_after += change.m_inserted;
        taken = change.m_removed.m_end;
        block.m_before.m_end = std::max(block.m_before.m_end, LineEnd(text, taken));
    }
    close();
    std::erase_if(blocks, [](const Block& block) { return block.m_before.IsEmpty() && block.m_after.empty(); });
    return blocks;
}

class Diff
{
public:
    explicit Diff(std::string_view text) : m_text(text) {}

    // Hunks of blocks that so few lines are between that their contexts meet.
    std::string Make(std::span<const Block> blocks)
    {
        while (!blocks.empty())
        {
            std::size_t numBlocks = 1;
            while (numBlocks < blocks.size() &&
                   Behind(blocks[numBlocks - 1].m_before.m_end, 2 * s_numContext) >= blocks[numBlocks].m_before.m_begin)
                ++numBlocks;
            PutHunk(blocks.first(numBlocks));
            blocks = blocks.subspan(numBlocks);
        }
        return std::move(m_diff);
    }

private:
    // Where so many lines before a line begin, and behind one end.
    std::size_t Before(std::size_t at, std::size_t numLines) const
    {
        while (numLines-- > 0 && at > 0)
            at = LineStart(m_text, at - 1);
        return at;
    }
    std::size_t Behind(std::size_t at, std::size_t numLines) const
    {
        while (numLines-- > 0)
            at = LineEnd(m_text, at);
        return at;
    }

    void PutHunk(std::span<const Block> blocks)
    {
        const std::size_t begin = Before(blocks.front().m_before.m_begin, s_numContext);
        const std::size_t end = Behind(blocks.back().m_before.m_end, s_numContext);
        m_line += CountLines(m_text.substr(m_counted, begin - m_counted));
        m_counted = begin;
        const std::size_t numBefore = CountLines(m_text.substr(begin, end - begin));
        std::size_t numAfter = numBefore;
        std::string lines;
        std::size_t at = begin;
        for (const Block& block : blocks)
        {
            numAfter += CountLines(block.m_after) - CountLines(block.m_before.In(m_text));
            PutLines(lines, ' ', m_text.substr(at, block.m_before.m_begin - at));
            PutLines(lines, '-', block.m_before.In(m_text));
            PutLines(lines, '+', block.m_after);
            at = block.m_before.m_end;
        }
        PutLines(lines, ' ', m_text.substr(at, end - at));
        m_diff += "@@ -" + Lines(m_line, numBefore) + " +" + Lines(m_line + m_numMore, numAfter) + " @@\n" + lines;
        m_numMore += numAfter - numBefore;
    }

    // No lines are told by the one before them.
    static std::string Lines(std::size_t numBefore, std::size_t numLines)
    {
        return std::to_string(numBefore + (numLines > 0 ? 1 : 0)) + "," + std::to_string(numLines);
    }

    static void PutLines(std::string& lines, char sign, std::string_view text)
    {
        while (!text.empty())
        {
            const std::string_view line = text.substr(0, LineEnd(text, 0));
            (lines += sign) += line;
            if (!line.ends_with('\n'))
                lines += "\n\\ No newline at end of file\n";
            text.remove_prefix(line.size());
        }
    }

    std::string_view m_text;
    std::string m_diff;
    std::size_t m_counted = 0; // of the text: so many octets ...
    std::size_t m_line = 0;    // ... have so many lines
    std::size_t m_numMore = 0; // lines that the text has more behind the changes; it wraps around where it has less
};

} // namespace

std::string UnifiedDiff(std::string_view name, std::string_view text, std::span<const SpaceChange> changes)
{
    const std::vector<Block> blocks = BlocksOf(text, changes);
    if (blocks.empty())
        return {};
    return "--- " + std::string(name) + "\n+++ " + std::string(name) + "\n" + Diff(text).Make(blocks);
}

} // namespace kelm::tool
