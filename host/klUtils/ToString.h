#pragma once

// Numbers as text. Integers in decimal. Floats in the shortest digits that read back to the same value, and always so
// that they read back as a float: "1.0", "0.1", "1e+300", "inf", "-inf", "nan". Locale-free.

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

// Writes the text of a number at `p`, where s_numberRoom characters must have room, and returns its end. Characters
// behind the end may be written too.
inline constexpr int s_numberRoom = 40;
KLUTILS_API char* PutNumber(char* p, double value);
KLUTILS_API char* PutNumber(char* p, float value); // the shortest digits that read back as the same 32-bit float

// The text of one number, without an allocation. Converts to a view of itself.
class KLUTILS_API NumberText
{
public:
    explicit NumberText(int value) : NumberText(static_cast<long>(value)) {}
    explicit NumberText(long value);
    explicit NumberText(unsigned long value);
    explicit NumberText(double value);
    explicit NumberText(float value);

    operator SubString() const { return {m_text, m_text + m_length}; }

private:
    char m_text[s_numberRoom];
    int m_length;
};

KLUTILS_API xstring ToString(double value);
KLUTILS_API xstring ToString(long value);

} // namespace kelm
