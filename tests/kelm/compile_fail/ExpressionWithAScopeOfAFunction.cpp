// error: an Expression keeps its scope, which must outlive it: a variable
#include <kelm/kelm.h>

kelm::Scope MakeScope();

double Use()
{
    const kelm::Expression twice("2 * x", MakeScope(), {"x"});
    return twice.Evaluate<double>(1);
}
