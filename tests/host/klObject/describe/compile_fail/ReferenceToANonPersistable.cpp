// error: successor cannot be described: the class C of a pref<C> in it is not persistable (describe it with the option
// kelm::Persistable())
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    kelm::pref<Article> successor;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(successor))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
