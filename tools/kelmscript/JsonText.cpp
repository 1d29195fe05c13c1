#include "JsonText.h"

#include <klUtils/ToString.h>

#include <cmath>

namespace kelm::tool
{

namespace
{

std::string TextOf(const Json& json, int indentation)
{
    return json.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

} // namespace

Json JsonOfFloat(float64 value)
{
    if (std::isfinite(value))
        return value;
    return JsonOfText(ToString(value));
}

Json JsonOfText(SubString text)
{
    return std::string(text.begin(), text.end());
}

Json JsonOfValue(const KSValue& value)
{
    switch (value.GetTag())
    {
    case KSV_BOOL: return value.as<bool>();
    case KSV_INT64: return static_cast<int64>(value.as<int64>());
    case KSV_FLOAT64: return JsonOfFloat(value.as<float64>());
    case KSV_STRING8: return JsonOfText(value.as<string8>());
    case KSV_VOID:
    case KSV_REFLECTED_VALUE: break; // no expression has such a value
    }
    return nullptr;
}

Json JsonOfFailure(const Failure& failure, const SourceText& source)
{
    const Place place = PlaceOf(source, failure.m_offset);
    return {{"kind", failure.m_kind},
            {"message", JsonOfText(failure.m_message.c_str())},
            {"line", place.m_line},
            {"column", place.m_column}};
}

std::string CompactText(const Json& json)
{
    return TextOf(json, -1);
}

std::string IndentedText(const Json& json)
{
    return TextOf(json, 2);
}

} // namespace kelm::tool
