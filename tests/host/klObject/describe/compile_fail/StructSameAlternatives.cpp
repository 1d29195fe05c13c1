// error: shop::Article::size cannot be described: two alternatives of a std::variant have the same name
#include <klObject/describe/Describe.h>

#include <variant>
#include <vector>

namespace shop
{
struct Article
{
    std::vector<std::variant<int, double, kelm::int32>> size;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, size)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
