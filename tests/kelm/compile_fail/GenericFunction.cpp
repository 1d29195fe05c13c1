// error: Define takes a function of one signature
#include <kelm/Expression.h>

void Use(kelm::Scope& scope)
{
    scope.Define("f", [](auto x) { return x; });
}
