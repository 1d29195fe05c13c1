#pragma once

// What the texts of literals are worth, and the typed reads, as their rules say it; see ReferenceTokens.h.

#include <support/ReferenceTokens.h>

#include <optional>
#include <string>

namespace kelm::reference
{

// A literal without a value.
struct LiteralError
{
    std::string m_message;
};

// Of digits alone; none where the text is anything else, or where 64 bits do not hold the value.
std::optional<uint64> ValueOfDecimal(const std::string& digits);
std::optional<uint64> ValueOfHexadecimal(const std::string& literal); // "0x2a"

// Of a whole decimal literal of any form, rounded to nearest; none where the value is beyond the type's range.
template <class Float>
std::optional<Float> ValueOfFloat(const std::string& literal);

// The operations of a token, given as the text of a literal of the kind in question. Throw LiteralError.
int64 GetLiteralInt64(const std::string& literal);
int64 GetLiteralHexInt64(const std::string& literal);
int32 GetLiteralHexInt32(const std::string& literal);
int32 GetLiteralInt32(const std::string& literal);
double GetLiteralDouble(const std::string& literal);
std::string GetLiteralString(const std::string& literal);
char GetLiteralCharacter(const std::string& literal);

// The typed reads, from the current token of the stream. Throw TextError.
bool ParseBool(Stream& stream);
template <class Int>
Int ParseInteger(Stream& stream, const std::string& typeName);
template <class Float>
Float ParseFloat(Stream& stream, const std::string& typeName);
char ParseChar(Stream& stream);
std::string ParseString(Stream& stream);

} // namespace kelm::reference
