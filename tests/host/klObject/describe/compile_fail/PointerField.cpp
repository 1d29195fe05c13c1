// error: next cannot be described: it is or holds a pointer, which does not say who owns what
// error: shop::Article
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    Article* next;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(next))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
