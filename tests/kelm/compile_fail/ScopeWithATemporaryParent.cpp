// error: tak
#include <kelm/kelm.h>

void Use(double& x)
{
    const kelm::Scope inner(&kelm::Scope().Bind("x", x));
}
