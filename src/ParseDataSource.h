#pragma once

// Data sources: text that names a registered class and its members, read straight into live objects.
//
//     Shape { size = 3 origin = Point(1, 2) tags = ["a", "b"] owner = Person { age = 40 } }
//
// Bad input is a LexScannerException at the current token. Nothing is undone on failure: objects already created belong
// to the collector, and fields already filled keep their values. What a description makes impossible fails an
// assertion. The nesting of the text is limited by memory alone.

#include <klKelmScript/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

namespace kelm
{

// --- Qualified names -------------------------------------------------------------------------------------------------

// Splits the qualified name at the front of `text` into its identifiers, which are views into it; "." and "::" are the
// same. True when every separator is followed by an identifier; `text` then begins at the first token behind the name.
// False otherwise, with the identifiers before the failure in `segments` and `text` at the token that is none.
// Characters that form no token count as a token of another kind.
KLKELMSCRIPT_API bool TokenisePath(SubString& text, xvector<SubString>& segments);

// Reads a qualified name and returns it with "::" between its identifiers, whichever separator was written. Throws
// LexScannerException "Expected identifier when read " + token.
KLKELMSCRIPT_API xstring ParsePath(ExpressionParser& parser);

// Whether the segments of `suffix` are the last ones of `whole`.
KLKELMSCRIPT_API bool IsSuffix(const xvector<SubString>& whole, const xvector<SubString>& suffix);

// The same of two qualified names as text; false where either is malformed. What follows a name is not looked at.
KLKELMSCRIPT_API bool IsPathSuffix(SubString path, SubString suffix);

// --- Whole data sources ----------------------------------------------------------------------------------------------

// Creates an object of the named class, hands it to the collector, and reads its body where one begins at the current
// token.
KLKELMSCRIPT_API ptr<IObject> ParseDataSource(ExpressionParser& parser, const char* className);

// The same with the class name read first; the name "null" gives a null handle.
KLKELMSCRIPT_API ptr<IObject> ParseDataSource(ExpressionParser& parser);

// The whole text as one data source; what follows it is not looked at. Null on failure, which `error` then describes,
// with its line.
KLKELMSCRIPT_API ptr<IObject> ParseDataSource(const xstring& text, LexScannerException& error);

// The same with the failure as text in place of what `errorMsg` holds; untouched on success. A null result counts as a
// failure, the text "null" included, whose message is empty.
KLKELMSCRIPT_API ptr<IObject> ParseDataSourceFromString(const xstring& pds, xstring& errorMsg);

// The same with the failure as one line, "Error: " and the text, in the trace.
KLKELMSCRIPT_API ptr<IObject> ParseDataSourceFromString2(const xstring& pds);

// Publish the last two as reflected global functions.
KLKELMSCRIPT_API void _Register_ParseDataSourceFromString();
KLKELMSCRIPT_API void _Register_ParseDataSourceFromString2();

// --- Values ----------------------------------------------------------------------------------------------------------

// Reads a value of `type` into the constructed variable at `data`. Vectors and maps receive what is read in addition to
// what they hold.
KLKELMSCRIPT_API void ParseVariable(ExpressionParser& parser, ReflectionByteCode type, void* data);

// Reads an optional class name and a body, { member = value ... } or (value, ...), into the instance at `data`.
KLKELMSCRIPT_API void ParseClassVariable(ExpressionParser& parser, const ReflectedClass& rc, void* data);

KLKELMSCRIPT_API void ParseArrayVariable(ExpressionParser& parser, ReflectionByteCode elementType, ssize_t count,
                                         void* data);
KLKELMSCRIPT_API void ParseVectorVariable(ExpressionParser& parser, ReflectionByteCode elementType, void* vector);

// `mapType` is at the FT_MAP code itself. One key variable serves the whole map; it is not destroyed at the end.
KLKELMSCRIPT_API void ParseMapVariable(ExpressionParser& parser, ReflectionByteCode mapType, void* map);

// The alternative that the variable held before is not destroyed.
KLKELMSCRIPT_API void ParseVariantVariable(ExpressionParser& parser, const ReflectedVariant& rv, void* data);

} // namespace kelm
