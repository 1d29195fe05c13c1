// error: the value of a described enumeration takes 32 bits: give it the underlying type kelm::int32
#include <klObject/describe/Describe.h>

namespace shop
{
enum class Size : kelm::uint8
{
    SMALL
};
} // namespace shop

KELM_ENUM(shop::Size, KELM_VALUE(SMALL))

void RegisterTypes()
{
    kelm::Register<shop::Size>(nullptr);
}
