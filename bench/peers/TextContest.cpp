// Texts as people write them: text in, object out and released, or object in, text out.

#include "Rows.h"

#include <iterator>
#include <memory>
#include <string>

namespace kelm::bench
{

std::vector<Row> MakeTextRow(const TextRow& row)
{
    // Small texts and large ones: some stay in the nearest cache, some in none. Levels are of one depth.
    static constexpr double s_scales[] = {1, 0.05, 1, 8, 0.3};
    const bool isDeep = std::string(row.m_kind->m_unit) == "level";
    std::vector<Row> seeds;
    for (std::uint64_t seed = 1; seed <= std::size(s_scales); ++seed)
    {
        const Text text = MakeText(*row.m_kind, seed, isDeep ? 1 : s_scales[seed - 1]);
        Row made{row.m_name, row.m_kind->m_unit, static_cast<double>(text.m_units), {}};
        for (const TextPeer* peer : GetTextPeers())
        {
            const auto work = std::make_shared<const TextWork>(row, text, *peer);
            if (work->CanBeDone())
                made.m_contenders.push_back(
                    {peer->m_name, [=] { return work->IsRight(); }, Timed([=] { work->Do(); })});
        }
        seeds.push_back(std::move(made));
    }
    return seeds;
}

} // namespace kelm::bench
