// error: strings and containers that are described are xstring, xstring16, xvector
// error: basic_string
#include <klObject/describe/Describe.h>

#include <string>

namespace shop
{
struct Article
{
    std::string name;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(name))

void RegisterTypes()
{
    kelm::Register<shop::Article>(nullptr);
}
