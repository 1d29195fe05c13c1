#pragma once

// In a header, since most of what the tool is given are lines by the thousand that need no more.

#include "../repl/BlankText.h"
#include "Attempt.h"

#include <klKelmScript/KSParser.h>

namespace kelm::tool
{

// Evaluates a text without names to its end, by the library's own parser. Gives how it failed, if it did; `isBlank`
// tells that there was no expression, and that this passes.
inline std::optional<Failure> EvaluateExactly(const SourceText& source, EBlankText blank, KSValue& value, bool& isBlank)
{
    KSParser parser;
    return Attempt(source, parser,
                   [&]
                   {
                       parser.Init(source.View());
                       isBlank = blank == BLANK_PASSES && parser.m_token.m_type == TOKEN_END;
                       if (isBlank)
                           return;
                       parser.ParseExpression(value);
                       if (parser.m_token.m_type != TOKEN_END)
                           parser.ThrowExpectedException("end of text");
                   });
}

} // namespace kelm::tool
