// The program that the README shows, as it stands there but for main.

#include <kelm/kelm.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

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

namespace
{

std::string RunProgram(const std::string& path)
try
{
    Order order = kelm::ReadFile<Order>(path);

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

    kelm::WriteFile(path, order);
    std::ostringstream out;
    out << price << ' ' << first << ' ' << sum;
    return out.str();
}
catch (const kelm::Error& e)
{
    return e.what();
}

TEST(OrderProgram, RunsAsTheReadmeShowsIt)
{
    const kelm::TemporaryFolder folder;
    const std::string path = folder.GetPath() / "order.kds";
    std::ofstream(path)
        << "{ customer = \"Ada\" lines = [{ item = \"tea\" quantity = 1 price = 2.5 }, { price = 10.0 }] }\n";
    EXPECT_EQ(RunProgram(path), "2.5 8.92 20.825");
    EXPECT_EQ(RunProgram(path), "2.5 8.92 20.825"); // what was written
    std::ofstream(path) << "{ lines = [{ quantity = \"three\" }] }\n";
    EXPECT_NE(RunProgram(path).find(":1:25: error: Expected int32 when read \"three\""), std::string::npos)
        << RunProgram(path);
}

} // namespace
