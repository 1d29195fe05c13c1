// error: an alternative of a variant cannot hold a map or set, at any depth: only model fields carry the functions
#include <klObject/describe/Describe.h>

namespace shop
{
using Tags = kelm::xvariant<int, kelm::xvector<kelm::xset<int>>>;
} // namespace shop

KELM_VARIANT(shop::Tags, "tag", "tags")

void RegisterTypes()
{
    kelm::Register<shop::Tags>(nullptr);
}
