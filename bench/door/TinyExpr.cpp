#include "DoorPeer.h"

#include <tinyexpr.h>

#include <stdexcept>
#include <string>

namespace
{

using namespace kelm::bench;

class TinyExprWork : public DoorWork
{
public:
    TinyExprWork(const char* text, DoorMode mode) : m_text(text), m_mode(mode), m_kept(Compile()) {}
    ~TinyExprWork() override { te_free(m_kept); }
    TinyExprWork(const TinyExprWork&) = delete;
    TinyExprWork& operator=(const TinyExprWork&) = delete;

    double Evaluate(double quantity) override
    {
        m_quantity = quantity;
        if (m_mode == DoorMode::Kept)
            return te_eval(m_kept);
        te_expr* const fresh = Compile();
        const double value = te_eval(fresh);
        te_free(fresh);
        return value;
    }

private:
    te_expr* Compile()
    {
        const te_variable variables[] = {{"price", &m_price, TE_VARIABLE, nullptr},
                                         {"quantity", &m_quantity, TE_VARIABLE, nullptr},
                                         {"vat", &m_vat, TE_VARIABLE, nullptr},
                                         {"half", reinterpret_cast<const void*>(&Half), TE_FUNCTION1, nullptr},
                                         {"mix", reinterpret_cast<const void*>(&Mix), TE_FUNCTION2, nullptr}};
        int error = 0;
        te_expr* const made = te_compile(m_text.c_str(), variables, 5, &error);
        if (made == nullptr)
            throw std::runtime_error("TinyExpr refuses the text");
        return made;
    }

    const std::string m_text;
    const DoorMode m_mode;
    double m_price = s_price;
    double m_quantity = 3;
    double m_vat = s_vat;
    te_expr* const m_kept;
};

std::unique_ptr<DoorWork> Make(const DoorRow& row, DoorMode mode)
{
    if (*row.m_tinyExpr == '\0' || mode == DoorMode::Parameter)
        return nullptr;
    return std::make_unique<TinyExprWork>(row.m_tinyExpr, mode);
}

} // namespace

KELM_BENCH_DOOR_PEERS = {{"TinyExpr", Make}, {nullptr, nullptr}};
