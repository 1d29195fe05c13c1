// error: this xvariant is not described: name it and its alternatives with KELM_VARIANT
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    kelm::xvariant<int, double> amount;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(amount))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
