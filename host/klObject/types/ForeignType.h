#pragma once

// ForeignType: a type that is none of ours, such as std::vector<Line>, as byte code knows it: by its form and by
// functions that the compiler makes (klObject/describe/ForeignForm.h). FT_FOREIGN is followed by an index into the
// string table, and the entry there is the address of the record's first member; so byte code and string table are
// enough to find it. Records are constant data.

#include <klObject/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <string_view>
#include <type_traits>

namespace kelm
{

enum EForeignForm : char
{
    FF_TEXT,   // characters: a string, a path, a duration, an enumeration
    FF_LIST,   // elements by index
    FF_MAP,    // payloads by key; or a set, which has keys alone
    FF_CHOICE, // one value or none: an optional or a pointer; or one of several types: a variant
};

struct ForeignTextFns
{
    static constexpr ssize_t BufferSize = 64;

    // The characters: those of the variable, or characters written to the buffer, or a constant.
    SubString (*Get)(const void* text, char* buffer);
    // False, and nothing is changed, where the characters are no text of the type.
    bool (*Set)(void* text, SubString characters);
    int (*Compare)(const void* a, const void* b); // less than, equal to or greater than 0

    ConstStringZ m_what;                   // of a text that Set may refuse: what is expected, or the enumeration's name
    bool m_isIdentifier = false;           // an enumerator, written without quotes
    const ConstStringZ* m_names = nullptr; // of an enumeration: its enumerators
    ssize_t m_numNames = 0;
    int64 (*GetNumber)(const void* text) = nullptr; // of an enumeration: its value
    // Whether what Set refuses is a text of the type's form, of a value beyond its range; null where none can be.
    bool (*IsBeyondRange)(SubString characters) = nullptr;
    const TypeNotes* m_notes = nullptr; // of an enumeration
    // Of an enumeration: false, and nothing is changed, where no enumerator has the value.
    bool (*SetNumber)(void* text, int64 value) = nullptr;
};

struct ForeignListFns
{
    ssize_t (*Count)(const void* list);
    void* (*At)(void* list, ssize_t i); // an existing element
    // Appends a default-constructed element; null where elements have no address of their own, or the size is fixed.
    void* (*Append)(void* list);
    // Appends elements that lie side by side, for those that may be copied as bytes: so many bytes of them.
    void (*AppendCopies)(void* list, const void* elements, ssize_t size);
    void (*Clear)(void* list);
    bool m_isFixed;      // as many elements as parts, each with a type of its own; otherwise part 0 is that of all
    bool m_isContiguous; // elements lie side by side
    // Of elements that have no address: gives an existing one a value. Null for others.
    void (*Assign)(void* list, ssize_t i, const void* value) = nullptr;
};

struct ForeignMapFns
{
    ssize_t (*Count)(const void* map);
    // The payload under `key`, which is moved from; default-constructed where the key is new. Null in a set.
    void* (*Insert)(void* map, void* key);
    void* (*Find)(const void* map, const void* key); // the payload, or in a set the element; null where there is none
    bool (*Erase)(void* map, const void* key);       // whether there was an entry
    void (*Clear)(void* map);
    void (*ForEach)(const void* map, EntryVisitor visitor, void* context); // in the map's own order
    bool m_isOrdered;                                                      // whether that is one, or any order
    // Find for keys as texts of programs have them; null where keys are no such.
    void* (*FindText)(const void* map, SubString key) = nullptr;
    void* (*FindInteger)(const void* map, int64 key) = nullptr;
};

struct ForeignChoiceFns
{
    int32 (*GetIndex)(const void* choice);          // of the part that is there; -1 for none
    void* (*GetValue)(const void* choice);          // of a choice that is not empty
    void* (*Emplace)(void* choice, int32 index);    // a new value of that part
    void (*Reset)(void* choice);                    // null for a variant
    const ConstStringZ* m_names;                    // of a variant's alternatives; null for an optional
    bool m_isPointer;                               // the value lies elsewhere, and may be shared
    bool (*IsShared)(const void* choice) = nullptr; // whether others point there too; null where none can
    // Makes one point to what the other does; null where only one can.
    void (*Share)(void* to, const void* from) = nullptr;
};

// A type inside a foreign type.
struct ForeignPart
{
    const uint8* m_bc;
    const ConstStringZ* m_stringTable;
    const PtrMapOrSetFns* m_mapOrSetFns;

    ReflectionByteCode GetType() const { return {m_bc, m_stringTable, m_mapOrSetFns}; }
};

struct ForeignType
{
    char m_form; // EForeignForm. The first member, whose address is that of the record.
    ssize_t m_size;
    void (*Construct)(void* variable);
    void (*Destruct)(void* variable);
    void (*Exchange)(void* a, void* b); // two variables; null where the type does not allow it
    const ForeignPart* m_parts;         // of a map: the key, then the payload where there is one
    int32 m_numParts;
    const ForeignTextFns* m_text;
    const ForeignListFns* m_list;
    const ForeignMapFns* m_map;
    const ForeignChoiceFns* m_choice;
    std::string_view m_name; // of the C++ type, by which it is the same in every library

    EForeignForm GetForm() const { return static_cast<EForeignForm>(m_form); }
    bool IsOptional() const { return m_form == FF_CHOICE && m_choice->m_names == nullptr; }
    ReflectionByteCode GetPartType(ssize_t i) const { return m_parts[i].GetType(); }
    // Of a list.
    ReflectionByteCode GetElementType(ssize_t i) const { return GetPartType(m_list->m_isFixed ? i : 0); }
};

static_assert(std::is_standard_layout_v<ForeignType>);

// The alternative of a variant that a text names, by the whole name or its last segments, the first one where several
// have them; -1 where none has.
KLOBJECT_API int32 FindForeignAlternative(const ForeignType& type, SubString written);

// The shortest name by which a text gives the alternative.
KLOBJECT_API SubString GetForeignAlternativeName(const ForeignType& type, int32 index);

} // namespace kelm
