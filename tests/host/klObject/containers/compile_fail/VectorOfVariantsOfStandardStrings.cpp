// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/containers/xvariant.h>
#include <klUtils/xvector.h>

#include <string>

void Move()
{
    kelm::xvector<kelm::xvariant<int, std::string>>().resize(2);
}
