#pragma once

// Broken internal invariants: a bug of ours, a corrupt type description, or a result that the system refuses to give.
// Bad input is never reported this way.

#include <klUtils/MessageException.h>
#include <klUtils/api.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

// What ThrowKelmAssertionError throws: "assertion failed: CONDITION (FILE:LINE)". Owns copies of both texts, so it
// outlives the library that threw it.
class KLUTILS_API KelmAssertionError : public MessageException
{
public:
    KelmAssertionError(ConstStringZ condition, ConstStringZ file, int line);
    ~KelmAssertionError() override;

    xstring m_condition; // the text of the condition that does not hold
    xstring m_file;      // the source that states it, such as "src/KSParser"
    int m_line;
};

// Reports that `condition` does not hold, by throwing KelmAssertionError.
KLUTILS_API void ThrowKelmAssertionError(ConstStringZ condition, ConstStringZ file, int line) __attribute__((cold));

} // namespace kelm

// Checks an invariant, with the expression itself as the condition's text. Each source that uses it names itself in a
// constant `s_sourceFile` of its own.
#define KELM_ASSERT(condition)                                                                                         \
    ((condition) ? static_cast<void>(0) : ::kelm::ThrowKelmAssertionError(#condition, s_sourceFile, __LINE__))
