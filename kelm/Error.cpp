#include <kelm/Error.h>

#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/errors/Suggest.h>

#include <atomic>
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
    else if (!details.m_hint.empty())
        text += "; " + Shown(details.m_hint);
    if (!details.m_excerpt.empty())
        text += "\n" + details.m_excerpt;
    return text;
}

} // namespace

struct Error::SharedDetails : Details
{
    explicit SharedDetails(Details details) : Details(std::move(details)) {}

    // Of the errors that have them.
    static void Add(const Details* details) { GetCount(details).fetch_add(1, std::memory_order_relaxed); }
    static void Release(const Details* details)
    {
        if (GetCount(details).fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete static_cast<const SharedDetails*>(details);
    }

private:
    static std::atomic<int>& GetCount(const Details* details)
    {
        return static_cast<const SharedDetails*>(details)->m_count;
    }

    mutable std::atomic<int> m_count = 1;
};

Error::Error(Details details) : std::runtime_error(WholeText(details)), m_details(new SharedDetails(std::move(details)))
{
}

Error::Error(const Error& other) noexcept : std::runtime_error(other), m_details(other.m_details)
{
    SharedDetails::Add(m_details);
}

Error& Error::operator=(const Error& other) noexcept
{
    SharedDetails::Add(other.m_details);
    SharedDetails::Release(m_details);
    std::runtime_error::operator=(other);
    m_details = other.m_details;
    return *this;
}

Error::~Error()
{
    SharedDetails::Release(m_details);
}

} // namespace kelm
