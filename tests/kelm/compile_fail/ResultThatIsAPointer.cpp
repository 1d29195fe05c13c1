// error: the result of a function in a Scope is nothing, a number
#include <kelm/Expression.h>

void Use(kelm::Scope& scope)
{
    scope.Define("f", [](int x) -> const int* { return x > 0 ? nullptr : nullptr; });
}
