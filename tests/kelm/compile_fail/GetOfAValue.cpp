// error: Get gives what a field holds: ask for a number, a text or the field's type
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
    kelm::Get<kelm::Value>(shelf, ".article");
}
