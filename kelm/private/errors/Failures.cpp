#include <kelm/private/errors/Failures.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/errors/Hints.h>
#include <kelm/private/errors/Source.h>
#include <kelm/private/errors/Suggest.h>
#include <klUtils/MessageOf.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/private/Scan.h>

#include <utility>
#include <vector>

namespace kelm::evaluation
{

void ThrowAt(ErrorKind kind, std::string_view message, std::size_t place)
{
    Rejected rejected{{}, place};
    Fail(rejected.m_failure, kind, message);
    throw std::move(rejected);
}

std::string UnknownMessage(std::string_view name)
{
    return std::string(std::string_view(MessageOf("Unknown name ", LSToken(TOKEN_IDENTIFIER, name))));
}

std::string CountMessage(std::string_view name, std::size_t count, int32 min, int32 max)
{
    std::string message(name);
    message += "() takes ";
    if (max < 0)
        message += "at least ";
    message += min == 0 && max == 0 ? "no" : std::to_string(min);
    if (max > min)
        message += " to " + std::to_string(max);
    message += min == 1 && max <= 1 ? " argument" : " arguments";
    return message + ", not " + std::to_string(count);
}

Error MakeError(std::string_view text, const Failure& failure, std::size_t place, std::string fieldPath)
{
    const Failure::Details& details = *failure.m_details;
    const SourceText source{s_textName, text};
    text::Lexeme token;
    std::size_t size = 0;
    if (place < text.size() && text::Scan(text.data() + place, text.data() + text.size(), false, token))
    {
        place = static_cast<std::size_t>(token.m_start - text.data());
        size = static_cast<std::size_t>(token.m_past - token.m_start);
    }
    const Place at = PlaceOf(source, place);
    const Excerpt excerpt = ExcerptAt(source, place, size);
    return Error({.m_kind = details.m_kind,
                  .m_message = details.m_message,
                  .m_source = std::string(s_textName),
                  .m_line = at.m_line,
                  .m_column = at.m_column,
                  .m_excerpt = excerpt.m_line + "\n" + excerpt.m_blanks + excerpt.m_caret,
                  .m_fieldPath = std::move(fieldPath),
                  .m_suggestions = NearestNames(details.m_unknown, details.m_existing),
                  .m_hint = HintFor(details.m_message, text, place)});
}

} // namespace kelm::evaluation
