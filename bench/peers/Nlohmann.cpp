// nlohmann's JSON: a document, and its values moved into the objects.

#include "JsonPeers.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace kelm::bench
{

namespace
{

using nlohmann::json;

std::vector<std::int64_t> ReadIntegers(const std::string& text)
{
    return json::parse(text).at("values").get<std::vector<std::int64_t>>();
}

std::vector<double> ReadDoubles(const std::string& text)
{
    return json::parse(text).at("values").get<std::vector<double>>();
}

std::vector<PlainRecord> ReadRecords(const std::string& text)
{
    json document = json::parse(text);
    json& array = document.at("values");
    std::vector<PlainRecord> values;
    values.reserve(array.size());
    for (json& object : array)
    {
        PlainRecord& r = values.emplace_back();
        r.m_name = std::move(object.at("name").get_ref<std::string&>());
        r.m_id = object.at("id");
        r.m_x = object.at("x");
        r.m_y = object.at("y");
        r.m_z = object.at("z");
        const std::string& colour = object.at("colour").get_ref<const std::string&>();
        r.m_colour = static_cast<int>(std::find(std::begin(s_colours), std::end(s_colours), colour) - s_colours);
        r.m_width = object.at("width");
        r.m_height = object.at("height");
        r.m_depth = object.at("depth");
    }
    return values;
}

PlainMap ReadCounts(const std::string& text)
{
    return json::parse(text).at("values").get<PlainMap>();
}

} // namespace

const JsonPeer s_nlohmann = {"nlohmann", ReadIntegers, ReadDoubles, ReadRecords, ReadCounts};

} // namespace kelm::bench
