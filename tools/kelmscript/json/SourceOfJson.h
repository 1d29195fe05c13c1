#pragma once

// JSON, as JsonVariable.h tells, as the text of a data source: what the JSON does not mention is not in the text
// either.

#include <kelmLanguage/JsonTape.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelm::tool
{

// JSON that stands for nothing of the type that it is for.
class JsonMismatch : public std::runtime_error
{
public:
    JsonMismatch(const std::string& message, std::size_t place) : std::runtime_error(message), m_place(place) {}

    std::size_t GetPlace() const { return m_place; } // in the JSON

private:
    std::size_t m_place;
};

struct SourceOfJson
{
    struct Place
    {
        std::size_t m_inText;
        std::size_t m_inJson;
    };

    // Where the JSON has what is at an offset of the text.
    std::size_t InJson(std::size_t inText) const;

    std::string m_text;
    std::vector<Place> m_places; // of the tokens, in order
};

// The object of the JSON, of the class that its "$class" names or else of the one given here. Whether scalars have the
// right values is for the reader of the text to say.
SourceOfJson MakeSourceOfJson(const language::JsonTape& json, const std::string& className);

} // namespace kelm::tool
