#pragma once

// In a header, since most of what the tool is given are lines by the thousand that need no more.

#include "../repl/BlankText.h"
#include "Attempt.h"

#include <klKelmScript/KSParser.h>

namespace kelm::tool
{

// Evaluates a text without names to its end, by a parser of the library's, which may have read other texts before.
// Gives how it failed, if it did; `isBlank` tells that there was no expression, and that this passes.
[[gnu::always_inline]] inline std::optional<Failure> EvaluateExactly(KSParser& parser, const SourceText& source,
                                                                     EBlankText blank, KSValue& value, bool& isBlank)
{
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
