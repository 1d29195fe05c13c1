#include <kelmLanguage/Types.h>

#include <kelm/private/errors/Suggest.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

template <class Entry>
void Sort(std::vector<Entry>& entries)
{
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.m_name < b.m_name; });
}

template <class Row>
std::vector<std::string> NamesOf(const std::vector<Row>& rows)
{
    std::vector<std::string> names;
    names.reserve(rows.size());
    for (const Row& row : rows)
        names.push_back(row.m_name);
    return names;
}

// Whether the name is the other one, or ends in it behind "::".
bool IsSuffix(std::string_view name, std::string_view written)
{
    if (!name.ends_with(written))
        return false;
    name.remove_suffix(written.size());
    return name.empty() || name.ends_with("::");
}

} // namespace

Types::Types(TypeCatalogue catalogue) : m_catalogue(std::move(catalogue))
{
    Sort(m_catalogue.m_classes);
    Sort(m_catalogue.m_enums);
    Sort(m_catalogue.m_variants);
    Sort(m_catalogue.m_typedefs);
}

template <class Entry>
const Entry* Types::Find(const std::vector<Entry>& entries, std::string_view name)
{
    const auto place = std::lower_bound(entries.begin(), entries.end(), name,
                                        [](const Entry& entry, std::string_view n) { return entry.m_name < n; });
    return place != entries.end() && place->m_name == name ? &*place : nullptr;
}
template const CatalogueClass* Types::Find(const std::vector<CatalogueClass>&, std::string_view);
template const CatalogueEnum* Types::Find(const std::vector<CatalogueEnum>&, std::string_view);
template const CatalogueVariant* Types::Find(const std::vector<CatalogueVariant>&, std::string_view);
template const CatalogueTypedef* Types::Find(const std::vector<CatalogueTypedef>&, std::string_view);

const TypeNode& Types::UnderlyingOf(const TypeNode& type) const
{
    const TypeNode* node = &type;
    // A file may say that typedefs stand for each other in a circle.
    for (std::size_t i = 0; i < m_catalogue.m_typedefs.size() && node->m_kind == TypeKind::Typedef; ++i)
    {
        const CatalogueTypedef* const entry = FindTypedef(node->m_name);
        if (entry == nullptr)
            break;
        node = &entry->m_type;
    }
    return *node;
}

const CatalogueMember* Types::FindMember(const CatalogueClass& entry, std::string_view name)
{
    const auto place = std::find_if(entry.m_members.begin(), entry.m_members.end(),
                                    [name](const CatalogueMember& member) { return member.m_name == name; });
    return place != entry.m_members.end() ? &*place : nullptr;
}

std::vector<CatalogueAlternative> Types::AlternativesOf(const TypeNode& type) const
{
    const TypeNode& node = UnderlyingOf(type);
    std::vector<CatalogueAlternative> alternatives;
    if (node.m_kind == TypeKind::Choice)
        for (std::size_t i = 0; i < node.m_parts.size() && i < node.m_names.size(); ++i)
            alternatives.push_back({node.m_names[i], node.m_parts[i]});
    else if (const CatalogueVariant* const variant =
                 node.m_kind == TypeKind::Variant ? FindVariant(node.m_name) : nullptr)
        alternatives = variant->m_alternatives;
    return alternatives;
}

std::optional<CatalogueAlternative> Types::FindAlternative(const TypeNode& type, std::string_view written) const
{
    std::vector<CatalogueAlternative> alternatives = AlternativesOf(type);
    const auto find = [&](const auto& isMeant) -> std::optional<CatalogueAlternative>
    {
        const auto place = std::find_if(alternatives.begin(), alternatives.end(), isMeant);
        return place != alternatives.end() ? std::optional(std::move(*place)) : std::nullopt;
    };
    // Of the standard library's variants a whole name comes before all parts of names.
    if (UnderlyingOf(type).m_kind == TypeKind::Choice)
        if (auto whole = find([&](const CatalogueAlternative& a) { return a.m_name == written; }))
            return whole;
    return find([&](const CatalogueAlternative& a) { return IsSuffix(a.m_name, written); });
}

bool Types::IsDerived(const CatalogueClass& entry, std::string_view fromName) const
{
    std::vector<const CatalogueClass*> open = {&entry};
    // Each class is looked at once, so that circles end.
    for (std::size_t i = 0; i < open.size(); ++i)
    {
        const CatalogueClass& seen = *open[i];
        if (seen.m_name == fromName ||
            std::find(seen.m_interfaces.begin(), seen.m_interfaces.end(), fromName) != seen.m_interfaces.end())
            return true;
        for (const std::string& base : seen.m_bases)
            if (const CatalogueClass* const found = FindClass(base);
                found != nullptr && std::find(open.begin(), open.end(), found) == open.end())
                open.push_back(found);
    }
    return false;
}

std::vector<const CatalogueClass*> Types::CreatableClasses() const
{
    std::vector<const CatalogueClass*> classes;
    for (const CatalogueClass& entry : m_catalogue.m_classes)
        if (entry.m_isCreatable)
            classes.push_back(&entry);
    return classes;
}

std::vector<const CatalogueClass*> Types::CreatableClassesFor(const TypeNode& handle) const
{
    std::vector<const CatalogueClass*> classes = CreatableClasses();
    const TypeNode& type = UnderlyingOf(handle);
    if (!type.m_name.empty())
        std::erase_if(classes, [&](const CatalogueClass* entry) { return !IsDerived(*entry, type.m_name); });
    return classes;
}

std::vector<std::string> Types::NearestClasses(std::string_view name) const
{
    return NearestNames(name, NamesOf(m_catalogue.m_classes));
}

std::vector<std::string> Types::NearestMembers(const CatalogueClass& entry, std::string_view name)
{
    return NearestNames(name, NamesOf(entry.m_members));
}

std::vector<std::string> Types::NearestEnumerators(const CatalogueEnum& entry, std::string_view name)
{
    return NearestNames(name, NamesOf(entry.m_enumerators));
}

} // namespace kelm::language
