// error: a member or base class is named as the class itself may name it: Shape, and not geom::Shape
#include <klObject/describe/Describe.h>

namespace geom
{
struct Shape
{
    int id = 0;
};
struct Circle : Shape
{
    double radius = 0;
};
} // namespace geom

KELM_DESCRIBE(geom::Shape, id)
KELM_DESCRIBE(geom::Circle, geom::Shape, radius)

void RegisterTypes()
{
    kelm::Register<geom::Circle>(nullptr);
}
