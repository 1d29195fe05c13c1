#pragma once

// TypedWalk: goes through a document as its reader would, and tells a visitor what stands there by its types, and what
// could stand there. Of text that the reader would refuse it takes what it understands: a value of another kind than
// its type has is passed over, a bracket that closes nothing is too, one that closes an outer one closes the inner ones
// with it, and a member that begins inside of a list ends that.
//
// It keeps a stack of its own, and goes into brackets only where the visitor asks for it; those that it does not go
// into cost next to nothing.

#include <kelmDocument/Document.h>
#include <kelmLanguage/Types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::language
{

enum class FrameKind : uint8
{
    Whole,      // the data source
    Named,      // { }
    Positional, // ( )
    List,       // [ ] with elements
    Map,        // [ ] with entries
    Unknown,    // brackets of which nothing is known
};

// Brackets that the walk is in, or all of the text.
struct Frame
{
    FrameKind m_kind = FrameKind::Unknown;
    EToken m_bracket = TOKEN_UNDEF;
    std::size_t m_opening = 0;               // where the bracket is
    Span m_head = {};                        // the name in front of it, of a class or an alternative
    const CatalogueClass* m_class = nullptr; // of a body; null where it is not known
    const TypeNode* m_type = nullptr;        // of a list or map
    std::size_t m_index = 0;                 // of the item that is read
    Span m_label = {};                       // of the item that is read: its member's name, or its key
    Span m_value = {};                       // of the item that is read: where its value begins, and has ended
    bool m_isInItem = false;
};

enum class NameKind : uint8
{
    Class,       // in front of a body, or of an object
    Alternative, // of a variant
    Member,
    Enumerator,
    Word, // null, true, false, inf, nan
};

// A name that is written, and what it names: null where there is nothing of that name.
struct NameSite
{
    NameKind m_kind;
    Span m_span;
    const TypeNode* m_type = nullptr;        // of the value, or of the member; null of the data source itself
    const CatalogueClass* m_class = nullptr; // that is named, or has the member
    const CatalogueMember* m_member = nullptr;
    const CatalogueEnum* m_enum = nullptr;
    const CatalogueEnumerator* m_enumerator = nullptr;
    int m_alternative = -1;
    bool m_isWhole = true; // of a member: an equals sign follows it

    bool IsKnown() const;
};

enum class Wanted : uint8
{
    Object,     // a class's name, in full; or null
    Class,      // a class's name, which may be left out, or its body
    Body,       // brackets of a class
    Member,     // a member's name, or the end of the body
    Enumerator, // by name
    Alternative,
    Bool,
    Scalar, // a number or a text
    List,   // brackets of a list or map
    Value,  // of which nothing is known
};

// What could stand at a place.
struct Expectation
{
    Wanted m_wanted;
    Span m_gap;                              // from the token in front to the next one
    Span m_word = {};                        // the next one where it is what stands there; or empty
    bool m_isName = false;                   // whether that consists of names
    bool m_allowsNull = false;               // whether null could stand there as well
    const TypeNode* m_type = nullptr;        // of the value; null of the data source itself
    const CatalogueClass* m_class = nullptr; // of the body
    const CatalogueEnum* m_enum = nullptr;
};

class SiteVisitor
{
public:
    virtual ~SiteVisitor() = default;

    // At brackets, before the walk goes into them, or passes over them where this is false.
    virtual bool Enters(const Frame& frame) = 0;
    // Behind them, where they were gone into. The closing bracket is empty where there is none.
    virtual void Leaves(const Frame&, Span /*closing*/) {}
    virtual void Expects(const Expectation&) {}
    virtual void Meets(const NameSite&) {}
    // Numbers and quoted texts, where one is expected.
    virtual void MeetsScalar(Span, const TypeNode*) {}
    // The value of an item is about to be read: frame.m_label and frame.m_index say which.
    virtual void BeginsItem(const Frame&) {}
    // It has been read: frame.m_value is where it lies.
    virtual void EndsItem(const Frame&) {}
    virtual bool IsDone() const { return false; }
};

class TypedWalk
{
public:
    TypedWalk(const Document& document, const Types& types) : m_document(document), m_types(types), m_skip(document) {}

    void Run(SiteVisitor& visitor);

    // The brackets and the whole text that the walk is in, the outermost first.
    const std::vector<Frame>& GetFrames() const { return m_frames; }

    // Where the next token is that the walk has not passed.
    std::size_t GetPlace() const { return m_now.m_span.m_begin; }

    // Of the brackets that the visitor is asked about.
    Part FindBrackets();

private:
    enum class Stage : uint8
    {
        Item,
        Arrow,
        Behind,
    };

    // More levels are passed over.
    static constexpr std::size_t s_deepest = 10000;

    Part TokenAt(std::size_t at) const;
    void Advance();
    bool IsAt(EToken token) const { return m_now.m_token == token; }
    bool IsAtEnd() const { return m_now.m_span.IsEmpty(); }
    bool IsAtMember() const { return IsAt(TOKEN_IDENTIFIER) && m_behind.m_token == TOKEN_EQUAL; }
    bool IsAtValue() const;
    Span ReadPath();
    Span Gap() const { return {m_before, m_now.m_span.m_begin}; }
    std::string_view TextOf(Span span) const { return span.In(m_document.GetText()); }

    void Step();
    void StepInBody();
    void StepInList();
    void BeginItem();
    void EndItem();
    void Close();
    void Leave(Span closing);
    bool LeavesForMember();
    void Skip();
    void PassJunk();

    void ReadValue(const TypeNode* type);
    void ReadObject(const TypeNode* type, bool allowsNull);
    void ReadInstance(const TypeNode& type, bool allowsNull, Span alternative);
    const TypeNode* ReadAlternative(const TypeNode& type, bool allowsNull, Span& head);
    bool TryReadSimple(const TypeNode& type, bool allowsNull);
    void ReadUnknown();
    void ReadBody(const CatalogueClass* entry, Span head);
    void Open(Frame frame);
    const TypeNode* ElementType(const TypeNode& list, std::size_t index) const;

    const Document& m_document;
    const Types& m_types;
    SiteVisitor* m_visitor = nullptr;
    PartWalk m_skip;
    std::vector<Frame> m_frames;
    std::vector<Stage> m_stages;
    std::size_t m_openBrackets[3] = {}; // of the frames: ( { [
    std::size_t m_numNamed = 0;
    std::size_t m_before = 0; // the end of the token before the current one
    Part m_now{};             // empty at the end of the text
    Part m_behind{};
};

// Whether the bracket that closes brackets is their own: otherwise they may end earlier than they seem to.
bool AreWhole(const Part& brackets, std::string_view text);

// A qualified name as it is written, with "::" between its parts.
std::string NameOf(std::string_view text, Span path);

} // namespace kelm::language
