#include "Worker.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>

namespace kelm::tool
{

using language::Json;
using language::ReadJson;

namespace
{

constexpr double s_longestMaking = 10; // seconds of one class, for whoever cannot say

} // namespace

void Making::Begin(std::vector<CatalogueClass>& classes)
{
    *this = {};
    m_classes = &classes;
    for (const CatalogueClass& entry : classes)
        if (!entry.m_members.empty())
            m_names.push_back(entry.m_name);
}

void Making::Ask(Worker& worker) const
{
    worker.Send(
        {{"make", std::vector<std::string>(m_names.begin() + static_cast<std::ptrdiff_t>(m_next), m_names.end())}});
}

bool Making::Take(const Json& message)
{
    const Json* const name = language::Find(message, "made");
    const Json* const defaults = language::Find(message, "defaults");
    if (IsOver() || name == nullptr || *name != m_names[m_next] || defaults == nullptr || !defaults->is_array())
        return false;
    const auto entry = std::find_if(m_classes->begin(), m_classes->end(),
                                    [&](const CatalogueClass& e) { return e.m_name == m_names[m_next]; });
    for (std::size_t i = 0; i < std::min(defaults->size(), entry->m_members.size()); ++i)
        if (const Json& text = (*defaults)[i]; text.is_string())
            entry->m_members[i].m_default = text.get<std::string>();
    ++m_next;
    return true;
}

void Making::LeaveOut(const std::string& how)
{
    if (IsOver())
        return;
    m_leftOut.push_back(m_names[m_next++]);
    m_how = how;
}

std::string Making::GetFault() const
{
    constexpr std::size_t most = 5;
    if (m_leftOut.empty())
        return {};
    std::string names;
    for (std::size_t i = 0; i < std::min(m_leftOut.size(), most); ++i)
        names += (i == 0 ? "" : ", ") + m_leftOut[i];
    if (m_leftOut.size() > most)
        names += " and " + std::to_string(m_leftOut.size() - most) + " more";
    return "what new objects of " + names +
           " hold is not known, as their creation ended the process that made them: " + m_how;
}

namespace
{

// Until something is made, or the worker has ended: then how.
std::string WaitForNext(Worker& worker, Making& making, bool& hasSpoken)
{
    Allowance allowance;
    allowance.Begin(worker, s_longestMaking);
    while (true)
    {
        pollfd files[] = {{worker.GetOutput(), POLLIN, 0},
                          {worker.GetErrors(), POLLIN, 0},
                          {worker.HasToWrite() ? worker.GetInput() : -1, POLLOUT, 0}};
        constexpr int lookAgain = 1000;
        static_cast<void>(poll(files, std::size(files), lookAgain));
        if (files[1].revents != 0)
            worker.PassErrors();
        if (files[2].revents != 0)
            worker.Write();
        std::vector<language::Message> messages;
        const bool isOpen = files[0].revents == 0 || worker.Read(messages);
        bool isMade = false;
        for (const language::Message& message : messages)
            isMade |= making.Take(ReadJson(message.m_body));
        hasSpoken |= !messages.empty();
        bool hasRefused = false;
        if (!isOpen)
            return worker.End(hasRefused);
        if (isMade)
            return {};
        if (std::string how = allowance.Look(worker); !how.empty())
            return how;
    }
}

} // namespace

std::string TellDefaultsBeside(std::vector<CatalogueClass>& classes, const WorkerTypes& types)
{
    constexpr char unknown[] = "what new objects hold is not known: the process that makes them ";
    Making making;
    making.Begin(classes);
    while (!making.IsOver())
    {
        Worker worker;
        if (!worker.Start(types))
            return unknown + std::string("cannot be started");
        making.Ask(worker);
        std::string how;
        bool hasSpoken = false;
        while (how.empty() && !making.IsOver())
            how = WaitForNext(worker, making, hasSpoken);
        if (!hasSpoken)
            return unknown + ("has ended: " + how);
        making.LeaveOut(how);
    }
    return making.GetFault();
}

} // namespace kelm::tool
