#include <klKelmScript/private/RuledReading.h>

#include <klKelmScript/private/DataSourceReader.h>

namespace kelm
{

namespace
{

// Calls read(reader), and tells where it failed.
template <class F>
auto ReadWith(ExpressionParser& parser, const ReadingRules& rules, std::string& path, const F& read)
{
    ProgramDataReader reader(parser, {rules});
    try
    {
        return read(reader);
    }
    catch (...)
    {
        path = reader.GetRules().m_trail.GetText();
        throw;
    }
}

} // namespace

void ReadByRules(ExpressionParser& parser, const ReadingRules& rules, const ReflectionByteCode& type, void* data,
                 std::string& path)
{
    ReadWith(parser, rules, path, [&](ProgramDataReader& reader) { reader.ReadVariable(type, data); });
}

ptr<IObject> ReadObjectByRules(ExpressionParser& parser, const ReadingRules& rules, std::string& path)
{
    return ReadWith(parser, rules, path, [](ProgramDataReader& reader) { return reader.ReadDataSource(); });
}

} // namespace kelm
