// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klUtils/xvector.h>

struct Ring
{
    Ring() : self(this) {}
    Ring(const Ring&) : self(this) {}
    Ring* self;
};

void Move()
{
    kelm::xvector<Ring>(3);
}
