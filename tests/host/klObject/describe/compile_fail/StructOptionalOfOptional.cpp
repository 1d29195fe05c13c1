// error: shop::Article::price cannot be described: what is optional in it may be null itself
#include <klObject/describe/Describe.h>

#include <memory>
#include <optional>

namespace shop
{
struct Article
{
    std::optional<std::unique_ptr<int>> price;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, price)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
