// error: shop::Colour is an enumeration, which KELM_DESCRIBE_ENUM describes
#include <klObject/describe/Describe.h>

namespace shop
{
enum class Colour
{
    red,
    green,
};
struct Box
{
    Colour colour = Colour::red;
};
} // namespace shop

KELM_DESCRIBE(shop::Colour, red, green)
KELM_DESCRIBE(shop::Box, colour)

void RegisterTypes()
{
    kelm::Register<shop::Box>(nullptr);
}
