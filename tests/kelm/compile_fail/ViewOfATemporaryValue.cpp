// error: As gives a std::string_view of a Value that is kept: of a variable
#include <kelm/kelm.h>

std::string_view Use(const kelm::Scope& scope)
{
    return kelm::Evaluate("name", scope).As<std::string_view>();
}
