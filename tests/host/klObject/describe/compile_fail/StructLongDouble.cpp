// error: shop::Article::weight cannot be described: it is or holds a long double
#include <klObject/describe/Describe.h>

#include <optional>

namespace shop
{
struct Article
{
    std::optional<long double> weight;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, weight)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
