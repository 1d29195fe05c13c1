#include "JsonText.h"

namespace kelm::tool
{

void WriteJson(JsonText& json, const Failure& failure, const SourceText& source)
{
    const Place place = PlaceOf(source, failure.m_offset);
    json.BeginObject();
    json.Name("kind");
    json.Text(failure.m_kind);
    json.Name("message");
    json.Text(failure.m_message);
    json.Name("line");
    json.Integer(place.m_line);
    json.Name("column");
    json.Integer(place.m_column);
    json.EndObject();
}

} // namespace kelm::tool
