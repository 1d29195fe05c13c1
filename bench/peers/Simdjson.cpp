// simdjson on demand, straight into the objects: once as a single call does it, from any text, and once with what its
// manual recommends for many calls, the parser's buffers kept from call to call and the text in padded memory already.

#include "JsonPeers.h"

#include <simdjson.h>

#include <stdexcept>

namespace kelm::bench
{

namespace
{

namespace ondemand = simdjson::ondemand;

class PlainSource
{
public:
    explicit PlainSource(const std::string& json) : m_json(json), m_document(m_parser.iterate(m_json)) {}

    ondemand::document& Get() { return m_document; }

private:
    simdjson::padded_string m_json;
    ondemand::parser m_parser;
    ondemand::document m_document;
};

class KeptSource
{
public:
    explicit KeptSource(const std::string& json)
        : m_document(KeptParser().iterate(simdjson::padded_string_view(json.data(), json.size(), json.capacity())))
    {
    }

    ondemand::document& Get() { return m_document; }

private:
    static ondemand::parser& KeptParser()
    {
        static ondemand::parser parser;
        return parser;
    }

    ondemand::document m_document;
};

template <class Source>
std::vector<std::int64_t> ReadIntegers(const std::string& json)
{
    Source source(json);
    std::vector<std::int64_t> values;
    for (std::int64_t value : source.Get()["values"].get_array())
        values.push_back(value);
    return values;
}

template <class Source>
std::vector<double> ReadDoubles(const std::string& json)
{
    Source source(json);
    std::vector<double> values;
    for (double value : source.Get()["values"].get_array())
        values.push_back(value);
    return values;
}

int ReadColour(std::string_view name)
{
    for (int i = 0; i < 4; ++i)
        if (name == s_colours[i])
            return i;
    throw std::runtime_error("unknown colour");
}

int ReadInt(ondemand::object& object, std::string_view name)
{
    return static_cast<int>(object.find_field(name).get_int64().value());
}

template <class Source>
std::vector<PlainRecord> ReadRecords(const std::string& json)
{
    Source source(json);
    std::vector<PlainRecord> values;
    for (ondemand::object object : source.Get()["values"].get_array())
    {
        PlainRecord& r = values.emplace_back();
        r.m_name = object.find_field("name").get_string().value();
        r.m_id = object.find_field("id").get_int64();
        r.m_x = object.find_field("x").get_double();
        r.m_y = object.find_field("y").get_double();
        r.m_z = object.find_field("z").get_double();
        r.m_colour = ReadColour(object.find_field("colour").get_string());
        r.m_width = ReadInt(object, "width");
        r.m_height = ReadInt(object, "height");
        r.m_depth = ReadInt(object, "depth");
    }
    return values;
}

template <class Source>
PlainMap ReadCounts(const std::string& json)
{
    Source source(json);
    PlainMap values;
    for (auto field : source.Get()["values"].get_object())
        values.emplace(std::string_view(field.unescaped_key()), std::int64_t(field.value()));
    return values;
}

template <class Source>
constexpr JsonPeer MakePeer(const char* name)
{
    return {name, ReadIntegers<Source>, ReadDoubles<Source>, ReadRecords<Source>, ReadCounts<Source>};
}

} // namespace

const JsonPeer s_simdjson = MakePeer<PlainSource>("simdjson");
const JsonPeer s_simdjsonKept = MakePeer<KeptSource>("simdjson, buffers kept");

} // namespace kelm::bench
