// error: cannot be described: its type, or one in it, is not described
// error: std::
#include <klObject/describe/Describe.h>

#include <list>

namespace shop
{
struct Article
{
    std::list<int> name;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(name))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
