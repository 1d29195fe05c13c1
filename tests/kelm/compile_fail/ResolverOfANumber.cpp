// error: Resolve takes a std::optional<kelm::Value>(std::string_view)
#include <kelm/Expression.h>

void Use(kelm::Scope& scope)
{
    scope.Resolve([](int) { return kelm::Value(1); });
}
