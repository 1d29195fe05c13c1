#pragma once

// While one lives, the C library's numbers have points on this thread, whatever the program's locale: for what tests
// themselves read and write by it, never around what they test.

#include <clocale>
#include <cstdlib>

namespace kelm
{

class InCLocale
{
public:
    InCLocale() : m_before(uselocale(Get())) {}
    ~InCLocale() { uselocale(m_before); }
    InCLocale(const InCLocale&) = delete;
    InCLocale& operator=(const InCLocale&) = delete;

private:
    static locale_t Get()
    {
        static const locale_t s_locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return s_locale;
    }

    const locale_t m_before;
};

inline double DoubleOf(const char* text)
{
    const InCLocale here;
    return std::strtod(text, nullptr);
}
inline float FloatOf(const char* text)
{
    const InCLocale here;
    return std::strtof(text, nullptr);
}

} // namespace kelm
