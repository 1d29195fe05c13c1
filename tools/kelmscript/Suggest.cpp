#include "Suggest.h"

#include <klUtils/text/EToken.h>

#include <optional>

namespace kelm::tool
{

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
