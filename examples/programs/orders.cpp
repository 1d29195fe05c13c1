// A program's own structs in a file, its own data and functions in expressions.

#include <kelm/kelm.h>

#include <cmath>
#include <iostream>

struct Line
{
    std::string item;
    int quantity = 1;
    double price = 0;
};
struct Order
{
    std::string customer;
    std::vector<Line> lines;
    std::optional<double> discount;
};

KELM_DESCRIBE(Line, item, quantity, price)
KELM_DESCRIBE(Order, customer, lines, discount)

int main()
try
{
    Order order = kelm::ReadFile<Order>("order.kds");

    kelm::Set(order, ".lines[0].quantity", 3);
    double price = kelm::Get<double>(order, ".lines[0].price");

    kelm::Scope scope;
    double vat = 0.19;
    scope.Bind("order", order).Bind("vat", vat);
    scope.Define("round2", [](double x) { return std::round(x * 100) / 100; });

    double first = kelm::Evaluate<double>("round2(order.lines[0].quantity * order.lines[0].price * (1 + vat))", scope);

    kelm::Expression total("order.lines[i].quantity * order.lines[i].price * (1 + vat)", scope, {"i"});
    double sum = 0;
    for (std::size_t i = 0; i < order.lines.size(); ++i)
        sum += total.Evaluate<double>(i);

    kelm::WriteFile("order.kds", order);
    std::cout << price << ' ' << first << ' ' << sum << '\n';
}
catch (const kelm::Error& e)
{
    std::cerr << e.what() << '\n'; // order.kds:3:27: error: Expected int32 when read "three"
                                   //     lines = [{ quantity = "three" }]
                                   //                           ^~~~~~~
}
