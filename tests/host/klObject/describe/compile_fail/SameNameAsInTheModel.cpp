// error: a field has the same name as one of the embedded model
#include <klObject/describe/Describe.h>

namespace shop
{
struct Label
{
    int number = 0;
};
struct Article
{
    Label label;
    int number = 0;
};
} // namespace shop

KELM_CLASS(shop::Label, KELM_MODEL(number))
KELM_CLASS(shop::Article, KELM_MODEL_OF(label), KELM_FIELD(number))

void RegisterTypes()
{
    kelm::RegisterTypes<shop::Label, shop::Article>(nullptr);
}
