#include <kelm/private/expressions/Functions.h>

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/values/Texts.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>

namespace kelm::evaluation
{

namespace
{

bool IsNumber(const Slot& slot)
{
    return slot.m_kind == Kind::Integer || slot.m_kind == Kind::Float;
}

float64 AsFloat(const Slot& slot)
{
    return slot.m_kind == Kind::Integer ? static_cast<float64>(slot.m_integer) : slot.m_float;
}

// All must be numbers; whether all are integers.
bool CheckNumbers(const Slot* arguments, std::size_t count, bool& areIntegers, std::size_t& failed, Failure& failure)
{
    areIntegers = true;
    for (std::size_t i = 0; i < count; ++i)
    {
        if (!IsNumber(arguments[i]))
        {
            failed = i;
            return FailConversion(failure, arguments[i], "float64");
        }
        areIntegers = areIntegers && arguments[i].m_kind == Kind::Integer;
    }
    return true;
}

// Of numbers: integers where all are, floats otherwise.
template <class OfIntegers, class OfFloats>
bool ApplyToNumbers(const Slot* arguments, std::size_t count, Slot& result, std::size_t& failed, Failure& failure,
                    OfIntegers ofIntegers, OfFloats ofFloats)
{
    bool areIntegers = false;
    if (!CheckNumbers(arguments, count, areIntegers, failed, failure))
        return false;
    if (areIntegers)
    {
        int64 x = arguments[0].m_integer;
        for (std::size_t i = 1; i < count; ++i)
            x = ofIntegers(x, arguments[i].m_integer);
        result.Set(x);
        return true;
    }
    float64 x = AsFloat(arguments[0]);
    for (std::size_t i = 1; i < count; ++i)
        x = ofFloats(x, AsFloat(arguments[i]));
    result.Set(x);
    return true;
}

template <bool IsMin>
bool Extreme(const Slot* arguments, std::size_t count, Slot& result, std::size_t& failed, Failure& failure)
{
    const auto pick = [](auto x, auto y) { return (IsMin ? y < x : x < y) ? y : x; };
    return ApplyToNumbers(arguments, count, result, failed, failure, pick, pick);
}

bool Abs(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    if (arguments[0].m_kind == Kind::Integer)
    {
        const int64 x = arguments[0].m_integer;
        if (x == std::numeric_limits<int64>::min())
        {
            failed = 0;
            return Fail(failure, ErrorKind::Range, "Value 9223372036854775808 is out of range of int64");
        }
        result.Set(x < 0 ? -x : x);
        return true;
    }
    bool areIntegers = false;
    if (!CheckNumbers(arguments, 1, areIntegers, failed, failure))
        return false;
    result.Set(std::fabs(arguments[0].m_float));
    return true;
}

bool Clamp(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    bool areIntegers = false;
    if (!CheckNumbers(arguments, 3, areIntegers, failed, failure))
        return false;
    const auto clamp = [](auto x, auto low, auto high) { return x < low ? low : high < x ? high : x; };
    if (areIntegers)
        result.Set(clamp(arguments[0].m_integer, arguments[1].m_integer, arguments[2].m_integer));
    else
        result.Set(clamp(AsFloat(arguments[0]), AsFloat(arguments[1]), AsFloat(arguments[2])));
    return true;
}

template <float64 (*Function)(float64)>
bool OfFloat(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    bool areIntegers = false;
    if (!CheckNumbers(arguments, 1, areIntegers, failed, failure))
        return false;
    result.Set(Function(AsFloat(arguments[0])));
    return true;
}

bool Sqrt(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    bool areIntegers = false;
    if (!CheckNumbers(arguments, 1, areIntegers, failed, failure))
        return false;
    const float64 x = AsFloat(arguments[0]);
    if (x < 0.0)
    {
        failed = 0;
        return Fail(failure, ErrorKind::Arithmetic, "Can't take sqrt of value " + Written(arguments[0]));
    }
    result.Set(std::sqrt(x));
    return true;
}

bool Pow(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    bool areIntegers = false;
    if (!CheckNumbers(arguments, 2, areIntegers, failed, failure))
        return false;
    result.Set(std::pow(AsFloat(arguments[0]), AsFloat(arguments[1])));
    return true;
}

// --- Texts -----------------------------------------------------------------------------------------------------------

bool CheckTexts(const Slot* arguments, std::size_t count, std::size_t& failed, Failure& failure)
{
    for (std::size_t i = 0; i < count; ++i)
        if (arguments[i].m_kind != Kind::Text)
        {
            failed = i;
            return FailConversion(failure, arguments[i], "string");
        }
    return true;
}

template <bool (*Question)(std::string_view a, std::string_view b)>
bool OfTwoTexts(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    if (!CheckTexts(arguments, 2, failed, failure))
        return false;
    result.Set(Question(arguments[0].GetText(), arguments[1].GetText()));
    return true;
}

bool Contains(std::string_view a, std::string_view b)
{
    return a.find(b) != std::string_view::npos;
}
bool StartsWith(std::string_view a, std::string_view b)
{
    return a.starts_with(b);
}
bool EndsWith(std::string_view a, std::string_view b)
{
    return a.ends_with(b);
}

// ASCII letters alone, whatever the locale.
constexpr char ToLower(char c)
{
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr char ToUpper(char c)
{
    return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

template <char (*Letter)(char)>
bool Letters(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    if (!CheckTexts(arguments, 1, failed, failure))
        return false;
    const std::string_view text = arguments[0].GetText();
    std::transform(text.begin(), text.end(), MakeText(result, text.size()), Letter);
    return true;
}

bool Trim(const Slot* arguments, std::size_t, Slot& result, std::size_t& failed, Failure& failure)
{
    if (!CheckTexts(arguments, 1, failed, failure))
        return false;
    constexpr std::string_view space = " \t\n\v\f\r";
    const std::string_view text = arguments[0].GetText();
    const std::size_t begin = text.find_first_not_of(space);
    if (begin == std::string_view::npos)
        SetOwnText(result, {});
    else
        SetOwnText(result, text.substr(begin, text.find_last_not_of(space) + 1 - begin));
    return true;
}

constexpr auto s_values = OwnFunction::Form::Values;
constexpr auto s_list = OwnFunction::Form::List;
using Result = OwnFunction::Result;

constexpr OwnFunction s_functions[] = {
    {"min", s_values, Result::AsArguments, {}, 1, -1, Extreme<true>, "x, ...", "the least of numbers", true},
    {"max", s_values, Result::AsArguments, {}, 1, -1, Extreme<false>, "x, ...", "the greatest of numbers", true},
    {"abs", s_values, Result::AsArguments, {}, 1, 1, Abs, "x", "a number without its sign"},
    {"floor",
     s_values,
     Result::Float,
     {},
     1,
     1,
     OfFloat<::floor>,
     "x",
     "the next whole number below, a float",
     false,
     ::floor},
    {"ceil",
     s_values,
     Result::Float,
     {},
     1,
     1,
     OfFloat<::ceil>,
     "x",
     "the next whole number above, a float",
     false,
     ::ceil},
    {"round",
     s_values,
     Result::Float,
     {},
     1,
     1,
     OfFloat<::round>,
     "x",
     "the nearest whole number, a float",
     false,
     ::round},
    {"sqrt", s_values, Result::Float, {}, 1, 1, Sqrt, "x", "the square root", false, ::sqrt, Domain::NotNegative},
    {"pow", s_values, Result::Float, {}, 2, 2, Pow, "x, y", "x to the power of y, a float"},
    {"clamp", s_values, Result::AsArguments, {}, 3, 3, Clamp, "x, a, b", "x within limits"},
    {"contains", s_values, Result::Bool, {}, 2, 2, OfTwoTexts<Contains>, "s, t", "whether a text has another within"},
    {"starts_with",
     s_values,
     Result::Bool,
     {},
     2,
     2,
     OfTwoTexts<StartsWith>,
     "s, t",
     "whether a text begins with another"},
    {"ends_with", s_values, Result::Bool, {}, 2, 2, OfTwoTexts<EndsWith>, "s, t", "whether a text ends with another"},
    {"lower", s_values, Result::Any, {}, 1, 1, Letters<ToLower>, "s", "in lower case"},
    {"upper", s_values, Result::Any, {}, 1, 1, Letters<ToUpper>, "s", "in upper case"},
    {"trim", s_values, Result::Any, {}, 1, 1, Trim, "s", "without white space at its ends"},
    {"has", OwnFunction::Form::Has, Result::Bool, {}, 1, 1, nullptr, "path", "whether a path leads to something"},
    {"sum", s_list, Result::Any, ListFunction::Sum, 3, 3, nullptr, "list, e, x", "the sum of x over the elements e"},
    {"any", s_list, Result::Bool, ListFunction::Any, 3, 3, nullptr, "list, e, c", "whether c holds of any element e"},
    {"all", s_list, Result::Bool, ListFunction::All, 3, 3, nullptr, "list, e, c", "whether c holds of all elements e"},
    {"count", s_list, Result::Any, ListFunction::Count, 3, 3, nullptr, "list, e, c", "of how many elements e c holds"},
};

} // namespace

std::span<const OwnFunction> GetOwnFunctions()
{
    return s_functions;
}

const OwnFunction* FindOwnFunction(std::string_view name)
{
    const auto* const found = std::find_if(std::begin(s_functions), std::end(s_functions),
                                           [&](const OwnFunction& function) { return function.m_name == name; });
    return found != std::end(s_functions) ? found : nullptr;
}

uint32 IndexOfOwnFunction(const OwnFunction& function)
{
    return static_cast<uint32>(&function - s_functions);
}

const OwnFunction& GetOwnFunction(uint32 index)
{
    return s_functions[index];
}

} // namespace kelm::evaluation
