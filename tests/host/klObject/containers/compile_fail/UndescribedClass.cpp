// error: is not known to be relocatable, and our containers move what they hold as bytes
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

struct Article
{
    kelm::xstring name;
};

void Move()
{
    kelm::xvector<Article>().emplace_back();
}
