// error: two fields have the same name
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int id;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(id), KELM_FIELD(id))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
