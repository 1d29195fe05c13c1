#pragma once

// The expressions that the benchmarks measure, each with the value that it must have. Where another language spells an
// operator differently, the spelling is an argument.

#include <cstdint>
#include <string>
#include <vector>

namespace kelm::bench
{

enum class ValueKind
{
    Int,
    Float,
    Bool,
    String,
};

// A value of any of the languages; in those without integers an int is a float.
struct Result
{
    ValueKind m_kind = ValueKind::Int;
    double m_number = 0; // a bool is 0 or 1
    std::string m_text;
};

struct Spelling
{
    const char* m_and;
    const char* m_or;
    const char* m_concatenate;
};

inline constexpr Spelling s_ourSpelling = {"&&", "||", "+"};
inline constexpr Spelling s_luaSpelling = {"and", "or", ".."};

struct ExpressionCase
{
    const char* m_name;
    std::string (*m_text)(const Spelling&);
    Result m_value; // with ours, and with the peers where theirs is not given
    double m_peersNumber = m_value.m_number;
};

const std::vector<ExpressionCase>& GetExpressionCases();

struct ExpressionText
{
    std::string m_name;
    std::string m_text;
};

// Expressions of numbers, bools and all that computes with them, short ones and of each kind, some of them made from
// the seed: to be counted beside a plain loop, which the peers' languages cannot all be.
std::vector<ExpressionText> GetMoreExpressions(std::uint64_t seed);

// 1+2-3+4-5 ..., and the value of it.
std::string ChainText(long terms);
long ChainValue(long terms);

std::string NestedText(long depth); // "(((1)))"

// Strings of `length` characters, added: 'aaa' + 'bbb' ...
std::string ConcatenationText(const Spelling& spelling, long pieces, long length);
std::string ConcatenationValue(long pieces, long length);

} // namespace kelm::bench
