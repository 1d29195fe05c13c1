#include <kelm/Error.h>

#include <kelm/private/Excerpt.h>
#include <kelm/private/Suggest.h>

#include <utility>

namespace kelm
{

namespace
{

std::string WholeText(const Error::Details& details)
{
    std::string text;
    if (details.m_line > 0)
        text += Shown(details.m_source) + ":" + std::to_string(details.m_line) + ":" +
                std::to_string(details.m_column) + ": ";
    text += "error: " + Shown(details.m_message);
    if (!details.m_suggestions.empty())
        text += "; " + DidYouMean(details.m_suggestions);
    if (!details.m_excerpt.empty())
        text += "\n" + details.m_excerpt;
    return text;
}

} // namespace

Error::Error(Details details)
    : std::runtime_error(WholeText(details)), m_details(std::make_shared<const Details>(std::move(details)))
{
}

Error::Error(const Error& other) noexcept = default;
Error& Error::operator=(const Error& other) noexcept = default;
Error::~Error() = default;

} // namespace kelm
