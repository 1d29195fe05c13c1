// error: deleted
#include <klUtils/text/ParserBase.h>

kelm::xstring MakeText();

void Parse()
{
    kelm::ParserBase parser;
    parser.Init(MakeText());
}
