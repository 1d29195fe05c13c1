// error: Evaluate gives a number, bool, std::string, kelm::Value or described type: no view or pointer
#include <kelm/kelm.h>

std::string_view Use(const kelm::Scope& scope)
{
    return kelm::Evaluate<std::string_view>("name", scope);
}
