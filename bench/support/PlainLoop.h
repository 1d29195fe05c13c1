#pragma once

// What an expression costs at the least by plain means: a loop over operators by precedence, straight over the
// characters, over tagged values. It computes what ours computes (integral floats count as integers, every operand is
// evaluated) and knows its numbers, bools, operators, comments, choice, parentheses and calls of sin and exp. What it
// leaves out makes it a measure and no evaluator: texts that are wrong, values of a wrong kind and deep nesting are not
// looked for.

#include <cstdint>

namespace kelm::bench
{

enum class PlainKind : std::uint8_t
{
    Int,
    Float,
    Bool,
};

struct PlainValue
{
    PlainKind m_kind;
    union
    {
        std::int64_t m_int; // a bool is 0 or 1
        double m_float;
    };
};

PlainValue EvaluatePlainly(const char* text);

} // namespace kelm::bench
