#pragma once

// Runs the library and a reference on random texts and requires the same outcome, to the letter.
//
// An outcome is a text that tells all that a reading comes to: values, messages, places, what it leaves behind. The
// library reads each text where a read beyond it shows: up to a page that cannot be read, behind one, or at any
// alignment between bytes that would go on with it. A difference is made small before it is told.
//
//     KELM_READING_SEED=n    draws other texts
//     KELM_READING_CASES=n   how many, over all tests together
//     KELM_READING_CASE=n    the one of that number alone, in every test, which also shows it

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>
#include <support/ReferenceTexts.h>
#include <support/ReferenceTokens.h>

#include <functional>
#include <string>

namespace kelm::reference
{

// Thrown by a reference for a text that the library cannot be given: what would fault, or take all memory.
struct NotForComparison
{
};

struct Comparison
{
    int m_share; // of all cases, in thousandths

    // A text, and what its reading comes to. All three are given the same `choice`, for what else a case is made of.
    std::function<std::string(Random& random, Random choice)> m_draw;
    std::function<std::string(SubString text, Random choice)> m_library;
    std::function<std::string(const std::string& text, Random choice)> m_reference;
};

// A part of a GoogleTest test.
void Compare(const Comparison& comparison);

// The same for texts that are counted rather than drawn: all of them, or where fewer cases are asked for, any of them.
void CompareAll(std::size_t count, const std::function<std::string(std::size_t index)>& makeText,
                const Comparison& comparison);

// --- Outcomes --------------------------------------------------------------------------------------------------------

std::string Told(std::size_t number);
std::string ToldBits(float value); // of NaN only that it is one
std::string ToldBits(double value);
std::string ToldError(const TextError& e);
std::string ToldToken(int32 kind, std::size_t begin, std::size_t end);
std::string ToldState(const Stream& stream);

} // namespace kelm::reference
