// error: KELM_MODEL_OF takes a member whose class lists model fields itself (KELM_MODEL)
#include <klObject/describe/Describe.h>

namespace shop
{
struct Label
{
    int number = 0;
};
struct Box
{
    Label label;
};
struct Article
{
    Box box;
};
} // namespace shop

KELM_CLASS(shop::Label, KELM_MODEL(number))
KELM_CLASS(shop::Box, KELM_MODEL_OF(label))
KELM_CLASS(shop::Article, KELM_MODEL_OF(box))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
