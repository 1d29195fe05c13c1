#include <klObject/values/DurationText.h>

#include <klObject/values/private/WideInteger.h>
#include <klUtils/ToString.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace kelm
{

namespace
{

struct Unit
{
    ConstStringZ m_name;
    int64 m_nanoseconds;
};

constexpr Unit s_units[] = {
    {"h", 3600000000000}, {"min", 60000000000}, {"s", 1000000000}, {"ms", 1000000}, {"us", 1000}, {"ns", 1},
};

const Unit& ChooseUnit(int64 nanosecondsPerTick)
{
    const Unit* unit = s_units;
    while (nanosecondsPerTick % unit->m_nanoseconds != 0)
        ++unit;
    return *unit;
}

SubString PutUnit(char* buffer, char* end, const Unit& unit)
{
    const std::size_t size = std::strlen(unit.m_name);
    std::memcpy(end, unit.m_name, size);
    return {buffer, end + size};
}

const Unit* FindUnit(SubString name)
{
    for (const Unit& unit : s_units)
        if (strcmp(name, unit.m_name) == 0)
            return &unit;
    return nullptr;
}

// The number in front of a unit: [-]digits[.digits].
struct Number
{
    bool m_isNegative = false;
    SubString m_digits;    // the sign left out, the point among them
    uint64 m_mantissa = 0; // of up to 19 digits
    uint64 m_scale = 1;    // that the mantissa is to be divided by
    bool m_isExact = true; // whether the two are all of it
    SubString m_unit;
};

bool ReadNumber(SubString text, Number& number)
{
    const char* p = text.m_p1;
    number.m_isNegative = p != text.m_p2 && *p == '-';
    p += number.m_isNegative;
    number.m_digits.m_p1 = p;
    bool isFraction = false;
    bool endsInDigit = false;
    for (; p != text.m_p2; ++p)
    {
        if (*p == '.' && !isFraction && endsInDigit)
        {
            isFraction = true;
            endsInDigit = false;
            continue;
        }
        if (*p < '0' || *p > '9')
            break;
        endsInDigit = true;
        constexpr uint64 limit = 1000000000000000000;
        if (number.m_mantissa >= limit || number.m_scale >= limit)
        {
            number.m_isExact = number.m_isExact && isFraction && *p == '0';
            continue;
        }
        number.m_mantissa = 10 * number.m_mantissa + static_cast<uint64>(*p - '0');
        number.m_scale *= isFraction ? 10 : 1;
    }
    number.m_digits.m_p2 = p;
    number.m_unit = {p, text.m_p2};
    return endsInDigit;
}

} // namespace

SubString PutDuration(char* buffer, int64 ticks, int64 nanosecondsPerTick)
{
    const Unit& unit = ChooseUnit(nanosecondsPerTick);
    uint128 value = ticks < 0 ? -static_cast<uint128>(ticks) : static_cast<uint128>(ticks);
    value *= static_cast<uint128>(nanosecondsPerTick / unit.m_nanoseconds);
    char digits[40];
    char* const end = digits + sizeof digits;
    char* begin = end;
    do
    {
        *--begin = static_cast<char>('0' + static_cast<int>(value % 10));
        value /= 10;
    } while (value != 0);
    if (ticks < 0)
        *--begin = '-';
    std::memcpy(buffer, begin, static_cast<std::size_t>(end - begin));
    return PutUnit(buffer, buffer + (end - begin), unit);
}

SubString PutDuration(char* buffer, double ticks, int64 nanosecondsPerTick)
{
    const Unit& unit = ChooseUnit(nanosecondsPerTick);
    const auto [end, error] = std::to_chars(buffer, buffer + s_maxDurationText - 4, ticks);
    return PutUnit(buffer, end, unit);
}

namespace
{

// The magnitude of a number whose digits are all known; false where it is not one of whole ticks.
bool GetTicks(const Number& number, const Unit& unit, int64 nanosecondsPerTick, uint128& ticks)
{
    const uint128 value = static_cast<uint128>(number.m_mantissa) * static_cast<uint128>(unit.m_nanoseconds);
    const uint128 divisor = static_cast<uint128>(number.m_scale) * static_cast<uint128>(nanosecondsPerTick);
    ticks = value / divisor;
    return value % divisor == 0;
}

} // namespace

bool ReadDuration(SubString text, int64 nanosecondsPerTick, int64& ticks)
{
    Number number;
    if (!ReadNumber(text, number) || !number.m_isExact)
        return false;
    const Unit* const unit = FindUnit(number.m_unit);
    uint128 value = 0;
    if (unit == nullptr || !GetTicks(number, *unit, nanosecondsPerTick, value))
        return false;
    const auto limit = static_cast<uint128>(std::numeric_limits<int64>::max()) + (number.m_isNegative ? 1 : 0);
    if (value > limit)
        return false;
    ticks = static_cast<int64>(number.m_isNegative ? -static_cast<uint64>(value) : static_cast<uint64>(value));
    return true;
}

bool ReadDuration(SubString text, int64 nanosecondsPerTick, double& ticks)
{
    // Whatever to_chars writes: exponents, and what is no number.
    double value = 0;
    const auto [end, error] = std::from_chars(text.m_p1, text.m_p2, value);
    if (error != std::errc())
        return false;
    const Unit* const unit = FindUnit({end, text.m_p2});
    if (unit == nullptr)
        return false;
    const Unit& own = ChooseUnit(nanosecondsPerTick);
    if (unit == &own && nanosecondsPerTick == own.m_nanoseconds)
        ticks = value;
    else
        ticks = value * static_cast<double>(unit->m_nanoseconds) / static_cast<double>(nanosecondsPerTick);
    return true;
}

bool IsDurationOfAnySize(SubString text, int64 nanosecondsPerTick, bool hasFractions)
{
    if (hasFractions)
    {
        double value = 0;
        const auto [end, error] = std::from_chars(text.m_p1, text.m_p2, value);
        return error != std::errc::invalid_argument && FindUnit({end, text.m_p2}) != nullptr;
    }
    Number number;
    const Unit* const unit = ReadNumber(text, number) ? FindUnit(number.m_unit) : nullptr;
    if (unit == nullptr)
        return false;
    const char* const first = std::find_if(number.m_digits.m_p1, number.m_digits.m_p2, [](char c) { return c != '0'; });
    constexpr ptrdiff_t mostDigits = 18; // that are all known
    if (std::find(first, number.m_digits.m_p2, '.') - first > mostDigits)
        return true;
    uint128 ticks = 0;
    return number.m_isExact && GetTicks(number, *unit, nanosecondsPerTick, ticks);
}

} // namespace kelm
