// error: shop::Article::names cannot be described: a container of ours in it holds a type that cannot be moved as bytes
#include <klObject/describe/Describe.h>

#include <string>

namespace shop
{
struct Article
{
    kelm::xvector<std::string> names;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, names)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
