// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/containers/xmap.h>

#include <string>

void Move()
{
    kelm::xmap<int, std::string>()[1];
}
