#include "Operands.h"

#include <klUtils/xvector.h>

#include <limits>

namespace kelm
{

namespace
{

constexpr int64 s_maxInt64 = std::numeric_limits<int64>::max();
constexpr int64 s_minInt64 = std::numeric_limits<int64>::min();
constexpr double s_infinity = std::numeric_limits<double>::infinity();

Operand Void()
{
    return {"void", std::make_shared<const KSValue>()};
}

Operand Bool(bool x)
{
    return {x ? "true" : "false", std::make_shared<const KSValue>(x), {}, {}, {}, x};
}

Operand Integer(int64 x)
{
    return {"int64 " + std::to_string(x), std::make_shared<const KSValue>(x), {}, x, static_cast<double>(x)};
}

// A float that no integer equals, and one that `integer` does.
Operand Float(double x)
{
    return {"float64 " + std::to_string(x), std::make_shared<const KSValue>(x), {}, {}, x};
}
Operand IntegralFloat(double x, int64 integer)
{
    return {"integral float64 " + std::to_string(x), std::make_shared<const KSValue>(x), {}, integer, x};
}

Operand Text(const std::string& x)
{
    return {"string '" + x + "'", std::make_shared<const KSValue>(S(x)), x};
}

std::vector<Operand> MakeOperands()
{
    return {
        Void(),
        Bool(false),
        Bool(true),
        Integer(0),
        Integer(1),
        Integer(-1),
        Integer(2),
        Integer(-7),
        Integer(63),
        Integer(64),
        Integer(300),
        Integer(4294967296),
        Integer(9007199254740993), // not a double
        Integer(s_maxInt64),
        Integer(s_minInt64),
        IntegralFloat(0.0, 0),
        IntegralFloat(-0.0, 0),
        IntegralFloat(2.0, 2),
        IntegralFloat(-3.0, -3),
        IntegralFloat(1e18, 1000000000000000000),
        IntegralFloat(-9223372036854775808.0, s_minInt64),
        Float(9223372036854775808.0), // one beyond int64
        Float(0.5),
        Float(2.5),
        Float(-1.5),
        Float(0.1), // not a 32-bit float
        Float(1e300),
        Float(s_infinity),
        Float(-s_infinity),
        Float(std::numeric_limits<double>::quiet_NaN()),
        Text(""),
        Text("a"),
        Text("ab"),
        Text("A"),
        Text("\xE9"),
        Text(std::string("a\0b", 3)),
        Text("a text that is too long to lie inside its string"),
        {"reflected bool", MakeReflected(s_bcBool, true), {}, {}, {}, true},
        {"reflected int8", MakeReflected(s_bcInt8, int8(-3)), {}, -3, -3.0},
        {"reflected int32", MakeReflected(s_bcInt32, int32(7)), {}, 7, 7.0},
        {"reflected const uint16", MakeReflected(s_bcConstUInt16, uint16(2)), {}, 2, 2.0},
        {"reflected float32", MakeReflected(s_bcFloat32, 0.5F), {}, {}, 0.5},
        {"reflected integral float64", MakeReflected(s_bcFloat64, 4.0), {}, 4, 4.0},
        {"reflected float64", MakeReflected(s_bcFloat64, 2.5), {}, {}, 2.5},
        {"reflected string", MakeReflected(s_bcString8, xstring("ab")), "ab"},
        {"reflected vector", MakeReflected(s_bcVectorOfInt32, VectorOfByte())}, // refuses every kind
    };
}

} // namespace

const std::vector<Operand>& AllOperands()
{
    static const std::vector<Operand> s_operands = MakeOperands();
    return s_operands;
}

} // namespace kelm
