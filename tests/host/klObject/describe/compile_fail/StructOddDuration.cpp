// error: shop::Article::frames cannot be described: it is or holds a long double
// error: , a wchar_t, or a duration of no whole number of nanoseconds
#include <klObject/describe/Describe.h>

#include <chrono>

namespace shop
{
struct Article
{
    std::chrono::duration<int, std::ratio<1, 60>> frames;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, frames)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
