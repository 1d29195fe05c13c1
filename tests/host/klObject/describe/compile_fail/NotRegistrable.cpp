// error: this type is not described: KELM_CLASS, KELM_ENUM, KELM_VARIANT or KELM_TYPEDEF must stand before
#include <klObject/describe/Describe.h>

namespace shop
{
struct Article
{
    int id;
};
} // namespace shop

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
