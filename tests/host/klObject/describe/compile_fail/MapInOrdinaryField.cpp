// error: stock cannot be an ordinary field: it holds an xmap or xset, whose functions only model fields carry
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    kelm::xvector<kelm::xmap<int, int>> stock[2];
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_FIELD(stock))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
