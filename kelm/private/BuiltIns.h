#pragma once

#include <klUtils/types.h>

namespace kelm
{

// The names that expressions know, for help, completion and suggestions.
struct BuiltInSummary
{
    ConstStringZ m_name;
    ConstStringZ m_parameter; // null for the constants
    ConstStringZ m_summary;
};

inline constexpr BuiltInSummary s_builtIns[] = {
    {"false", nullptr, "the bool false"},
    {"true", nullptr, "the bool true"},
    {"len", "x", "refused for every value"},
    {"is_bool", "x", "whether x is a bool"},
    {"is_int", "x", "whether x is an int64"},
    {"is_double", "x", "whether x is a float64"},
    {"is_string", "x", "whether x is a string"},
    {"bool", "x", "x as a bool"},
    {"char", "x", "x as an int64 from 0 to 255"},
    {"int", "x", "x as an int64, truncated"},
    {"double", "x", "x as a float64"},
    {"string", "x", "x as a string"},
    {"sin", "f", "the sine of a float64"},
    {"cos", "f", "the cosine of a float64"},
    {"tan", "f", "the tangent of a float64"},
    {"exp", "f", "e to the power of a float64"},
    {"log", "f", "the natural logarithm of a float64 above 0.0"},
};

} // namespace kelm
