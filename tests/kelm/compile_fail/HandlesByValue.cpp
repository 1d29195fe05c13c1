// error: a type that holds handles of collected objects (ptr, pref) is read into a kelm::Root<T>
#include <kelm/kelm.h>

#include <map>
#include <string>

namespace shop
{
struct Owner
{
    kelm::ptr<kelm::IObject> self;
};
struct Article
{
    std::map<std::string, Owner> owners;
};
} // namespace shop

KELM_DESCRIBE(shop::Owner, self)
KELM_DESCRIBE(shop::Article, owners)

void ReadArticle()
{
    kelm::Read<shop::Article>("{}");
}
