// RapidJSON: a document, and its values copied into the objects.

#include "JsonPeers.h"

#include <rapidjson/document.h>

#include <stdexcept>

namespace kelm::bench
{

namespace
{

rapidjson::Document Parse(const std::string& json)
{
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(json.data(), json.size());
    if (document.HasParseError())
        throw std::runtime_error("RapidJSON cannot parse");
    return document;
}

std::vector<std::int64_t> ReadIntegers(const std::string& json)
{
    const rapidjson::Document document = Parse(json);
    const auto array = document["values"].GetArray();
    std::vector<std::int64_t> values;
    values.reserve(array.Size());
    for (const rapidjson::Value& value : array)
        values.push_back(value.GetInt64());
    return values;
}

std::vector<double> ReadDoubles(const std::string& json)
{
    const rapidjson::Document document = Parse(json);
    const auto array = document["values"].GetArray();
    std::vector<double> values;
    values.reserve(array.Size());
    for (const rapidjson::Value& value : array)
        values.push_back(value.GetDouble());
    return values;
}

int ReadColour(const rapidjson::Value& value)
{
    for (int i = 0; i < 4; ++i)
        if (value == s_colours[i])
            return i;
    throw std::runtime_error("unknown colour");
}

std::vector<PlainRecord> ReadRecords(const std::string& json)
{
    const rapidjson::Document document = Parse(json);
    const auto array = document["values"].GetArray();
    std::vector<PlainRecord> values;
    values.reserve(array.Size());
    for (const rapidjson::Value& object : array)
    {
        PlainRecord& r = values.emplace_back();
        const rapidjson::Value& name = object["name"];
        r.m_name.assign(name.GetString(), name.GetStringLength());
        r.m_id = object["id"].GetInt64();
        r.m_x = object["x"].GetDouble();
        r.m_y = object["y"].GetDouble();
        r.m_z = object["z"].GetDouble();
        r.m_colour = ReadColour(object["colour"]);
        r.m_width = object["width"].GetInt();
        r.m_height = object["height"].GetInt();
        r.m_depth = object["depth"].GetInt();
    }
    return values;
}

PlainMap ReadCounts(const std::string& json)
{
    const rapidjson::Document document = Parse(json);
    PlainMap values;
    for (const auto& member : document["values"].GetObject())
        values.emplace(std::string_view(member.name.GetString(), member.name.GetStringLength()),
                       member.value.GetInt64());
    return values;
}

} // namespace

const JsonPeer s_rapidJson = {"RapidJSON", ReadIntegers, ReadDoubles, ReadRecords, ReadCounts};

} // namespace kelm::bench
