// error: Get gives a copy of the field, and the type cannot be copied: get what is in it
#include <kelm/kelm.h>

#include <memory>

namespace shop
{
struct Article
{
    std::unique_ptr<double> price;
};
struct Shelf
{
    Article article;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, price)
KELM_DESCRIBE(shop::Shelf, article)

void GetArticle(const shop::Shelf& shelf)
{
    kelm::Get<shop::Article>(shelf, ".article");
}
