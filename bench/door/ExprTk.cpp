#include "DoorPeer.h"

#include <exprtk.hpp>

#include <stdexcept>
#include <string>

namespace
{

using namespace kelm::bench;

class ExprTkWork : public DoorWork
{
public:
    ExprTkWork(const char* text, DoorMode mode) : m_text(text), m_mode(mode)
    {
        m_symbols.add_variable("price", m_price);
        m_symbols.add_variable("quantity", m_quantity);
        m_symbols.add_variable("vat", m_vat);
        m_symbols.add_stringvar("name", m_name);
        m_symbols.add_function("half", Half);
        m_symbols.add_function("mix", Mix);
        m_expression.register_symbol_table(m_symbols);
        Compile();
    }
    double Evaluate(double quantity) override
    {
        m_quantity = quantity;
        if (m_mode == DoorMode::Text)
            Compile();
        return m_expression.value();
    }

private:
    void Compile()
    {
        if (!m_parser.compile(m_text, m_expression))
            throw std::runtime_error("ExprTk: " + m_parser.error());
    }

    const std::string m_text;
    const DoorMode m_mode;
    double m_price = s_price;
    double m_quantity = 3;
    double m_vat = s_vat;
    std::string m_name = "abc";
    exprtk::symbol_table<double> m_symbols;
    exprtk::expression<double> m_expression;
    exprtk::parser<double> m_parser;
};

std::unique_ptr<DoorWork> Make(const DoorRow& row, DoorMode mode)
{
    if (*row.m_exprTk == '\0' || mode == DoorMode::Parameter)
        return nullptr;
    return std::make_unique<ExprTkWork>(row.m_exprTk, mode);
}

} // namespace

KELM_BENCH_DOOR_PEERS = {{"ExprTk", Make}, {nullptr, nullptr}};
