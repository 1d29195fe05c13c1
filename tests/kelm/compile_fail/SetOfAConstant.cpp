// error: Set changes a field of a variable, which must neither be constant nor a temporary
#include <kelm/kelm.h>

namespace shop
{
struct Article
{
    int price = 0;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, price)

void SetPrice(const shop::Article& article)
{
    kelm::Set(article, ".price", 5);
}
