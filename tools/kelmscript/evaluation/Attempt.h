#pragma once

#include "../reporting/Failure.h"
#include "DivisionWatch.h"

#include <kelm/Error.h>
#include <kelm/private/errors/Source.h>
#include <klUtils/text/ParserBase.h>

#include <optional>

namespace kelm::tool
{

// The failure that the exception in flight tells of; one that is no documented failure goes on.
Failure FailureOfException(const SourceText& source, const ParserBase& parser);
Failure FailureOfDivision(const SourceText& source, const LSToken& place);

// Runs `f`, which reads `source` through `parser`, and tells how it failed, if it did. Every documented failure of the
// library is one here: errors of syntax at their own place, all others at the last token that was read before them.
// Where a name was not found, notes at the name tell the nearest ones that exist.
template <class F>
[[gnu::always_inline]] inline std::optional<Failure> Attempt(const SourceText& source, const ParserBase& parser,
                                                             const F& f)
{
    const DivisionWatch watch(&parser);
    try
    {
        f();
    }
    catch (...)
    {
        if (!watch.HasFaulted())
            return FailureOfException(source, parser);
    }
    if (watch.HasFaulted()) [[unlikely]] // whatever came later came of its substitute result
        return FailureOfDivision(source, watch.GetPlace());
    return std::nullopt;
}

// Where an error of the front door is, in the text that it is about.
std::size_t OffsetOf(std::string_view text, const Error& error);

} // namespace kelm::tool
