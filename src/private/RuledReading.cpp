#include <klKelmScript/private/RuledReading.h>

#include <klKelmScript/ParseDataSource.h>

namespace kelm
{

void ReadByRules(ExpressionParser& parser, const ReadingRules&, const ReflectionByteCode& type, void* data,
                 std::string&)
{
    ParseVariable(parser, type, data);
}

ptr<IObject> ReadObjectByRules(ExpressionParser& parser, const ReadingRules&, std::string&)
{
    return ParseDataSource(parser);
}

} // namespace kelm
