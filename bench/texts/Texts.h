#pragma once

// Texts as people and programs write them, each as a data source and as JSON with the same data in it. A kind says what
// is in the text and how it is laid out; the seed varies the class and so its members' names, their number and order,
// and the sizes, values, indents and comments. The same seed gives the same text everywhere.

#include "ClassLists.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kelm::bench
{

enum class Spacing
{
    Compact, // nothing that is not needed
    Spaced,  // a space around every token
    Pretty,  // a member a line, indented
};

struct Layout
{
    Spacing m_spacing = Spacing::Compact;
    bool m_hasComments = false; // the data source alone: JSON knows none
    const char* m_lineEnd = "\n";
};

enum class Characters
{
    Plain,
    SomeEscaped, // a character that is escaped in one text of twenty
    ManyEscaped, // in each text one character of twenty
    NonAscii,    // of two to four bytes in UTF-8, a third of them
};

struct TextKind
{
    const char* m_name;
    const char* m_unit;        // of what it costs: a scalar, a string, an entry of a map, or a level
    std::vector<Root> m_roots; // the seed chooses; 1 takes the first
    long m_elements;           // of the outermost list, about; the seed varies it
    Layout m_layout{};
    Characters m_characters = Characters::Plain;
    bool m_areDoublesLong = false;      // 17 digits; else prices, weights, coordinates of up to seven
    std::size_t m_sharedCharacters = 0; // with which all keys begin
};

const std::vector<TextKind>& GetTextKinds();

struct Text
{
    Root m_root;
    std::string m_ours;
    std::string m_json;
    std::uint64_t m_digest; // of what must come out
    long m_units;
};

// `scale` makes it so many times as large.
Text MakeText(const TextKind& kind, std::uint64_t seed, double scale = 1);

} // namespace kelm::bench
