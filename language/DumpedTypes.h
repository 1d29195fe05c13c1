#pragma once

#include <kelm/private/types/TypeCatalogue.h>

#include <string>

namespace kelm::language
{

// Registers the types of a catalogue, so that texts of them are read where whoever described them is not at hand: with
// the members, defaults, enumerators, alternatives and rules that the catalogue tells of. Names that are registered
// already stay what they are. Once registered, types stay. Empty, or why they were not; then some of them may be.
//
// What a catalogue does not tell: checks by functions, which accept everything, and how wide the numbers of durations
// and of enumerations of the standard library's kind are, which are of 64 bits.
std::string RegisterDumpedTypes(const TypeCatalogue& catalogue);

} // namespace kelm::language
