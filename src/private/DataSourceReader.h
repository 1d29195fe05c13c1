#pragma once

// The reader of data sources: a recursive descent driven by the types' byte code, which decides the tokens expected.
// ParseDataSource.h has the rules and is how it is asked.

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/private/ReadingRules.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/text/private/FastCursor.h>
#include <klUtils/xvector.h>

#include <memory>
#include <optional>
#include <span>

namespace kelm
{

struct ForeignTextFns;
struct ForeignType;
struct KnownText;
class prefbase;

// Reads with a cursor of its own over the parser's text. The parser's members are as its users know them whenever
// somebody else runs: when the reader is gone, and while a host's function is called.
//
// Rules says by which rules: ExactRules are those of ParseDataSource.h, ProgramRules those of a program's own data.
template <class Rules>
class BasicDataSourceReader
{
public:
    explicit BasicDataSourceReader(ExpressionParser& parser, const Rules& rules = {}) : m_cursor(parser), m_rules(rules)
    {
    }

    const Rules& GetRules() const { return m_rules; }

    // A class's name and its object; null for the name "null".
    ptr<IObject> ReadDataSource();
    ptr<IObject> ReadObject(ConstStringZ className, const char* namePlace = nullptr);

    // Each reads into a constructed variable.
    void ReadVariable(const ReflectionByteCode& type, void* data);
    void ReadClass(const ReflectedClass& rc, void* data);
    void ReadArray(const ReflectionByteCode& elementType, ssize_t count, void* data);
    void ReadVector(const ReflectionByteCode& elementType, VectorOfByte& vector);
    void ReadMap(const ReflectionByteCode& mapType, void* map);
    void ReadVariant(const ReflectedVariant& rv, void* data);

private:
    // What reading a body takes to know of the class, looked up once for all elements of a list.
    struct ClassShape
    {
        explicit ClassShape(const ReflectedClass& rc);

        const ReflectedClass* m_rc;
        ClassModel m_model;
        const KnownText* m_names; // of the model's fields, and one that is none behind them
        ssize_t m_numNames;

        ReflectionByteCode GetModelType(ssize_t i) const;
        ReflectionByteCode GetOrdinaryType(ssize_t i) const
        {
            return {m_rc->m_fields[i].m_bc, m_rc->m_stringTable, nullptr};
        }
    };

    // A class body that is being read: of which class, into what, and the members that are expected next.
    struct Body
    {
        ClassShape m_shape;
        char* m_data;
        const KnownText* m_expected;
        ssize_t m_nextField;

        Body(const ClassShape& shape, char* data) : m_shape(shape) { Begin(data); }

        // Another one of the same class.
        void Begin(char* data)
        {
            m_data = data;
            m_expected = m_shape.m_names;
            m_nextField = 0;
        }
    };

    // A list of instances that is being read, and the body in which it stands.
    struct OpenList
    {
        VectorOfByte* m_vector;
        Body m_outer;
    };

    // Those of one call, the innermost last: one, or many where lists nest in lists, so that all else has small frames.
    static constexpr ssize_t s_listsInBody = 1;
    static constexpr ssize_t s_listsInList = Rules::s_isRuled ? 1 : 64;

    template <ssize_t Most>
    class OpenLists
    {
    public:
        OpenLists() {} // nothing is initialised

        bool IsEmpty() const { return m_count == 0; }
        bool IsFull() const { return m_count == Most; }
        void Push(const OpenList& list) { std::construct_at(&m_lists[m_count++], list); }
        const OpenList& GetLast() const { return m_lists[m_count - 1]; }
        const OpenList& Pop() { return m_lists[--m_count]; }

    private:
        ssize_t m_count = 0;
        union
        {
            OpenList m_lists[Most];
        };
    };

    using FieldFacts = typename Rules::FieldFacts;
    using Members = typename Rules::Members;

    // A name among those of a class's fields, and where it ends in the text; no name without that.
    struct FoundName
    {
        const KnownText* m_known = nullptr;
        const char* m_past = nullptr;
    };

    // A field of a class, and those that are expected behind it. Without a type: a member that was passed over.
    struct FoundField
    {
        [[no_unique_address]] FieldFacts m_facts;
        ReflectionByteCode m_type;
        ssize_t m_offset;
        ssize_t m_nextModelField;
        ssize_t m_nextField;
    };

    // --- From the cursor's current token on

