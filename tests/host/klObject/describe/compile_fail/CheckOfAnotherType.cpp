// error: a check takes the field's value and returns whether it may be
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    kelm::xstring name;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(name).Check([](int value) { return value > 0; }))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
