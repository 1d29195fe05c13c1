#pragma once

// JSON with its places: a text as the values that are in it, one behind the other, as they stand there.

#include <klUtils/types.h>

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

enum class JsonKind : uint8
{
    Null,
    Bool,
    Number,
    Text,
    Array,
    Object,
    Name, // of the member whose value is the next one
};

struct JsonValue
{
    JsonKind m_kind;
    std::size_t m_begin; // in the text, in octets
    std::size_t m_end;
    std::size_t m_next;      // of the tape: what stands behind it and all that is in it
    std::string_view m_text; // of a text or a name its characters, of others what is written
};

struct JsonFault
{
    std::string m_message;
    std::size_t m_place; // in octets
};

// The values of a text. An array is followed by its elements, an object by the names and values of its members.
// Comments of C's and C++'s are passed over. Refers to the text.
class JsonTape
{
public:
    // Nothing, and one fault, where the text is no JSON, nests to more than a thousand levels, or gives a member twice.
    static std::optional<JsonTape> Read(std::string_view text, JsonFault& fault);

    JsonTape() = default;
    JsonTape(JsonTape&&) = default; // values refer to the texts that it keeps
    JsonTape& operator=(JsonTape&&) = default;

    const JsonValue& operator[](std::size_t i) const { return m_values[i]; }
    std::size_t size() const { return m_values.size(); }

private:
    friend class TapeMaker;

    std::vector<JsonValue> m_values;
    std::deque<std::string> m_decoded; // texts that are written with escapes
};

} // namespace kelm::language
