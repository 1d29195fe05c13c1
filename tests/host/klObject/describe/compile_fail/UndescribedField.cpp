// error: prices cannot be described: its type, or one in it, is not described
// error: shop::Price
#include <klObject/describe/Describe.h>

namespace shop
{
struct Price
{
    double amount;
};
struct Article
{
    kelm::xvector<Price> prices;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(prices))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
