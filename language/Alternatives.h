#pragma once

// What a variant of either kind can hold, where it lies in the catalogue.

#include <kelmLanguage/Types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

struct Alternative
{
    std::string_view m_name;
    const TypeNode* m_type;
};

// `variant` is behind typedefs. None of other types.
std::vector<Alternative> AlternativesOf(const Types& types, const TypeNode& variant);

// The one that is written so, as readers choose; as many as there are where that is none.
std::size_t FindAlternative(const TypeNode& variant, const std::vector<Alternative>& alternatives,
                            std::string_view written);

// The shortest name by which a text chooses it.
std::string ShortNameOf(const TypeNode& variant, const std::vector<Alternative>& alternatives, std::size_t index);

// Whether the last parts of a name, or all of it, are another one: "Point" of "garden::Point".
bool IsLastOf(std::string_view name, std::string_view written);

// "Point" of "garden::Point".
std::string_view LastOf(std::string_view name);

} // namespace kelm::language
