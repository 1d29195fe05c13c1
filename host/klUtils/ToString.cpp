#include <klUtils/ToString.h>

#include <charconv>
#include <cmath>
#include <cstring>

namespace kelm
{

namespace
{

bool LooksLikeAnInteger(SubString number)
{
    for (const char c : number)
        if (c != '-' && (c < '0' || c > '9'))
            return false;
    return true;
}

} // namespace

NumberText::NumberText(long value)
{
    m_length = static_cast<int>(std::to_chars(m_text, m_text + sizeof m_text, value).ptr - m_text);
}

NumberText::NumberText(unsigned long value)
{
    m_length = static_cast<int>(std::to_chars(m_text, m_text + sizeof m_text, value).ptr - m_text);
}

template <class Float>
void NumberText::FormatFloat(Float value)
{
    // A NaN's sign says nothing to a reader.
    char* end = std::to_chars(m_text, m_text + sizeof m_text - 2, std::isnan(value) ? std::abs(value) : value).ptr;
    if (LooksLikeAnInteger({m_text, end}))
    {
        std::memcpy(end, ".0", 2);
        end += 2;
    }
    m_length = static_cast<int>(end - m_text);
}

NumberText::NumberText(double value)
{
    FormatFloat(value);
}

NumberText::NumberText(float value)
{
    FormatFloat(value);
}

xstring ToString(double value)
{
    return xstring(SubString(NumberText(value)));
}

xstring ToString(long value)
{
    return xstring(SubString(NumberText(value)));
}

} // namespace kelm
