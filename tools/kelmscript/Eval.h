#pragma once

#include "Failure.h"
#include "Options.h"

#include <kelm/private/Source.h>
#include <klKelmScript/KSValue.h>

#include <optional>

namespace kelm::tool
{

// What an expression came to: its value, or else why it has none.
struct Outcome
{
    KSValue m_value;
    std::optional<Failure> m_failure;
    bool m_isBlank = false; // there was no expression, and that is no failure
};

enum EBlankText
{
    BLANK_FAILS, // a text of white space and comments is no expression
    BLANK_PASSES,
};

// Evaluates a text that is one expression to its end.
Outcome Evaluate(const SourceText& source, EBlankText blank = BLANK_FAILS);

// Whether a text holds nothing but white space and comments.
bool IsBlank(const SourceText& source);

// Writes a value on a line, a string as its characters alone; behind the name of its kind where that is asked for.
void PutValue(const KSValue& value, bool withKind);

// `kelmscript eval`
int RunEval(const Options& options);

} // namespace kelm::tool
