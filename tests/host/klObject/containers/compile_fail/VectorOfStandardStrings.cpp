// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klUtils/xvector.h>

#include <string>

void Move()
{
    kelm::xvector<std::string>().emplace_back();
}
