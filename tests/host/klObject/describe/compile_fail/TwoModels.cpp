// error: a class lists its model fields (KELM_MODEL) or has the model of one member (KELM_MODEL_OF), not both
#include <klObject/describe/Describe.h>

namespace shop
{
struct Model
{
    int id;
};
struct Article
{
    Model model;
    int count;
};
} // namespace shop

KELM_CLASS(shop::Model, KELM_MODEL(id))
KELM_CLASS(shop::Article, KELM_MODEL_OF(model), KELM_MODEL(count))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
