// error: a field that is a pointer or a reference (T) cannot be described: hold objects by ptr<I> or pref<C>
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
