// error: an Expression keeps its scope, which must outlive it: a variable
#include <kelm/kelm.h>

double Use(double& x)
{
    const kelm::Expression twice("2 * x", kelm::Scope().Bind("x", x));
    return twice.Evaluate<double>();
}
