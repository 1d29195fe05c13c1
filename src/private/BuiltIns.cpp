#include <klKelmScript/private/BuiltIns.h>

#include <klUtils/text/private/ShortText.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace kelm
{

namespace
{

template <EKSValue Tag>
void TestType(KSValue& literal)
{
    KSValueAccess::Set(literal, literal.GetTag() == Tag);
}

void ConvertToBool(KSValue& literal)
{
    KSValueAccess::Set(literal, As<bool>(literal, true));
}

void ConvertToChar(KSValue& literal)
{
    uint8 c = 0;
    if (!Coerce(c, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "uint8");
    KSValueAccess::Set(literal, static_cast<int64>(c));
}

void ConvertToInt(KSValue& literal)
{
    int64 n = 0;
    if (!Coerce(n, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "int64");
    KSValueAccess::Set(literal, n);
}

void ConvertToDouble(KSValue& literal)
{
    KSValueAccess::Set(literal, As<double>(literal, true));
}

void ConvertToString(KSValue& literal)
{
    if (literal.is<string8>())
        return;
    xstring s;
    if (!Coerce(s, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "string8");
    KSValueAccess::SetString(literal, std::move(s));
}

constexpr BuiltIn s_builtIns[] = {
    {"false", "the bool false", Argument::None, false},
    {"true", "the bool true", Argument::None, true},
    {"len", "refused for every value", Argument::Any, false, ApplyLen},
    {"is_bool", "whether x is a bool", Argument::Any, false, TestType<KSV_BOOL>},
    {"is_int", "whether x is an int64", Argument::Any, false, TestType<KSV_INT64>},
    {"is_double", "whether x is a float64", Argument::Any, false, TestType<KSV_FLOAT64>},
    {"is_string", "whether x is a string", Argument::Any, false, TestType<KSV_STRING8>},
    {"bool", "x as a bool", Argument::Any, false, ConvertToBool},
    {"char", "x as an int64 from 0 to 255", Argument::Any, false, ConvertToChar},
    {"int", "x as an int64, truncated", Argument::Any, false, ConvertToInt},
    {"double", "x as a float64", Argument::Any, false, ConvertToDouble},
    {"string", "x as a string", Argument::Any, false, ConvertToString},
    {"sin", "the sine of a float64", Argument::Float, false, nullptr, ::sin},
    {"cos", "the cosine of a float64", Argument::Float, false, nullptr, ::cos},
    {"tan", "the tangent of a float64", Argument::Float, false, nullptr, ::tan},
    {"exp", "e to the power of a float64", Argument::Float, false, nullptr, ::exp},
    {"log", "the natural logarithm of a float64 above 0.0", Argument::PositiveFloat, false, nullptr, ::log},
};

// A perfect hash of the names' first eight characters, which tell them apart.
class BuiltInTable
{
public:
    constexpr BuiltInTable()
    {
        while (!TryFill())
            m_multiplier += 0x9E3779B97F4A7C16;
    }

    const BuiltIn* Find(SubString name) const
    {
        const ssize_t size = name.size();
        const uint64 word = WordOfShortText(name.m_p1, size < s_maxShortText ? size : s_maxShortText);
        const Slot& slot = m_slots[IndexOf(word)];
        if (slot.m_word != word || slot.m_size != size || (size > s_maxShortText && slot.m_last != name.m_p2[-1]))
            return nullptr;
        return &slot.m_builtIn;
    }

private:
    static constexpr int s_indexBits = 6;
    static constexpr ssize_t s_maxSize = s_maxShortText + 1;

    static constexpr int32 s_free = std::numeric_limits<int32>::min();

    struct Slot
    {
        uint64 m_word = 0;
        int32 m_size = s_free;
        char m_last = 0;
        BuiltIn m_builtIn;
    };

    constexpr std::size_t IndexOf(uint64 word) const { return word * m_multiplier >> (64 - s_indexBits); }

    constexpr bool TryFill()
    {
        for (Slot& slot : m_slots)
            slot = {};
        for (const BuiltIn& builtIn : s_builtIns)
        {
            const SubString name = builtIn.m_name;
            uint64 word = 0;
            for (ssize_t c = 0; c < std::min(name.size(), s_maxShortText); ++c)
                word |= static_cast<uint64>(name[c]) << 8 * c;
            Slot& slot = m_slots[IndexOf(word)];
            if (slot.m_size != s_free || name.size() > s_maxSize)
                return false;
            slot = {word, static_cast<int32>(name.size()), name.m_p2[-1], builtIn};
        }
        return true;
    }

    uint64 m_multiplier = 1;
    Slot m_slots[1 << s_indexBits] = {};
};

constexpr BuiltInTable s_builtInTable;

} // namespace

std::span<const BuiltIn> GetBuiltIns()
{
    return s_builtIns;
}

const BuiltIn* FindBuiltIn(SubString name)
{
    return s_builtInTable.Find(name);
}

} // namespace kelm
