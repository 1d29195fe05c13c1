#pragma once

// The types that texts are written in, for whoever helps to write them: a catalogue, wherever it comes from, and what
// is asked of it.

#include <kelm/private/types/TypeCatalogue.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelm::language
{

// Reads the text that `types --dump` and WriteTypes write. Nothing, and one reason, where it is none.
std::optional<TypeCatalogue> ReadTypeCatalogue(std::string_view json, std::string& why);

// A catalogue, and look-ups by name. Full names have "::"; what is written with "." is for the caller to change.
class Types
{
public:
    Types() = default;
    explicit Types(TypeCatalogue catalogue);

    // Look-ups refer to the catalogue, which moves with it.
    Types(Types&&) = default;
    Types& operator=(Types&&) = default;

    const TypeCatalogue& GetCatalogue() const { return m_catalogue; }

    // By their full names; null for none.
    const CatalogueClass* FindClass(std::string_view name) const { return Find(m_catalogue.m_classes, name); }
    const CatalogueEnum* FindEnum(std::string_view name) const { return Find(m_catalogue.m_enums, name); }
    const CatalogueVariant* FindVariant(std::string_view name) const { return Find(m_catalogue.m_variants, name); }
    const CatalogueTypedef* FindTypedef(std::string_view name) const { return Find(m_catalogue.m_typedefs, name); }

    // Behind typedefs.
    const TypeNode& UnderlyingOf(const TypeNode& type) const;

    // The member that a text of that name gives; null for none.
    static const CatalogueMember* FindMember(const CatalogueClass& entry, std::string_view name);

    // The alternatives of a variant, whether it is named or the standard library's; nothing for other types.
    std::vector<CatalogueAlternative> AlternativesOf(const TypeNode& type) const;

    // The alternative that is written so, by its whole name or its last parts, as readers choose; nothing for none.
    std::optional<CatalogueAlternative> FindAlternative(const TypeNode& type, std::string_view written) const;

    // Whether objects of the class can be had as those of a class or an interface, themselves included.
    bool IsDerived(const CatalogueClass& entry, std::string_view fromName) const;

    // The classes of which a text can give an object: any, or where a handle or reference wants one. Ordered by name.
    std::vector<const CatalogueClass*> CreatableClasses() const;
    std::vector<const CatalogueClass*> CreatableClassesFor(const TypeNode& handle) const;

    std::vector<std::string> NearestClasses(std::string_view name) const;
    static std::vector<std::string> NearestMembers(const CatalogueClass& entry, std::string_view name);
    static std::vector<std::string> NearestEnumerators(const CatalogueEnum& entry, std::string_view name);

private:
    // Entries of one kind are ordered by name.
    template <class Entry>
    static const Entry* Find(const std::vector<Entry>& entries, std::string_view name);

    TypeCatalogue m_catalogue;
};

} // namespace kelm::language
