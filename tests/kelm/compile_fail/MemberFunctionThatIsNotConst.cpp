// error: a member function in a Scope is const
#include <kelm/Expression.h>
#include <klObject/describe/Describe.h>

struct Line
{
    int number = 0;
    int Next() { return number + 1; }
};

KELM_DESCRIBE(Line, number)

void Use(kelm::Scope& scope)
{
    scope.Define("Next", &Line::Next);
}
