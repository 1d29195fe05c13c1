// error: an ordinary field cannot hold a map or set, at any depth: only model fields carry the functions that it needs
// lines: 25
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
