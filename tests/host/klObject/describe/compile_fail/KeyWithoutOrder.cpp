// error: the keys of an xmap and the elements of an xset need an operator<
// lines: 32
#include <klObject/describe/Describe.h>

namespace shop
{
struct Name
{
    int id;
};
struct Article
{
    kelm::xmap<Name, int> stock;
};
} // namespace shop

KELM_CLASS(shop::Name, KELM_MODEL(id))
KELM_CLASS(shop::Article, KELM_MODEL(stock))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
