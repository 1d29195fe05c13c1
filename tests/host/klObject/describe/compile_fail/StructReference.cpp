// error: shop::Article has no member or base class price that can be described
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int& price;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, price)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
