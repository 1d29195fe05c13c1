// error: shop::Article::prices cannot be described: it holds a type without a default constructor
#include <klObject/describe/Describe.h>

#include <vector>

namespace shop
{
struct Price
{
    explicit Price(double a) : amount(a) {}
    double amount;
};
} // namespace shop

KELM_DESCRIBE(shop::Price, amount)

namespace shop
{
struct Article
{
    std::vector<Price> prices;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, prices)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
