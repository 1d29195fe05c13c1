// error: the type cannot be copied: a Value's As<const T&>() gives the object itself
#include <kelm/kelm.h>

#include <memory>

struct Shelf
{
    std::vector<std::unique_ptr<double>> prices;
};
KELM_DESCRIBE(Shelf, prices)

Shelf Use(const kelm::Scope& scope)
{
    return kelm::Evaluate<Shelf>("shelf", scope);
}
