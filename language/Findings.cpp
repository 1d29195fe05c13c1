#include <kelmLanguage/Findings.h>

#include <kelmLanguage/Alternatives.h>
#include <kelmLanguage/Sites.h>
#include <kelmLanguage/Situation.h>

#include <kelm/private/errors/Suggest.h>
#include <kelmDocument/Items.h>
#include <klUtils/StableSort.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

// Nothing where the name exists, or where too little is known to tell.
std::vector<Finding> FindingOf(const Document& document, const Types& types, const NameSite& site)
{
    if (site.IsKnown())
        return {};
    const std::string name = NameOf(document.GetText(), site.m_span);
    const auto unknown = [&](const std::string& container, std::vector<std::string> nearest) {
        return std::vector<Finding>{{"Unknown member '" + name + "' of " + container, site.m_span, std::move(nearest)}};
    };
    switch (site.m_kind)
    {
    case NameKind::Class:
    {
        if (site.m_type != nullptr && site.m_type->m_kind == TypeKind::Class)
            return {{"Expected " + site.m_type->m_name + " when read " + name,
                     site.m_span,
                     {std::string(LastOf(site.m_type->m_name))}}};
        std::vector<std::string> names;
        for (const CatalogueClass* entry : types.CreatableClasses())
            names.push_back(entry->m_name);
        // A class is meant by its last part, but has to be written in full.
        std::vector<std::string> nearest;
        for (const std::string& candidate : names)
            if (IsLastOf(candidate, name))
                nearest.push_back(candidate);
        if (nearest.empty())
            nearest = NearestNames(name, names);
        return {{"'" + name + "' is not a registered class name", site.m_span, std::move(nearest)}};
    }
    case NameKind::Member:
        if (site.m_class == nullptr)
            return {};
        return unknown("class " + site.m_class->m_name, Types::NearestMembers(*site.m_class, name));
    case NameKind::Enumerator:
        if (site.m_enum == nullptr)
            return {};
        return unknown("enum " + site.m_enum->m_name, Types::NearestEnumerators(*site.m_enum, name));
    case NameKind::Alternative:
    {
        const std::vector<Alternative> alternatives = AlternativesOf(types, *site.m_type);
        if (alternatives.empty())
            return {};
        std::vector<std::string> names;
        for (std::size_t i = 0; i < alternatives.size(); ++i)
            names.push_back(ShortNameOf(*site.m_type, alternatives, i));
        std::vector<std::string> nearest = NearestNames(name, names);
        if (site.m_type->m_kind == TypeKind::Choice)
            return {{"Unknown alternative '" + name + "' of a variant", site.m_span, std::move(nearest)}};
        return unknown("variant " + site.m_type->m_name, std::move(nearest));
    }
    case NameKind::Word: return {};
    }
    return {};
}

// Wrong characters, and brackets that do not match.
void FindInTokens(std::string_view text, std::size_t most, std::vector<Finding>& findings)
{
    std::vector<Part> open;
    for (std::size_t at = 0; at < text.size() && findings.size() < most;)
    {
        const Part part = ScanPart(text, at);
        at = part.m_span.m_end;
        if (part.m_kind == PartKind::Wrong)
            findings.push_back(
                {"This is no token: " + std::string(part.m_span.In(text).substr(0, 40)), part.m_span, {}});
        else if (IsOpeningBracket(part.m_token))
            open.push_back(part);
        else if (IsClosingBracket(part.m_token))
        {
            if (open.empty() || ClosingBracketOf(open.back().m_token) != part.m_token)
                findings.push_back({"This bracket closes nothing", part.m_span, {}});
            if (!open.empty())
                open.pop_back();
        }
    }
    for (const Part& part : open)
        if (findings.size() < most)
            findings.push_back({"This bracket is not closed", part.m_span, {}});
}

class Changer
{
public:
    Changer(const Document& document, const Types& types) : m_document(document), m_types(types) {}

    std::vector<Change> Make(Span range)
    {
        // A place between two characters is at the name on either side.
        const Span reach =
            range.IsEmpty() ? Span{range.m_begin - std::min<std::size_t>(range.m_begin, 1), range.m_end + 1} : range;
        ForEachName(m_document, m_types, reach,
                    [&](const NameSite& site)
                    {
                        for (const Finding& finding : FindingOf(m_document, m_types, site))
                            for (const std::string& name : finding.m_nearest)
                                m_changes.push_back({"Write '" + name + "' instead", true, {{finding.m_span, name}}});
                    });
        const Situation situation = SituationAt(m_document, m_types, range.m_begin);
        const auto frame = std::find_if(situation.m_frames.rbegin(), situation.m_frames.rend(),
                                        [](const Frame& around) { return around.m_class != nullptr; });
        if (frame == situation.m_frames.rend())
            return std::move(m_changes);
        if (frame->m_kind == FrameKind::Named)
            AddRequired(*frame);
        else
            NamePositions(*frame);
        return std::move(m_changes);
    }

private:
    std::string_view GetText() const { return m_document.GetText(); }

    Part BracketsOf(const Frame& frame) const
    {
        PartWalk walk(m_document);
        walk.GoTo(frame.m_opening);
        Part brackets{};
        walk.Next(brackets);
        return brackets;
    }

