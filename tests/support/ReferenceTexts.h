#pragma once

// Random texts for property tests: what people write, what lies at the edges of blocks and types, and what has been
// damaged. The same seed draws the same texts on every machine.

#include <klUtils/types.h>

#include <cstddef>
#include <iterator>
#include <string>

namespace kelm::reference
{

// A stream of random numbers (splitmix64).
class Random
{
public:
    explicit Random(uint64 seed) : m_state(seed) {}

    uint64 Next();
    std::size_t Below(std::size_t n) { return static_cast<std::size_t>(Next() % n); } // n > 0
    bool OneIn(std::size_t n) { return Below(n) == 0; }

    template <class T, std::size_t N>
    const T& Of(const T (&choices)[N])
    {
        return choices[Below(N)];
    }

private:
    uint64 m_state;
};

// Mostly short; else about the sizes of blocks, or anything up to some hundreds.
std::size_t AnyLength(Random& random);

// White space and comments, often none; AnyBreak is at least one byte that ends a token.
std::string AnySpace(Random& random);
std::string AnyBreak(Random& random);

std::string AnyName(Random& random);
std::string AnyDigits(Random& random);
std::string AnyNumber(Random& random);           // of every form, without a sign
std::string AnyNumberNearLimits(Random& random); // of the integer types
std::string AnyFloat(Random& random);            // hard to round, large, small
std::string AnyQuoted(Random& random);
std::string AnyOperator(Random& random);
std::string AnyBytes(Random& random); // of every value, quotes and line ends more often
std::string AnyToken(Random& random);

// Takes bytes out, writes them twice, puts others in, and tokens.
void Damage(Random& random, std::string& text);

// Calls Damage one time in `n`.
inline std::string OftenWhole(Random& random, std::string text, std::size_t n)
{
    if (random.OneIn(n))
        Damage(random, text);
    return text;
}

} // namespace kelm::reference
