// error: shop::Article::colour cannot be described: what is optional in it may be null itself
#include <klObject/describe/Describe.h>

#include <optional>

namespace shop
{
enum class Colour
{
    red,
    null
};
} // namespace shop

KELM_DESCRIBE_ENUM(shop::Colour, red, null)

namespace shop
{
struct Article
{
    std::optional<Colour> colour;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, colour)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
