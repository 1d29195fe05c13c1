#include "Contest.h"

#include <algorithm>
#include <stdexcept>

namespace kelm::bench
{

namespace
{

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Samples are short, so that each round is over before the machine changes its pace, and many.
constexpr double s_minSample = 3e5; // nanoseconds
constexpr int s_maxRounds = 201;

// How many calls make a sample, and how long it takes.
struct Sample
{
    long m_calls;
    double m_nanoseconds;
};

Sample Calibrate(const Contender& contender)
{
    for (long calls = 1;; calls *= 2)
    {
        const double elapsed = contender.m_time(calls);
        if (elapsed >= s_minSample)
            return {calls, elapsed};
    }
}

} // namespace

RowResult Measure(const std::vector<Row>& seeds, double seconds, int leastRounds)
{
    const std::size_t count = seeds.front().m_contenders.size();
    std::vector<std::vector<long>> calls(seeds.size());
    double roundTime = 0;
    for (std::size_t s = 0; s < seeds.size(); ++s)
        for (const Contender& contender : seeds[s].m_contenders)
        {
            if (!contender.m_isRight())
                throw std::runtime_error(seeds[s].m_name + ": the result of " + contender.m_name + " is wrong");
            const Sample sample = Calibrate(contender);
            calls[s].push_back(sample.m_calls);
            roundTime += sample.m_nanoseconds / static_cast<double>(seeds.size());
        }

    const int rounds = std::clamp(static_cast<int>(seconds * 1e9 / roundTime), leastRounds, s_maxRounds);

    std::vector<std::vector<double>> samples(count);
    std::vector<std::vector<double>> ratios(count);
    for (int round = 0; round < rounds; ++round)
    {
        const std::size_t s = static_cast<std::size_t>(round) % seeds.size();
        // Another one begins each round: nobody always runs in the wake of the same neighbour.
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::size_t c = (i + static_cast<std::size_t>(round)) % count;
            const double unitsTimed = static_cast<double>(calls[s][c]) * seeds[s].m_unitsPerCall;
            samples[c].push_back(seeds[s].m_contenders[c].m_time(calls[s][c]) / unitsTimed);
        }
        for (std::size_t c = 0; c < count; ++c)
            ratios[c].push_back(samples[c].back() / samples[0].back());
    }

    const Row& row = seeds.front();
    RowResult result{row.m_name, row.m_unit, {}};
    for (std::size_t c = 0; c < count; ++c)
        result.m_contenders.push_back({row.m_contenders[c].m_name, Median(samples[c]), Median(ratios[c])});
    return result;
}

} // namespace kelm::bench
