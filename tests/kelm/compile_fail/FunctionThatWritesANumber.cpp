// error: a parameter of a function in a Scope is a number, bool, std::string
#include <kelm/Expression.h>

void Use(kelm::Scope& scope)
{
    scope.Define("f", [](double& x) { x = 1; });
}
