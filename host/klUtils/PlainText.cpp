#include <klUtils/PlainText.h>

#include <klUtils/private/ReadNumber.h>

namespace kelm
{

bool PlainText::TryRead(double& value)
{
    SkipSpace();
    const bool isNegative = m_p != m_end && *m_p == '-';
    const char* const digits = m_p + isNegative;
    if (digits == m_end || !HasProperty(*digits, CHAR_DIGIT))
        return false;
    const DecimalFloat parts({digits, m_end});
    double magnitude = 0.0;
    if (!EndsNumber(parts.GetEnd()) || !TryReadExactly(parts, magnitude))
        return false;
    value = isNegative ? -magnitude : magnitude;
    Pass(digits, parts.GetEnd());
    return true;
}

} // namespace kelm
