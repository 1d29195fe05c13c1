// Script values: copies, each operator on the kinds that it takes, conversions.

#include "support/Run.h"

#include <klKelmScript/KSValue.h>

#include <utility>

namespace
{

using namespace kelm;
using namespace kelm::bench;

KSValue Int(int64 x)
{
    return KSValue(x);
}
KSValue Float(float64 x)
{
    return KSValue(x);
}
KSValue Bool(bool x)
{
    return KSValue(x);
}
KSValue String(const char* x)
{
    return KSValue(xstring(x));
}

constexpr const char* s_longText = "a text that is longer than what a string keeps inline";

struct ValueCase
{
    const char* m_name;
    KSValue m_value;
};

const ValueCase s_valueCases[] = {
    {"void", KSValue()},
    {"bool", Bool(true)},
    {"int64", Int(1)},
    {"float64", Float(1.5)},
    {"short string", String("abc")},
    {"long string", String(s_longText)},
};

void Copy(benchmark::State& state, const ValueCase& row)
{
    Run(state, {0, 0, 1},
        [&]
        {
            KSValue copy(row.m_value);
            benchmark::DoNotOptimize(copy);
        });
}

void Move(benchmark::State& state, const ValueCase& row)
{
    KSValue a = row.m_value;
    KSValue b = row.m_value;
    Run(state, {0, 0, 2},
        [&]
        {
            KSValue moved(std::move(a));
            a = std::move(b);
            b = std::move(moved);
            benchmark::DoNotOptimize(b);
        });
}

void Assignment(benchmark::State& state, const ValueCase& row)
{
    KSValue target;
    Run(state, {0, 0, 1},
        [&]
        {
            target = row.m_value;
            benchmark::DoNotOptimize(target);
        });
}

struct BinaryCase
{
    const char* m_name;
    KSValue (*m_operator)(const KSValue&, const KSValue&);
    KSValue m_a;
    KSValue m_b;
};

const BinaryCase s_binaryCases[] = {
    {"int64 + int64", operator+, Int(3), Int(4)},
    {"float64 + float64", operator+, Float(3.5), Float(4.5)},
    {"int64 + float64", operator+, Int(3), Float(4.5)},
    {"short + short string", operator+, String("abc"), String("def")},
    {"long + long string", operator+, String(s_longText), String(s_longText)},
    {"int64 - int64", operator-, Int(3), Int(4)},
    {"float64 - float64", operator-, Float(3.5), Float(4.5)},
    {"int64 * int64", operator*, Int(3), Int(4)},
    {"float64 * float64", operator*, Float(3.5), Float(4.5)},
    {"int64 / int64", operator/, Int(30), Int(4)},
    {"float64 / float64", operator/, Float(3.5), Float(4.5)},
    {"int64 % int64", operator%, Int(30), Int(4)},
    {"int64 << int64", operator<<, Int(3), Int(4)},
    {"int64 >> int64", operator>>, Int(3), Int(1)},
    {"int64 | int64", operator|, Int(3), Int(4)},
    {"int64 & int64", operator&, Int(3), Int(4)},
    {"int64 ^ int64", operator^, Int(3), Int(4)},
    {"bool || bool", operator||, Bool(false), Bool(true)},
    {"bool && bool", operator&&, Bool(false), Bool(true)},
    {"int64 ^^ int64", Power, Int(3), Int(4)},
    {"float64 ^^ float64", Power, Float(3.5), Float(4.5)},
};

void ApplyBinary(benchmark::State& state, const BinaryCase& row)
{
    Run(state, {0, 0, 1},
        [&]
        {
            KSValue result = row.m_operator(row.m_a, row.m_b);
            benchmark::DoNotOptimize(result);
        });
}

struct RelationCase
{
    const char* m_name;
    bool (*m_relation)(const KSValue&, const KSValue&);
    KSValue m_a;
    KSValue m_b;
};

const RelationCase s_relationCases[] = {
    {"equal/bool", IsEqual, Bool(true), Bool(false)},
    {"equal/int64", IsEqual, Int(3), Int(4)},
    {"equal/float64", IsEqual, Float(3.5), Float(4.5)},
    {"equal/string", IsEqual, String("abc"), String("abd")},
    {"less/int64", IsLess, Int(3), Int(4)},
    {"less/float64", IsLess, Float(3.5), Float(4.5)},
    {"less/string", IsLess, String("abc"), String("abd")},
};

void ApplyRelation(benchmark::State& state, const RelationCase& row)
{
    Run(state, {0, 0, 1}, [&] { benchmark::DoNotOptimize(row.m_relation(row.m_a, row.m_b)); });
}

struct UnaryCase
{
    const char* m_name;
    void (*m_operator)(KSValue&);
    KSValue m_value;
};

const UnaryCase s_unaryCases[] = {
    {"+int64", ApplyUnaryPlus, Int(3)},        {"-int64", ApplyUnaryMinus, Int(3)},
    {"-float64", ApplyUnaryMinus, Float(3.5)}, {"~int64", ApplyUnaryBitComplement, Int(3)},
    {"!bool", ApplyUnaryNot, Bool(true)},
};

void ApplyUnary(benchmark::State& state, const UnaryCase& row)
{
    KSValue value = row.m_value;
    Run(state, {0, 0, 1},
        [&]
        {
            row.m_operator(value);
            benchmark::DoNotOptimize(value);
        });
}

template <class T>
void CoerceTo(const KSValue& value)
{
    T x;
    if (!Coerce(x, value, true))
        std::abort();
    benchmark::DoNotOptimize(x);
}

struct ConversionCase
{
    const char* m_name;
    void (*m_convert)(const KSValue&);
    KSValue m_value;
};

const ConversionCase s_conversionCases[] = {
    {"int64 to bool", CoerceTo<bool>, Int(3)},
    {"int64 to uint8", CoerceTo<uint8>, Int(3)},
    {"int64 to float64", CoerceTo<float64>, Int(3)},
    {"int64 to string", CoerceTo<xstring>, Int(3)},
    {"float64 to int64", CoerceTo<int64>, Float(3.5)},
    {"float64 to string", CoerceTo<xstring>, Float(3.5)},
    {"string to string", CoerceTo<xstring>, String("abc")},
};

void Convert(benchmark::State& state, const ConversionCase& row)
{
    Run(state, {0, 0, 1}, [&] { row.m_convert(row.m_value); });
}

void AddAll()
{
    for (const ValueCase& row : s_valueCases)
    {
        Add(std::string("copy/") + row.m_name, Copy, row);
        Add(std::string("assign/") + row.m_name, Assignment, row);
        Add(std::string("move/") + row.m_name, Move, row);
    }
    for (const BinaryCase& row : s_binaryCases)
        Add(std::string("binary/") + row.m_name, ApplyBinary, row);
    for (const RelationCase& row : s_relationCases)
        Add(row.m_name, ApplyRelation, row);
    for (const UnaryCase& row : s_unaryCases)
        Add(std::string("unary/") + row.m_name, ApplyUnary, row);
    for (const ConversionCase& row : s_conversionCases)
        Add(std::string("convert/") + row.m_name, Convert, row);
}

} // namespace

KELM_BENCH_MAIN(AddAll)
