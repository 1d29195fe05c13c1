// error: the field's type is not the one of the typedef
#include <klObject/describe/Describe.h>

namespace shop
{
struct Price;
struct Article
{
    float price;
};
} // namespace shop

KELM_TYPEDEF(shop::Price, double)
KELM_CLASS(shop::Article, KELM_MODEL(price).As<shop::Price>())

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
