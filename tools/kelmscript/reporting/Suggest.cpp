#include "Suggest.h"

#include <kelm/private/errors/Hints.h>
#include <kelm/private/expressions/Functions.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::tool
{

namespace
{

// What is known of an error of values or syntax.
struct Situation
{
    std::string_view m_message;
    std::string_view m_word; // that stands at the place, if one does
};

std::string HintForIntegers(const Situation& situation)
{
    constexpr std::string_view fromValue = "No implicit conversion from value ";
    constexpr std::string_view toFloat = " to float64";
    std::string_view message = situation.m_message;
    if (!message.starts_with(fromValue) || !message.ends_with(toFloat))
        return {};
    message.remove_prefix(fromValue.size());
    message.remove_suffix(toFloat.size());
    return message.find_first_not_of("-0123456789") == std::string_view::npos
               ? "with --natural, functions of floats take integers"
               : "";
}

std::string HintForFunctions(const Situation& situation)
{
    if (!situation.m_message.starts_with("Unexpected "))
        return {};
    for (const evaluation::OwnFunction& function : evaluation::GetOwnFunctions())
        if (function.m_name == situation.m_word)
            return "with --natural, there is " + std::string(function.m_name) + "(" + function.m_parameters + ")";
    return {};
}

// What the tool alone knows: that there is another language.
constexpr std::string (*s_hints[])(const Situation&) = {HintForIntegers, HintForFunctions};

} // namespace

std::string HintFor(std::string_view message, std::string_view text, std::size_t offset)
{
    const std::string_view rest = text.substr(std::min(offset, text.size()));
    const auto* const end = std::find_if_not(rest.begin(), rest.end(), IsIdentifierCharacter);
    const Situation situation{message, std::string_view(rest.begin(), end)};
    for (const auto hintFor : s_hints)
        if (std::string hint = hintFor(situation); !hint.empty())
            return hint;
    return kelm::HintFor(message, text, offset);
}

std::vector<Note> SuggestNames(const SourceText& source, const ParserBase& parser, const std::string& message,
                               std::size_t offset)
{
    const std::optional<UnknownName> unknown = FindUnknownName(message);
    if (!unknown)
        return {};
    const LSToken& nameToken = unknown->m_isAtName ? parser.m_token : parser.m_prevToken;
    const std::string hint = unknown->m_isClass && unknown->m_existing.empty() ? s_noClasses : unknown->TellExisting();
    if (hint.empty() || nameToken.m_type != TOKEN_IDENTIFIER)
        return {};
    const auto nameOffset = static_cast<std::size_t>(nameToken.m_str.m_p1 - source.View().m_p1);
    return {{hint, unknown->m_isAtName ? offset : nameOffset}};
}

} // namespace kelm::tool
