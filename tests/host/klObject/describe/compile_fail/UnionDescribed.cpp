// error: a union cannot be described, since nothing says which of its members it holds: use std::variant
#include <klObject/describe/Describe.h>

namespace shop
{
union Size
{
    int pieces = 0;
    float litres;
};
} // namespace shop

KELM_DESCRIBE(shop::Size, pieces, litres)

void RegisterTypes()
{
    kelm::Register<shop::Size>(nullptr);
}
