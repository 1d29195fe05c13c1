#pragma once

// How many cases property tests draw, and from which seed, as the environment says:
//
//     KELM_DOCUMENT_SEED=n   KELM_DOCUMENT_CASES=n   those of documents
//     KELM_READING_SEED=n    KELM_READING_CASES=n    those of layouts and of reading

#include <klUtils/types.h>

#include <cstdlib>

namespace kelm
{

// What a variable of the environment says, or else `otherwise`.
inline uint64 NumberIn(const char* variable, uint64 otherwise)
{
    const char* const given = std::getenv(variable);
    return given != nullptr ? std::strtoull(given, nullptr, 10) : otherwise;
}

} // namespace kelm
