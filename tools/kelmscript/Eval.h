#pragma once

#include "Failure.h"
#include "Options.h"
#include "Source.h"

#include <klKelmScript/KSValue.h>

#include <optional>
#include <string>

namespace kelm::tool
{

// What an expression came to: its value, or else why it has none.
struct Outcome
{
    KSValue m_value;
    std::optional<Failure> m_failure;
};

// Evaluates a text that is one expression to its end.
Outcome Evaluate(const SourceText& source);

// Whether a text holds nothing but white space and comments.
bool IsBlank(const SourceText& source);

// A value as text, a string as its characters alone; behind the name of its kind where that is asked for.
std::string TextOf(const KSValue& value, bool withKind);

// `kelmscript eval`
int RunEval(const Options& options);

} // namespace kelm::tool
