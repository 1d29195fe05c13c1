// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klUtils/xvector.h>

#include <array>
#include <string>

void Move()
{
    kelm::xvector<std::array<std::string, 2>>().reserve(2);
}
