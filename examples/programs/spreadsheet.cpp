// A column of a spreadsheet: cells hold numbers or formulas over other cells, which are looked up while one is
// evaluated.

#include <kelm/kelm.h>

#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <string>

class Sheet
{
public:
    Sheet()
    {
        m_scope.Resolve([this](std::string_view name) { return Find(std::string(name)); });
    }
    void Put(const std::string& cell, const std::string& formula) { m_formulas[cell] = formula; }

    double Calculate(const std::string& cell)
    {
        if (!m_underWay.insert(cell).second)
            throw std::runtime_error("the cells go in a circle at " + cell);
        const double value = kelm::Evaluate<double>(m_formulas.at(cell), m_scope);
        m_underWay.erase(cell);
        return value;
    }

private:
    std::optional<kelm::Value> Find(const std::string& name)
    {
        if (!m_formulas.contains(name))
            return std::nullopt;
        return Calculate(name);
    }

    std::map<std::string, std::string> m_formulas;
    std::set<std::string> m_underWay;
    kelm::Scope m_scope;
};

int main()
try
{
    Sheet sheet;
    sheet.Put("A1", "120");
    sheet.Put("A2", "80.5");
    sheet.Put("A3", "(A1 + A2) / 2");
    sheet.Put("A4", "A3 > 100 ? A3 * 0.9 : A3");
    std::cout << sheet.Calculate("A3") << '\n' << sheet.Calculate("A4") << '\n';
    sheet.Put("A1", "A4");
    sheet.Calculate("A4");
}
catch (const std::exception& e)
{
    std::cout << e.what() << '\n';
}
