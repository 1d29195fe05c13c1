// error: stock cannot be described: the keys of an xmap or xset in it hold a map or set themselves
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    kelm::xmap<kelm::xvector<kelm::xset<int>>, int> stock;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(stock))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
