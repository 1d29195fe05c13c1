#pragma once

// Values and failures as JSON. What JSON has no form for: the floats inf, -inf and nan are the texts "inf", "-inf" and
// "nan"; octets of strings that are not UTF-8 become U+FFFD.

#include "Failure.h"
#include "Source.h"

#include <klKelmScript/KSValue.h>
#include <klUtils/BasicSubString.h>

#include <nlohmann/json.hpp>

#include <string>

namespace kelm::tool
{

using Json = nlohmann::ordered_json;

Json JsonOfFloat(float64 value);
Json JsonOfText(SubString text);
Json JsonOfValue(const KSValue& value);
Json JsonOfFailure(const Failure& failure, const SourceText& source);

// On one line, or indented over several.
std::string CompactText(const Json& json);
std::string IndentedText(const Json& json);

} // namespace kelm::tool
