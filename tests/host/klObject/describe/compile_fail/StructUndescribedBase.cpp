// error: shop::Article: the base class Thing is not described with KELM_DESCRIBE
#include <klObject/describe/Describe.h>

namespace shop
{
struct Thing
{
    int id;
};
struct Article : Thing
{
    int price;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, Thing, price)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
