#include "DoorPeer.h"

#include <muParser.h>

#include <string>

namespace
{

using namespace kelm::bench;

class MuParserWork : public DoorWork
{
public:
    MuParserWork(const char* text, DoorMode mode) : m_text(text), m_mode(mode)
    {
        m_parser.DefineVar("price", &m_price);
        m_parser.DefineVar("quantity", &m_quantity);
        m_parser.DefineVar("vat", &m_vat);
        m_parser.DefineFun("half", Half);
        m_parser.DefineFun("mix", Mix);
        m_parser.SetExpr(m_text);
    }
    double Evaluate(double quantity) override
    {
        m_quantity = quantity;
        if (m_mode == DoorMode::Text)
            m_parser.SetExpr(m_text);
        return m_parser.Eval();
    }

private:
    const std::string m_text;
    const DoorMode m_mode;
    double m_price = s_price;
    double m_quantity = 3;
    double m_vat = s_vat;
    mu::Parser m_parser;
};

std::unique_ptr<DoorWork> Make(const DoorRow& row, DoorMode mode)
{
    if (*row.m_muParser == '\0' || mode == DoorMode::Parameter)
        return nullptr;
    return std::make_unique<MuParserWork>(row.m_muParser, mode);
}

} // namespace

KELM_BENCH_DOOR_PEERS = {{"muParser", Make}, {nullptr, nullptr}};
