#pragma once

// In a build with mutants: which of them is there is said by the environment, KELM_MUTANT=17, once for each process.
// Every mutant that is asked for is noted, in the file that KELM_MUTANTS_REACHED names.

extern "C" __attribute__((visibility("default"))) unsigned kelmMutantChosen;
extern "C" __attribute__((visibility("default"))) unsigned char* kelmMutantsReached;

inline bool KelmReachMutant(unsigned number)
{
    kelmMutantsReached[number] = 1;
    return kelmMutantChosen == number;
}

constexpr bool KelmIsMutant(unsigned number)
{
    return !__builtin_is_constant_evaluated() && KelmReachMutant(number);
}

#define KELM_MUTANT(number) KelmIsMutant(number)
