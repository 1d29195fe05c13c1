// error: shop::Article::next cannot be described: it is or holds a pointer
#include <klObject/describe/Describe.h>

#include <vector>

namespace shop
{
struct Article
{
    std::vector<Article*> next;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, next)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
