// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klObject/describe/Describe.h>

#include <string>

namespace shop
{
struct Note
{
    kelm::int32 id;
    std::string text;
};
struct Article
{
    kelm::xstring name;
    Note note;
};
} // namespace shop

KELM_CLASS(shop::Note, KELM_MODEL(id))
KELM_CLASS(shop::Article, KELM_MODEL(name), KELM_MODEL(note))

void Move()
{
    kelm::xvector<shop::Article>().emplace_back();
}
