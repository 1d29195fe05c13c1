#pragma once

// What exists by name in the registries.

#include <klObject/types/ReflectedTypes.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

// Of a qualified name what stands behind the last "::".
std::string_view LastPart(std::string_view qualifiedName);

std::vector<std::string> BuiltInNames();

// Classes, or of classes those that data sources can create.
std::vector<std::string> ClassNames();
std::vector<std::string> CreatableClassNames();

// Every registered type and function.
std::vector<std::string> AllTypeNames();

// The members that a data source can name: present model fields, then ordinary ones.
std::vector<std::string> MemberNames(const ReflectedClass& rc);

// The members that a path can name: present model fields alone.
std::vector<std::string> ModelFieldNames(const ReflectedClass& rc);

std::vector<std::string> EnumeratorNames(const ReflectedEnum& re);
std::vector<std::string> AlternativeNames(const ReflectedVariant& rv);

} // namespace kelm::tool
