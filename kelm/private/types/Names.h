#pragma once

// What exists by name in the registries.

#include <kelm/api.h>
#include <klObject/types/ReflectedTypes.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

// Of a qualified name what stands behind the last "::".
KELM_API std::string_view LastPart(std::string_view qualifiedName);

KELM_API std::vector<std::string> BuiltInNames();

// Classes, or of classes those that data sources can create.
KELM_API std::vector<std::string> ClassNames();
KELM_API std::vector<std::string> CreatableClassNames();

// Every registered type and function.
KELM_API std::vector<std::string> AllTypeNames();

// The members that a data source can name: present model fields, then ordinary ones.
KELM_API std::vector<std::string> MemberNames(const ReflectedClass& rc);

// The members that a path can name: present model fields alone.
KELM_API std::vector<std::string> ModelFieldNames(const ReflectedClass& rc);

KELM_API std::vector<std::string> EnumeratorNames(const ReflectedEnum& re);
KELM_API std::vector<std::string> AlternativeNames(const ReflectedVariant& rv);

} // namespace kelm
