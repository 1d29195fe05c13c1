#pragma once

// The JSON libraries' ways to read each workload into plain C++ objects. `json` has room for 64 bytes behind it.

#include "../support/ObjectTexts.h"

#include <map>
#include <string>
#include <vector>

namespace kelm::bench
{

using PlainMap = std::map<std::string, std::int64_t>;

struct JsonPeer
{
    const char* m_name;
    std::vector<std::int64_t> (*m_integers)(const std::string& json);
    std::vector<double> (*m_doubles)(const std::string& json);
    std::vector<PlainRecord> (*m_records)(const std::string& json);
    PlainMap (*m_counts)(const std::string& json);
};

extern const JsonPeer s_simdjson;
extern const JsonPeer s_simdjsonKept;
extern const JsonPeer s_rapidJson;
extern const JsonPeer s_nlohmann;

} // namespace kelm::bench
