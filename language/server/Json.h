#pragma once

// What a client sends, whatever that is: members that are asked for and are not there, or are something else, are
// errors of the request.

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace kelm::language
{

using Json = nlohmann::json;

// The library's reader and writer, compiled once. What is no JSON is read as a discarded value; what is no UTF-8 is
// written with replacement characters.
Json ReadJson(std::string_view text);
std::string WriteJson(const Json& json);

enum ErrorCode
{
    ERROR_PARSE = -32700,
    ERROR_INVALID_REQUEST = -32600,
    ERROR_NO_METHOD = -32601,
    ERROR_INVALID_PARAMS = -32602,
    ERROR_INTERNAL = -32603,
    ERROR_NOT_INITIALIZED = -32002,
    ERROR_REQUEST_FAILED = -32803,
    ERROR_CANCELLED = -32800,
};

struct RequestError
{
    ErrorCode m_code;
    std::string m_message;
};

// Null where it is not there.
inline const Json* Find(const Json& json, const char* name)
{
    if (!json.is_object())
        return nullptr;
    const auto member = json.find(name);
    return member != json.end() ? &*member : nullptr;
}

// A member of members.
template <class... Names>
const Json* Find(const Json& json, const char* name, const char* next, Names... names)
{
    const Json* const member = Find(json, name);
    return member != nullptr ? Find(*member, next, names...) : nullptr;
}

inline const Json& Get(const Json& json, const char* name)
{
    const Json* const member = Find(json, name);
    if (member == nullptr)
        throw RequestError{ERROR_INVALID_PARAMS, std::string("'") + name + "' is missing"};
    return *member;
}

inline const std::string& GetText(const Json& json, const char* name)
{
    const Json& member = Get(json, name);
    if (!member.is_string())
        throw RequestError{ERROR_INVALID_PARAMS, std::string("'") + name + "' is no text"};
    return member.get_ref<const std::string&>();
}

inline long long GetInteger(const Json& json, const char* name)
{
    const Json& member = Get(json, name);
    if (!member.is_number_integer())
        throw RequestError{ERROR_INVALID_PARAMS, std::string("'") + name + "' is no integer"};
    return member.is_number_unsigned()
               ? static_cast<long long>(std::min<std::uint64_t>(member.get<std::uint64_t>(), INT64_MAX))
               : member.get<long long>();
}

inline bool IsTrue(const Json* json)
{
    return json != nullptr && json->is_boolean() && json->get<bool>();
}

} // namespace kelm::language
