// error: Get gives copies: ask for a std::string
#include <kelm/kelm.h>

namespace shop
{
struct Article
{
    std::string name;
};
} // namespace shop

KELM_DESCRIBE(shop::Article, name)

void GetName(const shop::Article& article)
{
    kelm::Get<std::string_view>(article, ".name");
}
