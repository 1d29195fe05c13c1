// error: Bind takes a variable, which must outlive the scope; Set takes a value
#include <kelm/Expression.h>

void Use(kelm::Scope& scope)
{
    scope.Bind("x", 1.5);
}
