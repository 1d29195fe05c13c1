#pragma once

// Reflected variables and objects as JSON:
//
// - an object behind a handle: its members in declaration order behind "$class", the name of its class; null for none
// - a class instance: its members
// - arrays, vectors and sets: arrays
// - a map with 8-bit string keys: an object; any other: an array of [key, payload]
// - a variant: an object with one member, named as the alternative
// - an enumeration: the enumerator's name; a number that has none as the number
// - strings and characters: texts; numbers as JsonText.h tells

#include "JsonText.h"

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>

#include <stdexcept>

namespace kelm::tool
{

// What JSON cannot hold: a cycle of objects, values nested to more than a thousand levels, 128-bit integers, keys that
// are not UTF-8 and have one name.
class JsonException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

void WriteJson(JsonText& json, ReflectionByteCode type, const void* data);
void WriteJson(JsonText& json, ptr<IObject> object);

} // namespace kelm::tool
