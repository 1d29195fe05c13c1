// error: Set copies the value, and the type cannot be copied: set what is in it
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

void SetArticle(shop::Shelf& shelf, const shop::Article& article)
{
    kelm::Set(shelf, ".article", article);
}
