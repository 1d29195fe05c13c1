// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/containers/xvariant.h>

#include <string>

void Move()
{
    kelm::xvariant<int, std::string>().Emplace<1>("a");
}
