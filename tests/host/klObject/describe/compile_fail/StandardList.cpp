// error: the type T of this field is not described: describe it with KELM_CLASS or KELM_ENUM
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
