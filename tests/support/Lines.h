#pragma once

// A text's lines, without what ends them.

#include <sstream>
#include <string>
#include <vector>

namespace kelm
{

inline std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace kelm
