#pragma once

#include <kelm/private/types/TypeCatalogue.h>

#include <string>

namespace kelm::language
{

// Registers the types of a catalogue, so that texts of them are read where whoever described them is not at hand: with
// the members, defaults, enumerators, alternatives and rules that the catalogue tells of. Names that are registered
// already stay what they are. Once registered, types stay. Empty, or why they were not.
//
// What a catalogue does not tell: checks by functions, which accept everything; the unit of a duration, of which every
// whole number of nanoseconds is taken. Enumerations of other widths than 32 bits take numbers too, and the keys of a
// map of ours take nothing over from the key before.
std::string RegisterDumpedTypes(const TypeCatalogue& catalogue);

} // namespace kelm::language
