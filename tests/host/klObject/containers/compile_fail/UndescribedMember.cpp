// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/describe/Describe.h>

#include <string>

namespace shop
{
struct Article
{
    kelm::xstring name;
    std::string note;
};
} // namespace shop

KELM_CLASS(shop::Article, KELM_MODEL(name))

void Move()
{
    kelm::xvector<shop::Article>().emplace_back();
}
