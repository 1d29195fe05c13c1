#pragma once

// UTF-8 by the block: which characters are not well-formed.
//
//     80..7FF        C2..DF  80..BF
//     800..FFFF      E0      A0..BF  80..BF
//                    ED      80..9F  80..BF            (what follows would be a surrogate)
//                    E1..EF  80..BF  80..BF
//     10000..10FFFF  F0      90..BF  80..BF  80..BF
//                    F4      80..8F  80..BF  80..BF
//                    F1..F3  80..BF  80..BF  80..BF

#include <klUtils/text/private/Blocks.h>
#include <klUtils/types.h>

namespace kelm::text
{

// Of characters that are well-formed up to `before`, which ends at the block: lanes are set where the block is not, but
// for a code point that goes on behind it.
inline Lanes AreMalformedUtf8(const Block& block, const Block& before)
{
    constexpr auto of = [](unsigned char c) { return Block::Of(static_cast<char>(c)); };
    const Block last = block.Earlier<1>(before);
    const auto isBehind = [&last](unsigned char c) { return last.AreEqual(static_cast<char>(c)); };

    const Lanes leads = block.AreAtLeast(of(0xC0));
    const Lanes neverLeads = (leads ^ block.AreAtLeast(of(0xC2))) | block.AreAtLeast(of(0xF5));

    const Lanes continuations = leads ^ block.AreBeyondAscii();
    const Lanes expected = last.AreAtLeast(of(0xC0)) | block.Earlier<2>(before).AreAtLeast(of(0xE0)) |
                           block.Earlier<3>(before).AreAtLeast(of(0xF0));

    const Lanes upperHalf = block.AreAtLeast(of(0xA0));
    const Lanes upperThreeQuarters = block.AreAtLeast(of(0x90));
    const Lanes overlong =
        (isBehind(0xE0) & (continuations ^ upperHalf)) | (isBehind(0xF0) & (continuations ^ upperThreeQuarters));
    const Lanes beyondRange = (isBehind(0xED) & upperHalf) | (isBehind(0xF4) & upperThreeQuarters);
    return (expected ^ continuations) | neverLeads | overlong | beyondRange;
}

// How many characters at the end of a well-formed block belong to a code point that goes on behind it.
inline int CountUnfinishedUtf8(const Block& block)
{
    constexpr uint64 leastUnfinished = 0xC0E0F0FFFFFFFFFF; // of each of the last eight characters
    return s_blockSize - FirstOf(block.AreAtLeast(Block(~uint64(0), leastUnfinished)));
}

} // namespace kelm::text
