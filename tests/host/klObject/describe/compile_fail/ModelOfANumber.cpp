// error: KELM_MODEL_OF takes a member whose type is a described class
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int id;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL_OF(id))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
