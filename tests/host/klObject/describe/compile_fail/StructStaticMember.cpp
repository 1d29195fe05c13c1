// error: shop::Article::count cannot be described: it is static, or a function
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    static int count;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, count)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
