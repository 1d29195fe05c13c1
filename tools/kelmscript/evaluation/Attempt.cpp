#include "Attempt.h"

#include "../reporting/Suggest.h"

#include <klKelmScript/KSValue.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <exception>
#include <new>

namespace kelm::tool
{

namespace
{

std::size_t OffsetOf(const SourceText& source, const char* position)
{
    const SubString text = source.View();
    return position < text.m_p1 || text.m_p2 < position ? 0 : static_cast<std::size_t>(position - text.m_p1);
}

} // namespace

Failure FailureOfException(const SourceText& source, const ParserBase& parser)
{
    const auto atLastToken = [&](ConstStringZ kind, const std::string& message) {
        return Failure{kind, message, OffsetOf(source, parser.m_prevToken.m_str.m_p1), {}};
    };
    try
    {
        throw;
    }
    catch (const LexScannerException& e)
    {
        const std::size_t offset = OffsetOf(source, e.m_pos);
        const std::string message(e.m_description.view());
        Failure failure{"syntax", message, offset, {}};
        AddHint(failure, source.m_text);
        if (failure.m_notes.empty())
            failure.m_notes = SuggestNames(source, parser, message, offset);
        return failure;
    }
    catch (const KSValueException& e)
    {
        return atLastToken("value", std::string(e.m_description.view()));
    }
    catch (const KelmAssertionError& e)
    {
        Failure failure = atLastToken("assertion", e.what());
        if (const std::string_view explanation = Explain(e); !explanation.empty())
            failure.m_notes.push_back({std::string(explanation), failure.m_offset});
        return failure;
    }
    catch (const std::bad_alloc&)
    {
        return atLastToken("memory", "out of memory");
    }
}

Failure FailureOfDivision(const SourceText& source, const LSToken& place)
{
    return {"division",
            "Division fault: -9223372036854775808 divided by -1 is beyond int64",
            OffsetOf(source, place.m_str.m_p1),
            {}};
}

std::size_t OffsetOf(std::string_view text, const Error& error)
{
    std::size_t offset = 0;
    for (int64 line = 1; line < error.GetLine(); ++line)
        offset = text.find('\n', offset) + 1;
    for (int64 column = 1; column < error.GetColumn() && offset < text.size(); ++column)
        offset += FirstCharacter(text.substr(offset)).m_octets.size();
    return offset;
}

} // namespace kelm::tool
