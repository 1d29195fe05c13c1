#pragma once

// Reading of a program's own data, by rules that are kind to people and strict with texts: a list or a map that is
// written replaces what is there, a member that is written twice or unknown is an error at its name, required members
// must be there, and checks are asked. ParseDataSource.h has the other rules.

#include <klKelmScript/api.h>
#include <klKelmScript/private/ReadingRules.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/text/ExpressionParser.h>

#include <string>

namespace kelm
{

// A value, into a constructed variable. Where that fails, `path` is that of the field that was under way,
// ".lines[0].quantity".
KLKELMSCRIPT_API void ReadByRules(ExpressionParser& parser, const ReadingRules& rules, const ReflectionByteCode& type,
                                  void* data, std::string& path);

// A whole data source, as ParseDataSource reads one.
KLKELMSCRIPT_API ptr<IObject> ReadObjectByRules(ExpressionParser& parser, const ReadingRules& rules, std::string& path);

} // namespace kelm
