#pragma once

// Where a path leads in a document, and in the object that reading it gives: a chain of spots, each with all the places
// of the text that have a part in its value.

#include <kelmDocument/Document.h>
#include <kelmDocument/Items.h>

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/private/TypeCodes.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

// A place of the text that has a part in a value.
struct Mention
{
    Span m_value;
    Part m_brackets{};       // in which it stands; an empty span for the data source itself
    std::size_t m_index = 0; // of the item there
    Item m_item{};
};

enum class SpotKind : uint8
{
    Whole, // the data source
    Member,
    Element,     // of a list
    Payload,     // of a map; of a set the element
    Alternative, // what a variant holds
    Target,      // the object of a handle, what an optional holds
};

struct Spot
{
    SpotKind m_kind;
    std::size_t m_step = 0;                  // where in the path it is named
    ReflectionByteCode m_type = {};          // the underlying one; null of an object itself
    const ReflectedClass* m_class = nullptr; // of an object itself
    void* m_data = nullptr;                  // null where there is nothing that may be written
    std::vector<Mention> m_mentions = {};    // in the order in which they are read; all of one variable
    std::string m_name = {};                 // of a member or an alternative; a key as the path writes it
    ssize_t m_index = 0;                     // of an element
    ssize_t m_written = 0;                   // of a list: how many elements the text gives ...
    ssize_t m_count = 0;                     // ... of so many
    std::string m_former = {};               // the alternative that a variant holds in place of this one

    EVariableKind GetVariableKind() const { return m_type.m_bc == nullptr ? VK_CLASS : GetTypeCode(m_type).m_kind; }
    const ReflectedClass* GetClass() const { return m_class != nullptr ? m_class : m_type.GetReflectedClass(); }
    bool IsForeign(char form) const;
    bool IsList() const;
    bool IsFixedList() const;
    bool IsMap() const;
    bool IsSet() const;
    ReflectionByteCode GetElementType() const; // of a list
    ReflectionByteCode GetKeyType() const;     // of a map or set
    ReflectionByteCode GetPayloadType() const;
    ssize_t CountElements() const;                             // of the list there
    void* FindPayload(const void* map, const void* key) const; // of a map of this type
    void* InsertKey(void* map, void* key) const;
    void EraseKey(void* map, const void* key) const;
};

// A member as a body has it.
struct MemberField
{
    std::string_view m_name;
    ReflectionByteCode m_type;
    ssize_t m_offset;
};

// All, in declaration order.
std::vector<MemberField> MembersOf(const ReflectedClass& rc);

enum class Purpose : uint8
{
    Find,   // what is there
    Set,    // may be a key that is not there yet, which is then put into the object, or another alternative
    Insert, // may be an element behind the last one, or a key that is not there
};

// The chain to what a path names. `object` is what the document reads as. Throws kelm::Error about the path.
std::vector<Spot> Locate(const Document& document, const ptr<IObject>& object, std::string_view path, Purpose purpose);

// The brackets of a value: of a class its body, of a list or map all of it; none where it has none.
std::optional<Part> BracketsOf(const Document& document, Span value);

// An error about the path, at a step.
[[noreturn]] void Refuse(std::string_view path, std::size_t step, const std::string& message);

// Runs what reads a text from a parser and must read all of it; its errors are about that text.
void ReadAll(std::string_view name, std::string_view text, const ReflectionByteCode& type, void* data);

} // namespace kelm::editing
