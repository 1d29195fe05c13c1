#pragma once

// What is known of an operand while an expression is recorded.

#include <kelm/Slot.h>
#include <kelm/private/expressions/KnownTypes.h>
#include <kelm/private/expressions/Scalars.h>
#include <klObject/types/ETypeByteCode.h>
#include <klUtils/types.h>

#include <cstddef>

namespace kelm::evaluation
{

// An operand of the grammar: what is known of it, or that it has been pushed.
struct RecordedOperand
{
    enum class Is : uint8
    {
        Nothing,
        Bool,
        Integer,
        Float,
        Text,
        Name,
        Parameter,
        Local,
        // Known kinds alone: a scalar, or an object or list, that lies in a variable or parameter.
        Scalar,
        Object,
        // In the registers: a scalar, or the address that the object or scalar is m_offset octets behind.
        Register,
        Address,
        Pushed, // a value
        Chosen, // pushed: what a branch gives, which may be a place
        Place,  // pushed, and can be assigned to where it is a variable
    };
    static constexpr uint32 s_noName = 0xFFFFFFFF;
    static constexpr uint64 s_stays = ~uint64(0);

    Is m_is = Is::Nothing;
    Kind m_kind = Kind::None; // where that is known
    From m_from;              // of a scalar in a variable or parameter
    ETypeByteCode m_code;     // of a scalar's type
    uint32 m_index = 0;       // of what has a name, that; of a text, parameter or local too
    union
    {
        int64 m_integer = 0;
        float64 m_float;
        std::size_t m_place; // of the name
        const void* m_at;    // the variable; of a parameter how many octets behind the first one's beginning
        uint64 m_calls; // of what may be a place, how many calls stand before it; s_stays where no call can move it
    };
    KnownVariable m_variable; // of an object or address
    bool m_stays;             // of an address: no call can move it
};

// How the evaluator sets one: it owns nothing.
struct RecordedAccess
{
    static constexpr bool IsReflected(const RecordedOperand&) { return false; }
    static constexpr bool OwnsMemory(const RecordedOperand&) { return false; }
    static void SetVoid(RecordedOperand& operand) { operand.m_is = RecordedOperand::Is::Nothing; }
    static void Construct(RecordedOperand& operand, int64 x)
    {
        operand.m_is = RecordedOperand::Is::Integer;
        operand.m_kind = Kind::Integer;
        operand.m_integer = x;
    }
    static void Construct(RecordedOperand& operand, float64 x)
    {
        operand.m_is = RecordedOperand::Is::Float;
        operand.m_kind = Kind::Float;
        operand.m_float = x;
    }
};

// What is known of all arguments of a call.
struct ArgumentKinds
{
    bool m_areIntegers = true;
    bool m_areFloats = true;
    bool m_areNumbers = true;
    bool m_areScalars = true;
    uint64 m_calls = RecordedOperand::s_stays; // before the first place

    void Look(Kind kind)
    {
        m_areIntegers = m_areIntegers && kind == Kind::Integer;
        m_areFloats = m_areFloats && kind == Kind::Float;
        m_areNumbers = m_areNumbers && (kind == Kind::Integer || kind == Kind::Float);
        m_areScalars = m_areScalars && kind != Kind::None;
    }
};

} // namespace kelm::evaluation
