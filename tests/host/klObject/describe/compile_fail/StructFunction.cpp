// error: shop::Article::Total cannot be described: it is static, or a function
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int Total() const;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, Total)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
