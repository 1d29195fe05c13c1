#include <kelmLanguage/Completion.h>

#include <kelmLanguage/Alternatives.h>
#include <kelmLanguage/Descriptions.h>
#include <kelmLanguage/Situation.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

// A "$" of a text is no place to go on at.
bool IsPlain(std::string_view text)
{
    return text.find('$') == std::string_view::npos && text.find('\n') == std::string_view::npos;
}

class Completer
{
public:
    Completer(const Document& document, const Types& types, std::size_t at)
        : m_document(document), m_types(types), m_at(at), m_situation(SituationAt(document, types, at))
    {
    }

    Completions Make()
    {
        m_completions.m_replaced = {m_at, m_at};
        if (m_situation.m_isInPassed)
            return {};
        for (const Expectation& expectation : m_situation.m_expectations)
        {
            if (!expectation.m_word.IsEmpty() && expectation.m_word.m_begin < m_at)
            {
                if (!expectation.m_isName)
                    return {}; // a number or a text is being written
                m_completions.m_replaced = expectation.m_word;
            }
            Add(expectation);
            if (expectation.m_allowsNull && expectation.m_type != nullptr)
                AddWord("null");
        }
        return std::move(m_completions);
    }

private:
    void Add(const Expectation& expectation)
    {
        switch (expectation.m_wanted)
        {
        case Wanted::Object: return AddObjects(expectation.m_type);
        case Wanted::Class: return AddClass(expectation);
        case Wanted::Body: return AddBodies(expectation.m_class);
        case Wanted::Member: return AddMembers(expectation);
        case Wanted::Enumerator: return AddEnumerators(expectation.m_enum);
        case Wanted::Alternative: return AddAlternatives(*expectation.m_type);
        case Wanted::Bool: AddWord("true"); return AddWord("false");
        case Wanted::Scalar: return AddScalars(*expectation.m_type);
        case Wanted::Value: return;
        case Wanted::List: return AddValue("[]", "[$0]", expectation.m_type->m_text);
        }
    }

    void Add(Completion completion)
    {
        if (completion.m_text.empty())
            completion.m_text = completion.m_label;
        m_completions.m_choices.push_back(std::move(completion));
    }

    void AddWord(const char* word) { Add({.m_label = word, .m_kind = CompletionKind::Word}); }

    void AddValue(std::string label, std::string text, std::string detail = {})
    {
        Add({.m_label = std::move(label),
             .m_kind = CompletionKind::Value,
             .m_detail = std::move(detail),
             .m_text = std::move(text)});
    }

    // Classes are written with the separators that stand there already.
    std::string Written(std::string name) const
    {
        if (m_completions.m_replaced.In(m_document.GetText()).find("::") != std::string_view::npos)
            return name;
        for (std::size_t at = name.find("::"); at != std::string::npos; at = name.find("::", at))
            name.replace(at, 2, ".");
        return name;
    }

    bool IsQualified() const
    {
        return m_completions.m_replaced.In(m_document.GetText()).find_first_of(".:") != std::string_view::npos;
    }

    void AddObjects(const TypeNode* type)
    {
        std::vector<const CatalogueClass*> classes =
            type != nullptr ? m_types.CreatableClassesFor(*type) : std::vector<const CatalogueClass*>();
        if (classes.empty()) // nothing is known of what fits
            classes = m_types.CreatableClasses();
        for (const CatalogueClass* entry : classes)
            Add({.m_label = Written(entry->m_name),
                 .m_kind = CompletionKind::Class,
                 .m_described = Described(DeclarationOf(*entry), entry->m_doc)});
    }

    void AddClass(const Expectation& expectation)
    {
        if (m_completions.m_replaced.IsEmpty())
            AddBodies(expectation.m_class);
        const std::string_view name = expectation.m_type->m_name;
        Completion completion{.m_label = Written(std::string(IsQualified() ? name : LastOf(name))),
                              .m_kind = CompletionKind::Class};
        if (expectation.m_class != nullptr)
            completion.m_described = Described(DeclarationOf(*expectation.m_class), expectation.m_class->m_doc);
        Add(std::move(completion));
    }

    void AddBodies(const CatalogueClass* entry)
    {
        AddValue("{}", "{ $0 }");
        if (entry == nullptr || entry->m_members.empty())
            return;
        std::string label;
        for (const CatalogueMember& member : entry->m_members)
            label += (label.empty() ? "(" : ", ") + member.m_name;
        AddValue(label + ")", "($0)");
    }

