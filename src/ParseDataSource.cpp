// Data sources: the entry points, which hold the text and its errors, and their registration. The reading itself is
// DataSourceReader's.

#include <klKelmScript/ParseDataSource.h>

#include <klKelmScript/private/DataSourceReader.h>
#include <klKelmScript/private/RegisterInModule.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/TracerX.h>

#include <iterator>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseDataSource";

} // namespace

// --- Whole data sources ----------------------------------------------------------------------------------------------

namespace
{

// An error that has not happened yet.
LexScannerException NoError()
{
    return LexScannerException(xstring(), LSToken());
}

} // namespace

ptr<IObject> ParseDataSource(ExpressionParser& parser, const char* className)
{
    return DataSourceReader(parser).ReadObject(className);
}

ptr<IObject> ParseDataSource(ExpressionParser& parser)
{
    return DataSourceReader(parser).ReadDataSource();
}

ptr<IObject> ParseDataSource(const xstring& text, LexScannerException& error)
{
    try
    {
        ExpressionParser parser;
        parser.Init(text);
        return ParseDataSource(parser);
    }
    catch (const LexScannerException& e)
    {
        error = e;
        error.LocateIn(text);
        return nullptr;
    }
}

ptr<IObject> ParseDataSourceFromString(const xstring& pds, xstring& errorMsg)
{
    LexScannerException error = NoError();
    const ptr<IObject> result = ParseDataSource(pds, error);
    if (!result)
        errorMsg = error.GetWrittenText();
    return result;
}

ptr<IObject> ParseDataSourceFromString2(const xstring& pds)
{
    LexScannerException error = NoError();
    const ptr<IObject> result = ParseDataSource(pds, error);
    if (!result)
    {
        TracerX trace;
        trace << "Error: " << error.GetWrittenText() << "\n";
    }
    return result;
}

// --- Values ----------------------------------------------------------------------------------------------------------

void ParseVariable(ExpressionParser& parser, ReflectionByteCode type, void* data)
{
    DataSourceReader(parser).ReadVariable(type, data);
}

void ParseClassVariable(ExpressionParser& parser, const ReflectedClass& rc, void* data)
{
    DataSourceReader(parser).ReadClass(rc, data);
}

void ParseArrayVariable(ExpressionParser& parser, ReflectionByteCode elementType, ssize_t count, void* data)
{
    DataSourceReader(parser).ReadArray(elementType, count, data);
}

void ParseVectorVariable(ExpressionParser& parser, ReflectionByteCode elementType, void* vector)
{
    DataSourceReader(parser).ReadVector(elementType, *static_cast<VectorOfByte*>(vector));
}

void ParseMapVariable(ExpressionParser& parser, ReflectionByteCode mapType, void* map)
{
    DataSourceReader(parser).ReadMap(mapType, map);
}

void ParseVariantVariable(ExpressionParser& parser, const ReflectedVariant& rv, void* data)
{
    DataSourceReader(parser).ReadVariant(rv, data);
}

// --- Registration ----------------------------------------------------------------------------------------------------

namespace
{

constexpr ConstStringZ s_stringTable[] = {"kelm::IObject", "kelm::xstring", nullptr};

constexpr uint8 s_objectPtr[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
constexpr uint8 s_constStringReference[] = {FT_REFERENCE, FT_CONST, FT_TYPEDEF, 1, 0};
constexpr uint8 s_stringReference[] = {FT_REFERENCE, FT_TYPEDEF, 1, 0};

constexpr ReflectedArg s_argsFromString[] = {{"pds", s_constStringReference}, {"errorMsg", s_stringReference}};
constexpr ReflectedArg s_argsFromString2[] = {{"pds", s_constStringReference}};

const ReflectedGlobalFunction ParseDataSourceFromString_function = {
    .m_name = "kelm::ParseDataSourceFromString",
    .m_returnType = {s_objectPtr},
    .m_args = s_argsFromString,
    .m_numArgs = std::size(s_argsFromString),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(ParseDataSourceFromString),
};

const ReflectedGlobalFunction ParseDataSourceFromString2_function = {
    .m_name = "kelm::ParseDataSourceFromString2",
    .m_returnType = {s_objectPtr},
    .m_args = s_argsFromString2,
    .m_numArgs = std::size(s_argsFromString2),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(ParseDataSourceFromString2),
};

} // namespace

void _Register_ParseDataSourceFromString()
{
    RegisterInModule(RegisterReflectedGlobalFunction, ParseDataSourceFromString_function,
                     "kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString_function,", s_sourceFile, 713);
}

void _Register_ParseDataSourceFromString2()
{
    RegisterInModule(RegisterReflectedGlobalFunction, ParseDataSourceFromString2_function,
                     "kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString2_function,", s_sourceFile, 749);
}

} // namespace kelm
