#pragma once

// The answers to requests about texts, each from the request's parameters. They throw RequestError.

#include <kelmLanguage/server/Session.h>

#include <span>

namespace kelm::language
{

struct Request
{
    const char* m_method;
    Json (*m_answer)(Session& session, const Json& params);
};

std::span<const Request> GetRequests();

// What initialize tells of them.
Json AbilitiesOf(const Session& session);

// What is wrong with a text, as far as the types tell.
Json DiagnosticsOf(const Session& session, const OpenText& text);
Json DiagnosticsOf(const Session& session, const OpenText& text, const std::vector<ReadFinding>& findings);

} // namespace kelm::language
