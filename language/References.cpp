#include <kelmLanguage/References.h>

#include <kelmLanguage/Alternatives.h>
#include <kelmLanguage/Descriptions.h>
#include <kelmLanguage/Sites.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

std::optional<Subject> SubjectOf(const Types& types, const NameSite& site)
{
    if (!site.IsKnown())
        return std::nullopt;
    switch (site.m_kind)
    {
    case NameKind::Class: return Subject{site.m_kind, site.m_class->m_name, {}};
    case NameKind::Member: return Subject{site.m_kind, site.m_class->m_name, site.m_member->m_name};
    case NameKind::Enumerator: return Subject{site.m_kind, site.m_enum->m_name, site.m_enumerator->m_name};
    case NameKind::Alternative:
    {
        const TypeNode& type = *site.m_type;
        const auto index = static_cast<std::size_t>(site.m_alternative);
        return Subject{site.m_kind, type.m_kind == TypeKind::Variant ? type.m_name : type.m_text,
                       std::string(AlternativesOf(types, type)[index].m_name)};
    }
    case NameKind::Word: return std::nullopt;
    }
    return std::nullopt;
}

// Of a qualified name its last part.
Span LastPartOf(std::string_view text, Span path)
{
    Span last = path;
    for (std::size_t at = path.m_begin; at < path.m_end;)
    {
        const Part part = ScanPart(text, at);
        if (part.Is(TOKEN_IDENTIFIER))
            last = part.m_span;
        at = part.m_span.m_end;
    }
    return last;
}

// The line of a text that begins with blanks and a word; 0 where there is none.
std::size_t LineWith(std::string_view text, std::string_view word, const auto& isIt)
{
    std::size_t line = 0;
    for (std::size_t at = 0; at < text.size(); ++line)
    {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        if (isIt(text.substr(at, end - at), word))
            return line;
        at = end + 1;
    }
    return 0;
}

// "    double x = 0;" and "    float margins[4];" declare x and margins.
bool Declares(std::string_view line, std::string_view name)
{
    for (std::size_t at = line.find(name); at != std::string_view::npos; at = line.find(name, at + 1))
    {
        const char before = at > 0 ? line[at - 1] : '\n';
        const char behind = at + name.size() < line.size() ? line[at + name.size()] : '\n';
        if (before == ' ' && (behind == ' ' || behind == ';' || behind == '[' || behind == ':') &&
            line.starts_with("    ") && !line.starts_with("    //"))
            return true;
    }
    return false;
}

template <class Entry>
const CatalogueEntry* AsEntry(const Entry* entry)
{
    return entry;
}

} // namespace

std::optional<SubjectPlace> SubjectAt(const Document& document, const Types& types, std::size_t at)
{
    const Situation situation = SituationAt(document, types, at);
    if (!situation.m_name)
        return std::nullopt;
    std::optional<Subject> subject = SubjectOf(types, *situation.m_name);
    if (!subject)
        return std::nullopt;
    return SubjectPlace{std::move(*subject), situation.m_name->m_span};
}

std::vector<Span> MentionsOf(const Document& document, const Types& types, const Subject& subject)
{
    const std::string_view text = document.GetText();
    std::vector<Span> mentions;
    ForEachName(document, types, {0, text.size()},
                [&](const NameSite& site)
                {
                    // Most names differ already.
                    const std::string_view name = LastOf(subject.m_name.empty() ? subject.m_owner : subject.m_name);
                    if (site.m_kind == subject.m_kind && site.m_span.In(text).ends_with(name) &&
                        SubjectOf(types, site) == subject)
                        mentions.push_back(LastPartOf(text, site.m_span));
                });
    return mentions;
}

const CatalogueEntry* FindEntry(const Types& types, const Subject& subject)
{
    switch (subject.m_kind)
    {
    case NameKind::Class:
    case NameKind::Member: return AsEntry(types.FindClass(subject.m_owner));
    case NameKind::Enumerator: return AsEntry(types.FindEnum(subject.m_owner));
    case NameKind::Alternative: return AsEntry(types.FindVariant(subject.m_owner));
    case NameKind::Word: return nullptr;
    }
    return nullptr;
}

std::optional<Declaration> DeclarationOf(const Types& types, const Subject& subject)
{
    Declaration declaration;
    if (const CatalogueClass* const entry = types.FindClass(subject.m_owner);
        entry != nullptr && (subject.m_kind == NameKind::Class || subject.m_kind == NameKind::Member))
        declaration.m_text = DeclarationOf(*entry);
    else if (const CatalogueEnum* const enumeration = types.FindEnum(subject.m_owner); enumeration != nullptr)
        declaration.m_text = DeclarationOf(*enumeration);
    else if (const CatalogueVariant* const variant = types.FindVariant(subject.m_owner); variant != nullptr)
        declaration.m_text = DeclarationOf(*variant);
    else
        return std::nullopt;
    if (!subject.m_name.empty())
        declaration.m_line = LineWith(declaration.m_text, subject.m_name, Declares);
    return declaration;
}

// --- Other names

std::optional<Renaming> RenamingAt(const Document& document, const Types& types, std::size_t at)
{
    const Situation situation = SituationAt(document, types, at);
    if (!situation.m_name)
        return std::nullopt;
    const NameSite& site = *situation.m_name;
    Renaming renaming{site.m_span, {}, {}};
    const std::string_view written = site.m_span.In(document.GetText());
    const auto add = [&](std::string name)
    {
        if (name != written)
            renaming.m_choices.push_back(std::move(name));
    };
    switch (site.m_kind)
    {
    case NameKind::Member:
    {
        if (site.m_class == nullptr)
            return std::nullopt;
        const auto& siblings = situation.m_siblings;
        for (const CatalogueMember& member : site.m_class->m_members)
            if (std::find(siblings.begin(), siblings.end(), member.m_name) == siblings.end())
                add(member.m_name);
        renaming.m_nothingElse = "every member of " + site.m_class->m_name + " is written already";
        break;
    }
    case NameKind::Enumerator:
        if (site.m_enum == nullptr)
            return std::nullopt;
        for (const CatalogueEnumerator& enumerator : site.m_enum->m_enumerators)
            add(enumerator.m_name);
        renaming.m_nothingElse = site.m_enum->m_name + " has no other enumerator";
        break;
    case NameKind::Alternative:
    {
        const std::vector<Alternative> alternatives = AlternativesOf(types, *site.m_type);
        for (std::size_t i = 0; i < alternatives.size(); ++i)
            add(ShortNameOf(*site.m_type, alternatives, i));
        renaming.m_nothingElse = site.m_type->m_text + " has no other alternative";
        break;
    }
    case NameKind::Class:
    {
        if (site.m_type != nullptr && site.m_type->m_kind == TypeKind::Class)
        {
            add(std::string(LastOf(site.m_type->m_name)));
            add(site.m_type->m_name);
        }
        else
        {
            std::vector<const CatalogueClass*> classes =
                site.m_type != nullptr ? types.CreatableClassesFor(*site.m_type) : types.CreatableClasses();
            for (const CatalogueClass* entry : classes)
                if (entry != site.m_class)
                    add(entry->m_name);
        }
        renaming.m_nothingElse = "there is no other class of which an object could stand here";
        break;
    }
    case NameKind::Word: return std::nullopt;
    }
    return renaming;
}

} // namespace kelm::language
