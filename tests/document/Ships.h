#pragma once

// Random documents of EditedTypes.h, with numbered comments.

#include <support/ReferenceTexts.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kelm
{

// Tokens of a data source, between any two of which anything may stand that readers pass over.
inline constexpr std::string_view s_tokens[] = {
    "yard", ".",     "Ship",  "{",     "title", "=",      "\"a\"",  "origin", "=",    "Point",  "(",      "1",
    ",",    "2",     ")",     "berth", "=",     "NORTH",  "isOpen", "=",      "true", "scores", "=",      "[",
    "1",    ",",     "2",     ",",     "3",     "]",      "tags",   "=",      "[",    "1",      ",",      "2",
    ",",    "3",     ",",     "4",     "]",     "filled", "=",      "[",      "9",    "]",      "crates", "=",
    "[",    "{",     "label", "=",     "\"c\"", "}",      ",",      "Crate",  "{",    "weight", "=",      "-",
    "5",    "place", "=",     "{",     "y",     "=",      "1",      "}",      "}",    "]",      "counts", "=",
    "[",    "\"a\"", "->",    "1",     ",",     "\"b\"",  "->",     "2",      "]",    "list",   "=",      "[",
    "1",    ",",     "2",     "]",     "area",  "=",      "1.5",    "}",
};

// Comments have numbers, so that each can be found again.
inline std::string AnyFiller(reference::Random& random, int& number)
{
    const std::string name = std::to_string(number);
    switch (random.Below(12))
    {
    case 0: ++number; return " // <" + name + ">\n";
    case 1: ++number; return "\n# <" + name + ">\n";
    case 2: ++number; return " /* <" + name + "> */ ";
    case 3: ++number; return "\n  // <" + name + ">\n  ";
    case 4: return "\n\n    ";
    case 5:
    case 6: return "\n    ";
    case 7: return "\r\n";
    default: return " ";
    }
}

inline std::string AnyShip(reference::Random& random, int& numComments)
{
    std::string text;
    for (const std::string_view token : s_tokens)
    {
        text += token;
        text += AnyFiller(random, numComments);
    }
    return text;
}

// A document as people lay it out, members on lines of their own.
inline std::string TidyShip(reference::Random& random, int& numComments)
{
    std::string text = "// <0>\nyard::Ship {\n";
    numComments = 1;
    const char* const members[] = {"title = \"a\"",
                                   "origin = Point(1, 2)",
                                   "berth = NORTH",
                                   "isOpen = true",
                                   "scores = [1, 2, 3]",
                                   "tags = [1, 2, 3, 4]",
                                   "filled = [9]",
                                   "crates = [\n        { label = \"c\" },\n        Crate {\n            weight = -5\n "
                                   "           place = { y = 1 }\n"
                                   "        }\n    ]",
                                   "counts = [\n        \"a\" -> 1,\n        \"b\" -> 2\n    ]",
                                   "list = [1, 2]",
                                   "area = 1.5"};
    for (const char* const member : members)
    {
        if (random.OneIn(3))
            text += "    // <" + std::to_string(numComments++) + ">\n";
        text += "    " + std::string(member);
        if (random.OneIn(3))
            text += " // <" + std::to_string(numComments++) + ">";
        text += random.OneIn(4) ? "\n\n" : "\n";
    }
    return text + "}\n";
}

} // namespace kelm
