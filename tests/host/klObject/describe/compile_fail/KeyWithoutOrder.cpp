// error: stock cannot be described: the keys of a map or set in it have no operator<
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
