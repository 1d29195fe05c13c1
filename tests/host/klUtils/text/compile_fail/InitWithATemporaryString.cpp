// error: deleted
#include <klUtils/text/ExpressionParser.h>

void Parse(const kelm::xstring& name)
{
    kelm::ExpressionParser parser;
    parser.Init(kelm::xstring(name.data(), 3));
}