    void ReadValue(const ReflectionByteCode& type, void* data);
    void ReadNested(ReflectionByteCode type, void* data);
    inline void ReadUnderlying(const ReflectionByteCode& type, void* data);
    void ReadForeign(const ForeignType& type, void* data);
    template <class... Parts>
    [[noreturn, gnu::cold]] void ThrowUnknownOf(std::span<const ConstStringZ> existing, SubString name,
                                                const text::Cursor& at, const Parts&... parts) const;
    void ReadForeignEnumerator(const ForeignTextFns& fns, void* data);
    void ReadForeignText(const ForeignTextFns& fns, void* data);
    void ReadForeignList(const ForeignType& type, void* list);
    void ReadForeignMap(const ForeignType& type, void* map);
    void ReadForeignChoice(const ForeignType& type, void* choice);
    void ReadEnumerator(const ReflectedEnum& r, void* data);
    void ReadEnumeratorByNumber(const ReflectedEnum& r, void* data);
    void ReadPersistentReference(prefbase& reference);
    void ReadInstance(const ClassShape& shape, char* data);
    void ReadClassName(const ReflectedClass& rc);
    bool PassListStart();

    // --- The same for one that goes on behind errors

    static constexpr ssize_t s_anyNumber = -1;

    struct NothingAtEnd
    {
        void operator()(const char*) const {}
    };
    template <class ReadItem, class AtEnd = NothingAtEnd>
    void ReadItems(EToken opening, ssize_t count, const ReadItem& readItem, bool isMap = false,
                   const AtEnd& atEnd = {});
    template <class ReadElement>
    void ReadListItems(ssize_t count, const ReadElement& readElement, bool isMap = false);
    void ReadBody(const ClassShape& shape, char* data);
    void ReadField(const ReflectionByteCode& type, char* data, const ClassShape& shape, const FieldFacts& facts);
    void ReadList(const ReflectionByteCode& elementType, VectorOfByte& vector);

    // --- From an operator on that the cursor need not have come to, and back to the place behind what is read
    //
    // (Attributes stand here: of a template's definition they are lost.)

    text::Place ReadUnusual(SubString op, const ReflectionByteCode& type, void* data);
    inline bool TryReadEnumerator(text::FastCursor& cursor, const ReflectedEnum& r, void* data);
    [[gnu::always_inline]] inline bool TryReadNesting(text::FastCursor& cursor, const ReflectionByteCode& type,
                                                      char* data);
    text::Place TryReadForeign(text::FastCursor cursor, const ForeignType& type, char* data);
    inline text::Place ReadForeignCopies(SubString bracket, const ForeignType& type, void* list);
    inline text::Place ReadForeignElements(SubString bracket, const ForeignType& type, void* list);
    inline void ReadForeignEntries(const ForeignType& type, void* map, text::FastCursor& cursor);
    inline void ShowBehind(const text::FastCursor& cursor);
    [[gnu::always_inline]] inline void ReadBehind(text::FastCursor& cursor, const ReflectionByteCode& type, char* data);
    text::Place ReadOneBehind(text::FastCursor cursor, const ReflectionByteCode& type, char* data);
    text::Place ReadForeignMember(text::FastCursor cursor, const ReflectionByteCode& type, char* data,
                                  ConstStringZ name);
    inline text::Place ReadMember(text::FastCursor cursor, const ReflectionByteCode& type, char* data,
                                  const ClassShape& shape, const FieldFacts& facts);

    text::Place ReadFields(SubString parenthesis, const ClassShape& shape, char* data);
    text::Place ReadMembers(SubString curlyBracket, const ClassShape& shape, char* data);
    template <ssize_t MostLists>
    text::Place ReadBodies(SubString bracket, const ClassShape& shape, void* target);
    template <ssize_t MostLists>
    text::Place ReadBodiesOnFreshSegment(SubString bracket, const ClassShape& shape, void* target);
    template <class Lists>
    [[gnu::always_inline]] inline void ReadListOf(const ReflectedClass& rc, VectorOfByte& vector,
                                                  text::FastCursor& cursor, Body& body, Lists& lists);
    template <class Lists>
    [[gnu::always_inline]] inline void EnterElement(text::FastCursor& cursor, Body& body, Lists& lists);
    void PassName(const text::FastCursor& cursor);
    inline void NoteMember(Members& written, ssize_t member, const ClassShape& shape, const char* place) const;
    void ComplainOfTwo(ssize_t member, const ClassShape& shape, const char* place) const;
    void RequireMembers(const Members& written, const ClassShape& shape, const char* place) const;
    static FoundName FindName(const char* p, const char* end, const ClassShape& shape);
    FoundField FindField(const text::FastCursor& cursor, const ClassShape& shape, ssize_t nextModelField,
                         ssize_t nextField, Members& written);

