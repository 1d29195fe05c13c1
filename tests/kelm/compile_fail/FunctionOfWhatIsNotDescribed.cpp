// error: a parameter of a function in a Scope is a number, bool, std::string
#include <kelm/kelm.h>

struct Order
{
    int number = 0;
};

void Use(kelm::Scope& scope)
{
    scope.Define("number", [](const Order& order) { return order.number; });
}
