#include <kelmLanguage/Alternatives.h>

#include <algorithm>

namespace kelm::language
{

bool IsLastOf(std::string_view name, std::string_view written)
{
    return name.ends_with(written) && !written.empty() &&
           (name.size() == written.size() || name[name.size() - written.size() - 1] == ':');
}

std::string_view LastOf(std::string_view name)
{
    return name.substr(name.rfind(':') + 1); // npos + 1 is 0
}

std::vector<Alternative> AlternativesOf(const Types& types, const TypeNode& variant)
{
    std::vector<Alternative> alternatives;
    if (variant.m_kind == TypeKind::Choice)
        for (std::size_t i = 0; i < variant.m_parts.size() && i < variant.m_names.size(); ++i)
            alternatives.push_back({variant.m_names[i], &variant.m_parts[i]});
    else if (variant.m_kind == TypeKind::Variant)
        if (const CatalogueVariant* const entry = types.FindVariant(variant.m_name))
            for (const CatalogueAlternative& alternative : entry->m_alternatives)
                alternatives.push_back({alternative.m_name, &alternative.m_type});
    return alternatives;
}

std::size_t FindAlternative(const TypeNode& variant, const std::vector<Alternative>& alternatives,
                            std::string_view written)
{
    const auto find = [&](const auto& isMeant)
    {
        return static_cast<std::size_t>(std::find_if(alternatives.begin(), alternatives.end(), isMeant) -
                                        alternatives.begin());
    };
    // Of the standard library's variants a whole name comes before all parts of names.
    if (variant.m_kind == TypeKind::Choice)
        if (const std::size_t whole = find([&](const Alternative& a) { return a.m_name == written; });
            whole < alternatives.size())
            return whole;
    return find([&](const Alternative& a) { return IsLastOf(a.m_name, written); });
}

std::string ShortNameOf(const TypeNode& variant, const std::vector<Alternative>& alternatives, std::size_t index)
{
    const std::string_view name = alternatives[index].m_name;
    std::size_t begin = name.size() - LastOf(name).size();
    while (begin > 2 && FindAlternative(variant, alternatives, name.substr(begin)) != index)
        begin -= 2 + LastOf(name.substr(0, begin - 2)).size();
    return std::string(name.substr(begin));
}

} // namespace kelm::language
