#include "Suggest.h"

#include <klUtils/text/EToken.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <optional>

namespace kelm::tool
{

std::string HintFor(std::string_view message, std::string_view text, std::size_t offset)
{
    constexpr std::string_view fromValue = "No implicit conversion from value ";
    constexpr std::string_view toFloat = " to float64";
    if (message.starts_with(fromValue) && message.ends_with(toFloat))
    {
        const std::string_view value =
            message.substr(fromValue.size(), message.size() - fromValue.size() - toFloat.size());
        if (value.find_first_not_of("-0123456789") == std::string_view::npos)
            return "with --natural, functions of floats take integers";
    }
    if (message == ". not available on map")
    {
        const std::string_view rest = text.substr(offset);
        const auto* const end = std::find_if_not(rest.begin(), rest.end(), IsIdentifierCharacter);
        return "what a map holds is named by its key: [\"" + std::string(rest.begin(), end) + "\"]";
    }
    return {};
}

std::vector<Note> SuggestNames(const SourceText& source, const ParserBase& parser, const std::string& message,
                               std::size_t offset)
{
    const std::optional<UnknownName> unknown = FindUnknownName(message);
    if (!unknown)
        return {};
    const LSToken& nameToken = unknown->m_isAtName ? parser.m_token : parser.m_prevToken;
    const std::string hint = unknown->m_isClass && unknown->m_existing.empty() ? s_noClasses : unknown->GetHint();
    if (hint.empty() || nameToken.m_type != TOKEN_IDENTIFIER)
        return {};
    const auto nameOffset = static_cast<std::size_t>(nameToken.m_str.m_p1 - source.View().m_p1);
    return {{hint, unknown->m_isAtName ? offset : nameOffset}};
}

} // namespace kelm::tool
