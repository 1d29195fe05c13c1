#pragma once

// What is told of types to people: declarations as C++ has them, and what stands in a box beside the text.

#include <kelmLanguage/Types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

// "float32 margins[4]"
std::string DeclarationOf(const TypeNode& type, std::string_view name);

// Of a member with what a new object has there: "double x = 0".
std::string DeclarationOf(const CatalogueMember& member);

// All of it, as lines.
std::string DeclarationOf(const CatalogueClass& entry);
std::string DeclarationOf(const CatalogueEnum& entry);
std::string DeclarationOf(const CatalogueVariant& entry);

// Markdown: a declaration, and below it what is known beyond that.
std::string Described(std::string_view declaration, std::string_view doc, std::string_view remark = {});

// What is said of a member beyond its declaration.
std::string RemarkOn(const CatalogueMember& member);

} // namespace kelm::language
