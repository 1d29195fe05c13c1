#include <kelmLanguage/server/Json.h>

namespace kelm::language
{

Json ReadJson(std::string_view text)
{
    return Json::parse(text, nullptr, false);
}

std::string WriteJson(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace kelm::language
