// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/objects/Collector.h>
#include <klUtils/xvector.h>

void Move()
{
    kelm::xvector<kelm::GcRoot>().reserve(2);
}
