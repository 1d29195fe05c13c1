// error: a type is described under its full name, identifiers with "::" between them
#include <klObject/describe/Describe.h>

namespace shop
{
template <class T>
struct Box
{
    T content;
};
} // namespace shop

KELM_CLASS(shop::Box<int>, KELM_MODEL(content))

void RegisterTypes()
{
    kelm::Register<shop::Box<int>>(nullptr);
}