    [[gnu::always_inline]] inline text::Place ReadAllElements(SubString bracket, const ReflectionByteCode& elementType,
                                                              VectorOfByte& vector);
    text::Place ReadElements(SubString bracket, const ReflectionByteCode& elementType, VectorOfByte& vector);
    template <ssize_t MostLists = s_listsInBody>
    text::Place ReadInstances(SubString bracket, const ReflectedClass& rc, VectorOfByte& vector);
    text::Place ReadEnumerators(SubString bracket, const ReflectedEnum& r, VectorOfByte& vector);
    text::Place ReadOthers(SubString bracket, const ReflectionByteCode& type, VectorOfByte& vector);

    struct MapEntryTypes
    {
        const MapFns& m_fns;
        ReflectionByteCode m_key;
        ReflectionByteCode m_payload;
    };
    static char* InsertPayload(const MapEntryTypes& types, void* map, const void* key);
    void ReadEntries(const MapEntryTypes& types, void* map, char* key, text::FastCursor& cursor);

    // At the current token, or where it is written, as the rules have it.
    template <class... Parts>
    [[noreturn]] void ThrowAbout(const char* place, const Parts&... parts) const;
    // The same of what reading need not stop for.
    template <class... Parts>
    [[gnu::always_inline]] inline void Complain(const char* place, const Parts&... parts) const;
    [[noreturn]] void ThrowUnknown(ConstStringZ what, SubString written, ConstStringZ container, ConstStringZ name,
                                   const char* place) const;

    text::ParserCursor m_cursor;
    std::optional<NewObjectsScope> m_newObjects; // from the first object on
    int m_foreignDepth = 0;                      // how many foreign values are being read, one in the other
    VectorOfByte m_copies;                       // elements of the one foreign list of scalars that is being read
    [[no_unique_address]] Rules m_rules;
};

// Before a host's function is called that may look at the parser. Nobody has it where a program's own data are read.
template <class Rules>
void BasicDataSourceReader<Rules>::ShowBehind([[maybe_unused]] const text::FastCursor& cursor)
{
    if constexpr (!Rules::s_isRuled)
    {
        cursor.GoHomeToNext();
        m_cursor.Show();
    }
}

// The index of the element of a list that is being read: of the last one, or of the first where none is there yet.
inline ssize_t GetLastIndex(const ReflectionByteCode& elementType, const VectorOfByte& vector)
{
    return vector.empty() ? 0 : vector.size() / elementType.GetTypeSize() - 1;
}

using DataSourceReader = BasicDataSourceReader<ExactRules>;
using ProgramDataReader = BasicDataSourceReader<ProgramRules>;

// Defined in ReadForeign.cpp.

// A text of a foreign type behind an operator: the place behind it, or null where anything is unusual.
text::Place TryReadForeignText(text::Cursor& home, SubString op, const ForeignTextFns& fns, void* data);

extern template text::Place BasicDataSourceReader<ExactRules>::TryReadForeign(text::FastCursor, const ForeignType&,
                                                                              char*);
extern template text::Place BasicDataSourceReader<ProgramRules>::TryReadForeign(text::FastCursor, const ForeignType&,
                                                                                char*);
extern template text::Place BasicDataSourceReader<GoingOnRules>::TryReadForeign(text::FastCursor, const ForeignType&,
                                                                                char*);
extern template text::Place BasicDataSourceReader<ProgramGoingOnRules>::TryReadForeign(text::FastCursor,
                                                                                       const ForeignType&, char*);
extern template void BasicDataSourceReader<ExactRules>::ReadForeign(const ForeignType&, void*);
extern template void BasicDataSourceReader<ProgramRules>::ReadForeign(const ForeignType&, void*);
extern template void BasicDataSourceReader<GoingOnRules>::ReadForeign(const ForeignType&, void*);
extern template void BasicDataSourceReader<ProgramGoingOnRules>::ReadForeign(const ForeignType&, void*);

} // namespace kelm
