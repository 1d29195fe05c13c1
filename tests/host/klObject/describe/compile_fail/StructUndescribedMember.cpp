// error: shop::Article::prices cannot be described: its type, or one in it, is not described (with KELM_DESCRIBE
#include <klObject/describe/Describe.h>

#include <map>
#include <string>
#include <vector>

namespace shop
{
struct Price
{
    double amount;
};
struct Article
{
    std::string name;
    std::map<std::string, std::vector<Price>> prices;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, name, prices)

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
