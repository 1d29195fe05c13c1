// error: cannot be described: it is or holds a kelm::xvariant whose alternatives have no names (KELM_VARIANT gives
// them)
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
