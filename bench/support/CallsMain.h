#pragma once

// main of the programs that do the work of one row so many times, for counting instructions: what fails is told.

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace kelm::bench
{

inline int RunCalls(const char* program, int argc, char** argv, void (*run)(const std::vector<std::string>& arguments))
{
    try
    {
        run({argv + 1, argv + argc});
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "%s: %s\n", program, e.what());
        return 1;
    }
    return 0;
}

} // namespace kelm::bench
