// Random expressions, evaluated here and by Lua, in which the rules of operators are written down once more. The texts
// have no more parentheses than the precedence of operators asks for, and some more by chance; Lua is told the order by
// calls. KELM_LUA_CASES says how many, KELM_LUA_SEED which.

#include <klKelmScript/KSParser.h>
#include <klKelmScript/KSValue.h>
#include <klUtils/LexScannerException.h>
#include <support/Expect.h>
#include <support/InCLocale.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

extern "C"
{
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

namespace kelm
{
namespace
{

// A message that ends in "*" is one that begins so.
const char* const s_rules = R"(
local mtype, toint, fmod = math.type, math.tointeger, math.fmod
local function fail(message) error(message, 0) end
local names = {integer = 'int64', float = 'float64'}
local function name(v)
    if type(v) == 'number' then return names[mtype(v)] end
    return type(v) == 'boolean' and 'bool' or type(v)
end
local function int(v)
    if mtype(v) == 'integer' then return v end
    return mtype(v) == 'float' and toint(v) or nil
end
local function float(v) return type(v) == 'number' and v + 0.0 or nil end
local function pairfail(a, b, op)
    fail('Incompatible types (' .. name(a) .. ' and ' .. name(b) .. ') for ' .. op .. ' operation')
end
local function onefail(v, op) fail('Incompatible type (' .. name(v) .. ') for unary ' .. op .. ' operation') end
local function truth(v)
    if type(v) ~= 'boolean' then fail('No implicit conversion from value *') end
    return v
end
local function trunc(f)
    if f ~= f or f >= 2^63 or f < -2^63 then return math.mininteger end
    return toint(f < 0 and math.ceil(f) or math.floor(f))
end
local function numeric(op, onInts, onFloats)
    return function(a, b)
        local i, j = int(a), int(b)
        if i and j then return onInts(i, j) end
        local x, y = float(a), float(b)
        if x and y and onFloats then return onFloats(x, y) end
        pairfail(a, b, op)
    end
end
local addnumbers = numeric('+', function(a, b) return a + b end, function(a, b) return a + b end)
function add(a, b)
    if type(a) == 'string' and type(b) == 'string' then return a .. b end
    return addnumbers(a, b)
end
sub = numeric('-', function(a, b) return a - b end, function(a, b) return a - b end)
mul = numeric('*', function(a, b) return a * b end, function(a, b) return a * b end)
div = numeric('/', function(a, b)
    if b == 0 then fail('Division by zero error') end
    if a == math.mininteger and b == -1 then fail('FAULT') end
    local q = a // b
    return fmod(a, b) ~= 0 and (a < 0) ~= (b < 0) and q + 1 or q
end, function(a, b)
    if b == 0 then fail('Division by zero') end
    return a / b
end)
mod = numeric('%', function(a, b)
    if b == 0 then fail('Modulo zero error') end
    if a == math.mininteger and b == -1 then fail('FAULT') end
    return fmod(a, b)
end)
function pow(a, b)
    local x, y = float(a), float(b)
    if not x or not y then pairfail(a, b, '^') end
    if x == 0 and y < 0 then fail('Calculation *') end
    local r = x ^ y
    return mtype(a) == 'integer' and mtype(b) == 'integer' and trunc(r) or r
end
shl = numeric('<<', function(a, n) return a << (n & 63) end)
shr = numeric('>>', function(a, n) n = n & 63 return a >= 0 and a >> n or ~(~a >> n) end)
bor = numeric('|', function(a, b) return a | b end)
band = numeric('&', function(a, b) return a & b end)
bxor = numeric('^', function(a, b) return a ~ b end)
function lor(a, b) if truth(a) then return true end return truth(b) end
function land(a, b) if not truth(a) then return false end return truth(b) end
local numbersequal = numeric('comparison', function(a, b) return a == b end, function(a, b) return a == b end)
local numbersless = numeric('comparison', function(a, b) return a < b end, function(a, b) return a < b end)
function eq(a, b)
    if type(a) == type(b) and type(a) ~= 'number' then return a == b end
    return numbersequal(a, b)
end
local function less(a, b)
    if type(a) == 'string' and type(b) == 'string' then return a < b end
    return numbersless(a, b)
end
function ne(a, b) return not eq(a, b) end
function lt(a, b) return less(a, b) end
function le(a, b) return not less(b, a) end
function gt(a, b) return less(b, a) end
function ge(a, b) return not less(a, b) end
function plus(v)
    if int(v) then return int(v) end
    return float(v) or onefail(v, '+')
end
function minus(v)
    if int(v) then return -int(v) end
    return float(v) and -v or onefail(v, '-')
end
function compl(v) return int(v) and ~int(v) or onefail(v, '~') end
function no(v) return not truth(v) end
function cond(c, a, b) if truth(c) then return a end return b end
local function coerced(v, onBool)
    if type(v) == 'boolean' then return onBool(v) end
    if type(v) == 'string' then fail('No implicit conversion from value *') end
    return v
end
local function bit(v) return v and 1 or 0 end
function toInt(v)
    v = coerced(v, bit)
    return mtype(v) == 'integer' and v or trunc(v)
end
function toChar(v) return toInt(v) & 255 end
function toDouble(v) return coerced(v, bit) + 0.0 end
function toBool(v) return coerced(v, function(b) return b and 1 or 0 end) ~= 0 end
function isBool(v) return type(v) == 'boolean' end
function isInt(v) return mtype(v) == 'integer' end
function isDouble(v) return mtype(v) == 'float' end
function isString(v) return type(v) == 'string' end
)";

struct Operator
{
    const char* m_text;
    const char* m_call;
    int m_level; // as the documentation lists them: the higher, the tighter
};

constexpr int s_conditionalLevel = 2;
constexpr int s_unaryLevel = 14;
constexpr int s_primaryLevel = 15;

constexpr Operator s_binaries[] = {
    {"||", "lor", 3}, {"&&", "land", 4}, {"|", "bor", 5},   {"^", "bxor", 6},  {"&", "band", 7},
    {"==", "eq", 8},  {"!=", "ne", 8},   {"<", "lt", 9},    {"<=", "le", 9},   {">", "gt", 9},
    {">=", "ge", 9},  {"<<", "shl", 10}, {">>", "shr", 10}, {"+", "add", 11},  {"-", "sub", 11},
    {"*", "mul", 12}, {"/", "div", 12},  {"%", "mod", 12},  {"^^", "pow", 13},
};
constexpr Operator s_unaries[] = {{"+", "plus", 14}, {"-", "minus", 14}, {"~", "compl", 14}, {"!", "no", 14}};
constexpr Operator s_functions[] = {
    {"int", "toInt", 15},      {"char", "toChar", 15},  {"double", "toDouble", 15},    {"bool", "toBool", 15},
    {"is_bool", "isBool", 15}, {"is_int", "isInt", 15}, {"is_double", "isDouble", 15}, {"is_string", "isString", 15},
};

// An expression as both write it.
struct Texts
{
    std::string m_ours;
    std::string m_luas;
    int m_level;
};

class Maker
{
public:
    explicit Maker(unsigned seed) : m_random(seed) {}

    Texts Make(int depth)
    {
        const int kind = depth == 0 ? 0 : Below(10);
        if (kind < 2)
            return MakeLeaf();
        if (kind < 7)
        {
            const Operator& op = s_binaries[Below(std::size(s_binaries))];
            const Texts left = Make(depth - 1);
            const Texts right = Make(depth - 1);
            return {InParentheses(left, op.m_level) + ' ' + op.m_text + ' ' + InParentheses(right, op.m_level + 1),
                    Call(op, left, right), op.m_level};
        }
        if (kind < 8)
        {
            const Operator& op = s_unaries[Below(std::size(s_unaries))];
            const Texts operand = Make(depth - 1);
            return {std::string(op.m_text) + ' ' + InParentheses(operand, s_unaryLevel),
                    std::string(op.m_call) + '(' + operand.m_luas + ')', s_unaryLevel};
        }
        if (kind < 9)
        {
            const Operator& function = s_functions[Below(std::size(s_functions))];
            const Texts argument = Make(depth - 1);
            return {std::string(function.m_text) + '(' + argument.m_ours + ')',
                    std::string(function.m_call) + '(' + argument.m_luas + ')', s_primaryLevel};
        }
        const Texts condition = Make(depth - 1);
        const Texts yes = Make(depth - 1);
        const Texts no = Make(depth - 1);
        return {InParentheses(condition, s_conditionalLevel + 1) + " ? " + yes.m_ours + " : " +
                    InParentheses(no, s_conditionalLevel),
                "cond(" + condition.m_luas + ", " + yes.m_luas + ", " + no.m_luas + ')', s_conditionalLevel};
    }

    int Below(std::size_t bound) { return static_cast<int>(m_random() % bound); }

private:
    std::string InParentheses(const Texts& texts, int level)
    {
        return texts.m_level < level || Below(16) == 0 ? '(' + texts.m_ours + ')' : texts.m_ours;
    }

    static std::string Call(const Operator& op, const Texts& left, const Texts& right)
    {
        return std::string(op.m_call) + '(' + left.m_luas + ", " + right.m_luas + ')';
    }

    Texts MakeLeaf()
    {
        const std::string text = MakeLeafText();
        return {text, text, s_primaryLevel};
    }
    std::string MakeLeafText()
    {
        constexpr const char* odd[] = {
            "0",   "1",     "9223372036854775807",   "0x7fffffffffffffff", "4294967296", "63",    "64",   "0.0",
            "0.5", "1e300", "9223372036854775808.0", "4503599627370497.5", "true",       "false", "\"\"", "\"a\"",
            "'ab'"};
        switch (Below(4))
        {
        case 0: return odd[Below(std::size(odd))];
        case 1: return std::to_string(Below(100));
        case 2: return std::to_string(m_random() >> 1);
        default:
        {
            const InCLocale here;
            char digits[40];
            std::snprintf(digits, sizeof digits, "%.17g", static_cast<double>(Below(100000)) / 64);
            std::string text = digits;
            return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
        }
        }
    }

    std::mt19937_64 m_random;
};

class Lua
{
public:
    Lua() : m_state(luaL_newstate())
    {
        luaL_openlibs(m_state);
        if (luaL_dostring(m_state, s_rules) != LUA_OK)
            ADD_FAILURE() << lua_tostring(m_state, -1);
    }
    Lua(const Lua&) = delete;
    Lua& operator=(const Lua&) = delete;
    ~Lua() { lua_close(m_state); }

    std::string Evaluate(const std::string& text)
    {
        lua_settop(m_state, 0);
        if (luaL_loadstring(m_state, ("return " + text).c_str()) != LUA_OK || lua_pcall(m_state, 0, 1, 0) != LUA_OK)
            return std::string("error ") + lua_tostring(m_state, -1);
        if (lua_isboolean(m_state, -1))
            return lua_toboolean(m_state, -1) != 0 ? "bool true" : "bool false";
        if (lua_isinteger(m_state, -1))
            return "int64 " + std::to_string(lua_tointeger(m_state, -1));
        if (lua_type(m_state, -1) == LUA_TNUMBER)
            return DoubleText(lua_tonumber(m_state, -1));
        return std::string("string ") + lua_tostring(m_state, -1);
    }

    // By its bits, but for those of a NaN.
    static std::string DoubleText(double number)
    {
        return number != number ? "float64 nan" : "float64 bits " + std::to_string(std::bit_cast<uint64>(number));
    }

private:
    lua_State* m_state;
};

std::string EvaluateHere(const std::string& text)
{
    KSParser parser;
    KSValue value;
    try
    {
        parser.Init(ViewOf(text));
        parser.ParseExpression(value);
    }
    catch (const KSValueException& e)
    {
        return "error " + ToStdString(e.m_description);
    }
    catch (const LexScannerException& e)
    {
        return "error in text " + ToStdString(e.m_description);
    }
    if (parser.m_token.m_type != TOKEN_END)
        return "error: is not read whole";
    if (value.is<bool>())
        return value.as<bool>() ? "bool true" : "bool false";
    if (value.is<int64>())
        return "int64 " + std::to_string(value.as<int64>());
    if (value.is<float64>())
        return Lua::DoubleText(value.as<float64>());
    return "string " + ToStdString(value.as<xstring>());
}

long FromEnvironment(const char* name, long otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atol(text) : otherwise;
}

TEST(LuaDifferential, AgreesOnRandomExpressions)
{
    const long cases = FromEnvironment("KELM_LUA_CASES", 20'000);
    const long seed = FromEnvironment("KELM_LUA_SEED", 20080824);
    Maker maker(static_cast<unsigned>(seed));
    Lua lua;
    long errors = 0;
    long faults = 0;
    for (long i = 0; i < cases; ++i)
    {
        const Texts texts = maker.Make(1 + maker.Below(5));
        std::string expected = lua.Evaluate(texts.m_luas);
        if (expected == "error FAULT") // the processor's: ends the program
        {
            ++faults;
            continue;
        }
        std::string actual = EvaluateHere(texts.m_ours);
        errors += expected.starts_with("error");
        if (expected.ends_with("*"))
        {
            expected.pop_back();
            actual.resize(std::min(actual.size(), expected.size()));
        }
        ASSERT_EQ(actual, expected) << texts.m_ours << "\n" << texts.m_luas << "\ncase " << i << " of seed " << seed;
    }
    std::printf("%ld expressions, %ld of them errors, %ld divisions that fault\n", cases, errors, faults);
    EXPECT_LT(errors, cases * 9 / 10);
}

} // namespace
} // namespace kelm
