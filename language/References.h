#pragma once

// What a name of a document stands for, where else that is written, and what could be written in its place.

#include <kelmLanguage/Situation.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

// What a name stands for, by names, so that it means the same with another catalogue.
struct Subject
{
    NameKind m_kind;
    std::string m_owner; // a class, an enumeration, a variant
    std::string m_name;  // of its member, enumerator, alternative; empty of a class itself

    friend bool operator==(const Subject&, const Subject&) = default;
};

struct SubjectPlace
{
    Subject m_subject;
    Span m_span;
};

// Nothing where no name of the types is.
std::optional<SubjectPlace> SubjectAt(const Document& document, const Types& types, std::size_t at);

// Where it is written: of qualified names the last part.
std::vector<Span> MentionsOf(const Document& document, const Types& types, const Subject& subject);

// Where it was described, the file as its compiler had it: of the class, enumeration or variant. Null where that is not
// in the catalogue; line 0 where it is not known.
const CatalogueEntry* FindEntry(const Types& types, const Subject& subject);

// What `types` prints of it, and the line in that of the member or enumerator, from 0.
struct Declaration
{
    std::string m_text;
    std::size_t m_line = 0;
};
std::optional<Declaration> DeclarationOf(const Types& types, const Subject& subject);

// --- Other names in its place

struct Renaming
{
    Span m_span;                        // what is replaced
    std::vector<std::string> m_choices; // by one of these
    std::string m_nothingElse;          // why none, where there are none
};

// Of a written name: the class's other members that the body lacks, the other enumerators or alternatives, the other
// classes of which an object could stand there.
std::optional<Renaming> RenamingAt(const Document& document, const Types& types, std::size_t at);

} // namespace kelm::language
