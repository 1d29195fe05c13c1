// error: the type T of this field is not described: describe it with KELM_CLASS or KELM_ENUM
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
