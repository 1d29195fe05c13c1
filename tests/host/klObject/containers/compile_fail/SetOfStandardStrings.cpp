// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/containers/xset.h>

#include <string>

void Move()
{
    kelm::xset<std::string>().Insert("a");
}
