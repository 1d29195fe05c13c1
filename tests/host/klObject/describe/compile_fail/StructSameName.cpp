// error: two fields have the same name
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int price;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, price, price)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
