#include <klUtils/text/PlainText.h>

#include <klUtils/text/private/ReadNumber.h>

namespace kelm
{

bool PlainText::TryRead(double& value)
{
    SkipSpace();
    const bool isNegative = m_p != m_end && *m_p == '-';
    const char* const digits = m_p + isNegative;
    if (digits == m_end || !HasProperty(*digits, CHAR_DIGIT))
        return false;
    double magnitude = 0.0;
    const char* past = ReadShortDouble({digits, m_end}, magnitude);
    if (past == nullptr)
    {
        const DecimalFloat parts({digits, m_end});
        if (!TryReadExactly(parts, magnitude))
            return false;
        past = parts.GetEnd();
    }
    if (!EndsNumber(past))
        return false;
    value = isNegative ? -magnitude : magnitude;
    Pass(digits, past);
    return true;
}

} // namespace kelm
