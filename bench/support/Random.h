#pragma once

// Random values that are the same everywhere: unlike the generator, the standard distributions differ.

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace kelm::bench
{

using Random = std::mt19937_64;

inline std::int64_t Between(Random& random, std::int64_t least, std::int64_t most)
{
    return least + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most - least + 1));
}

inline std::string RandomWord(Random& random, int shortest, int longest)
{
    std::string word(static_cast<std::size_t>(Between(random, shortest, longest)), ' ');
    for (char& c : word)
        c = static_cast<char>('a' + random() % 26);
    return word;
}

inline std::string RandomSentence(Random& random)
{
    std::string sentence = RandomWord(random, 2, 9);
    for (std::int64_t words = Between(random, 2, 8); words > 0; --words)
        sentence += ' ' + RandomWord(random, 2, 9);
    return sentence;
}

} // namespace kelm::bench
