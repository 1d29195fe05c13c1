// error: BindMembers takes a variable, which must outlive the scope
#include <kelm/kelm.h>

struct Order
{
    int number = 0;
};
KELM_DESCRIBE(Order, number)

void Use(kelm::Scope& scope)
{
    scope.BindMembers(Order());
}
