// error: shop::Article::other cannot be described: what is optional in it may be null itself
#include <klObject/describe/Describe.h>

#include <optional>

namespace shop
{
struct Article
{
    std::optional<kelm::ptr<kelm::IObject>> other;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, other)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
