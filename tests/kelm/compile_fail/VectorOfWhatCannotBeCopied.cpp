// error: Set copies the value, and the type cannot be copied: set what is in it
#include <kelm/kelm.h>

#include <memory>

namespace shop
{
struct Shelf
{
    std::vector<std::unique_ptr<double>> prices;
};
} // namespace shop

KELM_DESCRIBE(shop::Shelf, prices)

void SetPrices(shop::Shelf& shelf, const shop::Shelf& other)
{
    kelm::Set(shelf, ".prices", other.prices);
}
