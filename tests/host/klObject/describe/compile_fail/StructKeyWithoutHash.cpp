// error: shop::Shelf::stock cannot be described: the keys of a map or set in it have no operator<
#include <klObject/describe/Describe.h>

#include <unordered_set>
#include <vector>

namespace shop
{
struct Name
{
    int id = 0;
};
struct Shelf
{
    std::vector<std::unordered_set<Name>> stock;
};
} // namespace shop

KELM_DESCRIBE(shop::Name, id)
KELM_DESCRIBE(shop::Shelf, stock)

void RegisterTypes()
{
    kelm::Register<shop::Shelf>(nullptr);
}