    // How a value begins that is none yet.
    std::string EmptyValue(const CatalogueMember& member) const
    {
        if (member.m_default && !member.m_default->empty())
            return *member.m_default;
        switch (m_types.UnderlyingOf(member.m_type).m_kind)
        {
        case TypeKind::Text:
        case TypeKind::Duration: return "\"\"";
        case TypeKind::Class: return "{}";
        case TypeKind::List:
        case TypeKind::Map:
        case TypeKind::Set: return "[]";
        case TypeKind::Optional: return "null";
        default: return "0";
        }
    }

    void AddRequired(const Frame& frame)
    {
        const Part brackets = BracketsOf(frame);
        if (!brackets.m_isClosed)
            return;
        std::vector<std::string_view> written;
        std::size_t end = brackets.GetInside().m_begin; // of the last item
        std::size_t lastBegin = end;
        ItemWalk items(m_document, brackets);
        for (Item item; items.Next(item);)
        {
            if (!item.m_name.IsEmpty())
                written.push_back(item.m_name.In(GetText()));
            lastBegin = item.m_span.m_begin;
            end = item.GetEnd();
        }
        std::string text;
        std::string names;
        // Laid out like the last member.
        const std::size_t line = GetText().rfind('\n', lastBegin) + 1; // npos + 1 is 0
        const bool isOnItsLine = lastBegin > brackets.m_span.m_begin + 1 && line > brackets.m_span.m_begin &&
                                 GetText().substr(line, lastBegin - line).find_first_not_of(" \t") == std::string::npos;
        const std::string before =
            isOnItsLine ? "\n" + std::string(GetText().substr(line, lastBegin - line)) : std::string(" ");
        for (const CatalogueMember& member : frame.m_class->m_members)
            if (member.m_isRequired && std::find(written.begin(), written.end(), member.m_name) == written.end())
            {
                text += before + member.m_name + " = " + EmptyValue(member);
                names += (names.empty() ? "'" : ", '") + member.m_name + "'";
            }
        if (text.empty())
            return;
        if (end + 1 == brackets.m_span.m_end)
            text += " ";
        m_changes.push_back({"Add the required " + names, true, {{{end, end}, std::move(text)}}});
    }

    void NamePositions(const Frame& frame)
    {
        const Part brackets = BracketsOf(frame);
        if (!brackets.m_isClosed || brackets.m_token != TOKEN_LEFT_PAREN)
            return;
        const std::size_t begin = brackets.m_span.m_begin;
        const std::size_t end = brackets.m_span.m_end;
        const std::string opening = begin > 0 && IsIdentifierCharacter(GetText()[begin - 1]) ? " {" : "{";
        Change change{"Write the members' names", false, {}};
        std::size_t index = 0;
        ItemWalk items(m_document, brackets);
        bool isFirst = true;
        for (Item item; items.Next(item); ++index)
        {
            if (index >= frame.m_class->m_members.size() || item.m_value.IsEmpty())
                return;
            if (isFirst)
                change.m_replacements.push_back(
                    {{begin, begin + 1}, opening + (item.m_value.m_begin == begin + 1 ? " " : "")});
            isFirst = false;
            change.m_replacements.push_back(
                {{item.m_value.m_begin, item.m_value.m_begin}, frame.m_class->m_members[index].m_name + " = "});
            if (!item.m_separator.IsEmpty())
            {
                const std::size_t behind = item.m_separator.m_end;
                const bool hasSpace = behind < GetText().size() && ScanPart(GetText(), behind).IsPassed();
                change.m_replacements.push_back({item.m_separator, hasSpace ? "" : " "});
            }
        }
        if (isFirst)
            change.m_replacements.push_back({{begin, begin + 1}, opening});
        const bool isSpaced = isFirst || ScanPartEndsInSpace(end - 1);
        change.m_replacements.push_back({{end - 1, end}, isSpaced ? "}" : " }"});
        m_changes.push_back(std::move(change));
    }

    bool ScanPartEndsInSpace(std::size_t at) const
    {
        const char before = GetText()[at - 1];
        return before == ' ' || before == '\n' || before == '\t' || before == '\r';
    }

    const Document& m_document;
    const Types& m_types;
    std::vector<Change> m_changes;
};

} // namespace

std::vector<Finding> FindingsOf(const Document& document, const Types& types, std::size_t most)
{
    const std::string_view text = document.GetText();
    std::vector<Finding> findings;
    FindInTokens(text, most, findings);
    // Without any types every name is unknown.
    if (!types.GetCatalogue().m_classes.empty())
        ForEachName(document, types, {0, text.size()},
                    [&](const NameSite& site)
                    {
                        if (findings.size() < most)
                            for (Finding& finding : FindingOf(document, types, site))
                                findings.push_back(std::move(finding));
                    });
    StableSort(findings, [](const Finding& a, const Finding& b) { return a.m_span.m_begin < b.m_span.m_begin; });
    return findings;
}

std::vector<Change> ChangesAt(const Document& document, const Types& types, Span range)
{
    return Changer(document, types).Make(range);
}

} // namespace kelm::language