    void AddMembers(const Expectation& expectation)
    {
        if (expectation.m_class == nullptr)
            return;
        // What follows the name already is not written again.
        const Span word = expectation.m_word;
        const bool isThere = !word.IsEmpty() && word.m_begin < m_at;
        const std::size_t behind = isThere ? word.m_end : m_at;
        const bool hasEqual = isThere && NextIsEqual(behind);
        const auto& written = m_situation.m_siblings;
        for (const bool isWritten : {false, true})
            for (const CatalogueMember& member : expectation.m_class->m_members)
                if ((std::find(written.begin(), written.end(), member.m_name) != written.end()) == isWritten)
                    AddMember(member, hasEqual);
    }

    void AddMember(const CatalogueMember& member, bool hasEqual)
    {
        Add({.m_label = member.m_name,
             .m_kind = CompletionKind::Member,
             .m_detail = member.m_type.m_text,
             .m_described = Described(DeclarationOf(member), member.m_doc, RemarkOn(member)),
             .m_text = member.m_name + (hasEqual ? "" : " = " + BeginningOf(member.m_type))});
    }

    bool NextIsEqual(std::size_t at) const
    {
        const std::string_view text = m_document.GetText();
        for (; at < text.size(); at = ScanPart(text, at).m_span.m_end)
            if (const Part part = ScanPart(text, at); !part.IsPassed())
                return part.Is(TOKEN_EQUAL);
        return false;
    }

    // How a value of the type begins, whatever it is.
    std::string BeginningOf(const TypeNode& type) const
    {
        switch (m_types.UnderlyingOf(type).m_kind)
        {
        case TypeKind::Text:
        case TypeKind::Duration: return "\"$0\"";
        case TypeKind::Character: return "'$0'";
        case TypeKind::Array:
        case TypeKind::List:
        case TypeKind::Tuple:
        case TypeKind::Set:
        case TypeKind::Map: return "[$0]";
        case TypeKind::Class: return "{ $0 }";
        default: return "$0";
        }
    }

    void AddEnumerators(const CatalogueEnum* entry)
    {
        if (entry == nullptr)
            return;
        for (const CatalogueEnumerator& enumerator : entry->m_enumerators)
            Add({.m_label = enumerator.m_name,
                 .m_kind = CompletionKind::Enumerator,
                 .m_detail = std::to_string(enumerator.m_value),
                 .m_described = enumerator.m_doc});
    }

    void AddAlternatives(const TypeNode& type)
    {
        const std::vector<Alternative> alternatives = AlternativesOf(m_types, type);
        for (std::size_t i = 0; i < alternatives.size(); ++i)
            Add({.m_label =
                     Written(IsQualified() ? std::string(alternatives[i].m_name) : ShortNameOf(type, alternatives, i)),
                 .m_kind = CompletionKind::Alternative,
                 .m_detail = alternatives[i].m_type->m_text});
    }

    // What a new object has there, and how a text begins.
    void AddScalars(const TypeNode& type)
    {
        const Frame& frame = m_situation.m_frames.back();
        const CatalogueMember* member = nullptr;
        if (frame.m_class != nullptr && frame.m_kind == FrameKind::Named)
            member = Types::FindMember(*frame.m_class, frame.m_label.In(m_document.GetText()));
        else if (frame.m_class != nullptr && frame.m_index < frame.m_class->m_members.size())
            member = &frame.m_class->m_members[frame.m_index];
        const bool hasDefault = member != nullptr && member->m_default && !member->m_default->empty() &&
                                IsPlain(*member->m_default) && *member->m_default != "\"\"" &&
                                m_types.UnderlyingOf(member->m_type).m_kind == type.m_kind;
        if (hasDefault)
            AddValue(*member->m_default, *member->m_default, "default");
        if (const std::string beginning = BeginningOf(type); beginning.size() > 2)
            AddValue(beginning.substr(0, 1) + beginning.substr(beginning.size() - 1), beginning, type.m_text);
    }

    const Document& m_document;
    const Types& m_types;
    std::size_t m_at;
    Situation m_situation;
    Completions m_completions;
};

} // namespace

Completions Complete(const Document& document, const Types& types, std::size_t at)
{
    return Completer(document, types, at).Make();
}

} // namespace kelm::language
