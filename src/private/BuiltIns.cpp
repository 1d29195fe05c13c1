#include <klKelmScript/private/BuiltIns.h>

#include <cmath>
#include <iterator>

namespace kelm
{

namespace
{

template <bool Value>
void SetConstant(KSValue& literal)
{
    KSValueAccess::Set(literal, Value);
}

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
    xstring s;
    if (!Coerce(s, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "string8");
    KSValueAccess::SetString(literal, std::move(s));
}

constexpr BuiltIn s_builtIns[] = {
    {"false", Argument::None, SetConstant<false>},
    {"true", Argument::None, SetConstant<true>},
    {"len", Argument::Any, ApplyLen},
    {"is_bool", Argument::Any, TestType<KSV_BOOL>},
    {"is_int", Argument::Any, TestType<KSV_INT64>},
    {"is_double", Argument::Any, TestType<KSV_FLOAT64>},
    {"is_string", Argument::Any, TestType<KSV_STRING8>},
    {"bool", Argument::Any, ConvertToBool},
    {"char", Argument::Any, ConvertToChar},
    {"int", Argument::Any, ConvertToInt},
    {"double", Argument::Any, ConvertToDouble},
    {"string", Argument::Any, ConvertToString},
    {"sin", Argument::Float, nullptr, ::sin},
    {"cos", Argument::Float, nullptr, ::cos},
    {"tan", Argument::Float, nullptr, ::tan},
    {"exp", Argument::Float, nullptr, ::exp},
    {"log", Argument::PositiveFloat, nullptr, ::log},
};

// A perfect hash of a name's length and its first and last characters.
class BuiltInTable
{
public:
    constexpr BuiltInTable()
    {
        while (!TryFill())
            m_multiplier += 0x9E3779B1;
    }

    const BuiltIn* Find(SubString name) const
    {
        const uint8 slot = m_slots[SlotOf(name)];
        return slot != 0 && name == s_builtIns[slot - 1].m_name ? &s_builtIns[slot - 1] : nullptr;
    }

private:
    static constexpr int s_numSlots = 64;

    constexpr std::size_t SlotOf(SubString name) const
    {
        const uint32 key = static_cast<uint32>(name.size()) << 16 |
                           static_cast<uint32>(static_cast<unsigned char>(name.m_p1[0])) << 8 |
                           static_cast<unsigned char>(name.m_p2[-1]);
        return key * m_multiplier >> 26;
    }

    constexpr bool TryFill()
    {
        for (uint8& slot : m_slots)
            slot = 0;
        for (uint8 i = 0; i < std::size(s_builtIns); ++i)
        {
            uint8& slot = m_slots[SlotOf(s_builtIns[i].m_name)];
            if (slot != 0)
                return false;
            slot = static_cast<uint8>(i + 1);
        }
        return true;
    }

    uint32 m_multiplier = 0;
    uint8 m_slots[s_numSlots] = {}; // an index into s_builtIns, counted from 1; 0 is none
};

constexpr BuiltInTable s_builtInTable;

} // namespace

const BuiltIn* FindBuiltIn(SubString name)
{
    return !name.empty() ? s_builtInTable.Find(name) : nullptr;
}

} // namespace kelm
