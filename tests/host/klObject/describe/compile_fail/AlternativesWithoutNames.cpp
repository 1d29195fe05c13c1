// error: KELM_VARIANT takes one name for each alternative
#include <klObject/describe/Describe.h>

namespace shop
{
using Amount = kelm::xvariant<int, double>;
} // namespace shop

KELM_VARIANT(shop::Amount, "pieces")

void RegisterTypes()
{
    kelm::Register<shop::Amount>(nullptr);
}
