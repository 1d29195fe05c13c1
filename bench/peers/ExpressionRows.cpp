// Expressions: text in, value out.

#include "../support/ExpressionTexts.h"
#include "Rows.h"
#include "ScriptPeer.h"

#include <klKelmScript/KSParser.h>

#include <cmath>
#include <dlfcn.h>
#include <memory>
#include <muParser.h>
#include <stdexcept>

namespace kelm::bench
{

namespace
{

bool IsClose(double a, double b)
{
    return std::abs(a - b) <= 1e-12 * std::max(std::abs(a), std::abs(b));
}

// --- Ours

KSValue Evaluate(const std::string& text)
{
    KSParser parser;
    parser.Init(SubString(text.data(), text.data() + text.size()));
    KSValue value;
    parser.ParseExpression(value);
    return value;
}

bool IsValue(const KSValue& value, const Result& expected)
{
    switch (expected.m_kind)
    {
    case ValueKind::Int: return value.is<int64>() && static_cast<double>(value.as<int64>()) == expected.m_number;
    case ValueKind::Float: return value.is<float64>() && IsClose(value.as<float64>(), expected.m_number);
    case ValueKind::Bool: return value.is<bool>() && value.as<bool>() == (expected.m_number != 0);
    case ValueKind::String: return value.is<string8>() && value.as<string8>().view() == expected.m_text;
    }
    return false;
}

Contender MakeOurs(const ExpressionCase& row)
{
    const std::string text = row.m_text(s_ourSpelling);
    return {"KelmScript", [=, value = row.m_value] { return IsValue(Evaluate(text), value); },
            Timed(
                [text]
                {
                    const KSValue value = Evaluate(text);
                    Keep(value);
                })};
}

// --- The Luas

class ScriptPeer
{
public:
    explicit ScriptPeer(const char* module)
    {
        void* const library = dlopen(module, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
            throw std::runtime_error(dlerror());
        m_fns = static_cast<const ScriptPeerFns*>(dlsym(library, s_scriptPeerSymbol));
        m_state = m_fns->Open();
    }
    ScriptPeer(const ScriptPeer&) = delete;
    ScriptPeer& operator=(const ScriptPeer&) = delete;
    ~ScriptPeer() { m_fns->Close(m_state); }

    PeerResult Evaluate(const std::string& text) const
    {
        PeerResult result;
        m_fns->Evaluate(m_state, text.data(), text.size(), result);
        return result;
    }

private:
    const ScriptPeerFns* m_fns;
    void* m_state;
};

bool IsValue(const PeerResult& value, const Result& expected)
{
    switch (value.m_kind)
    {
    case PeerKind::Error: return false;
    case PeerKind::Number:
        return (expected.m_kind == ValueKind::Int || expected.m_kind == ValueKind::Float) &&
               IsClose(value.m_number, expected.m_number);
    case PeerKind::Bool: return expected.m_kind == ValueKind::Bool && value.m_number == expected.m_number;
    case PeerKind::String:
        return expected.m_kind == ValueKind::String && std::string(value.m_text, value.m_length) == expected.m_text;
    }
    return false;
}

Result PeersValue(const ExpressionCase& row)
{
    Result value = row.m_value;
    value.m_number = row.m_peersNumber;
    return value;
}

Contender MakeLua(const char* name, const std::shared_ptr<ScriptPeer>& peer, const ExpressionCase& row)
{
    const std::string text = "return " + row.m_text(s_luaSpelling);
    return {name, [=, value = PeersValue(row)] { return IsValue(peer->Evaluate(text), value); },
            Timed(
                [=]
                {
                    const PeerResult value = peer->Evaluate(text);
                    Keep(value);
                })};
}

// --- muParser: floats alone, without strings

bool CanMuParser(const ExpressionCase& row)
{
    constexpr std::size_t longestText = 20'000; // its own limit
    return row.m_value.m_kind != ValueKind::String && row.m_text(s_ourSpelling).size() <= longestText;
}

Contender MakeMuParser(const ExpressionCase& row)
{
    const std::string text = row.m_text(s_ourSpelling);
    const auto parser = std::make_shared<mu::Parser>();
    const auto evaluate = [=]
    {
        parser->SetExpr(text);
        return parser->Eval();
    };
    return {"muParser", [=, value = row.m_peersNumber] { return IsClose(evaluate(), value); },
            Timed(
                [=]
                {
                    const double value = evaluate();
                    Keep(value);
                })};
}

} // namespace

std::vector<Row> MakeExpressionRows()
{
    const auto luaJit = std::make_shared<ScriptPeer>(KELM_BENCH_LUAJIT);
    const auto lua = std::make_shared<ScriptPeer>(KELM_BENCH_LUA54);
    std::vector<Row> rows;
    for (const ExpressionCase& expression : GetExpressionCases())
    {
        Row row{expression.m_name, "call", 1, {}};
        row.m_contenders = {MakeOurs(expression), MakeLua("LuaJIT", luaJit, expression),
                            MakeLua("Lua 5.4", lua, expression)};
        if (CanMuParser(expression))
            row.m_contenders.push_back(MakeMuParser(expression));
        rows.push_back(std::move(row));
    }
    return rows;
}

} // namespace kelm::bench
