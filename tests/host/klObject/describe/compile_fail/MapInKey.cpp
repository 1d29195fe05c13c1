// error: the key of a map cannot hold a map or set itself
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
