#pragma once

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

class Workspace;

// The class of what a variable of an underlying type is or refers to; null where that is no object.
const ReflectedClass* ClassOfField(const ReflectionByteCode& type, const void* data);

// Those of `names` that begin with `beginning`.
std::vector<std::string> StartingWith(const std::string& beginning, const std::vector<std::string>& names);

// The names that can stand in an expression behind `before` and begin with `beginning`: members behind a path and its
// dot, elsewhere the names of the data and those that expressions know, functions with their bracket.
std::vector<std::string> CompleteInExpression(const Workspace& workspace, std::string_view before,
                                              const std::string& beginning);

// The registered names that begin with `beginning`, or whose last parts do: then these alone.
std::vector<std::string> CompleteTypeName(const std::string& beginning);

// The names of the fields at the end of a path such as ".items[3].", which ends with a dot. Looks at the object
// without changing it; none where the path leads nowhere.
std::vector<std::string> FieldNamesAt(ptr<IObject> object, const std::string& path);

// What can stand behind the beginning of a value that is read into the field at a path, as editors offer it: whole
// words for the one that begins at `word` there.
std::vector<std::string> CompleteValue(ptr<IObject> object, std::string_view path, std::string_view value,
                                       std::size_t word);

} // namespace kelm::tool
