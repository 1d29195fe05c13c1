// error: a Value copies the object, and the type cannot be copied: move it, or Bind it in a Scope
#include <kelm/kelm.h>

#include <memory>

struct Shelf
{
    std::vector<std::unique_ptr<double>> prices;
};
KELM_DESCRIBE(Shelf, prices)

kelm::Value Use(const Shelf& shelf)
{
    return kelm::Value(shelf);
}
