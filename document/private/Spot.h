#pragma once

// A spot of what a document reads as: its type, its value there, and all the places of the text that have a part in it.

#include <kelmDocument/Document.h>
#include <kelmDocument/Items.h>
#include <kelmDocument/private/Layout.h>

#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/private/TypeCodes.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

// A place of the text that has a part in a value.
struct Mention
{
    Span m_value;
    Part m_brackets{};    // in which it stands; an empty span for the data source itself
    ItemPlace m_place{0}; // there
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
    bool m_isRuled = false;                  // lists and maps are what is written
    bool m_isNewEachTime = false;            // of several mentions the last one alone has a part
    bool m_isNewKey = false;                 // was not in the map before somebody looked for it

    EVariableKind GetVariableKind() const { return m_type.m_bc == nullptr ? VK_CLASS : GetTypeCode(m_type).m_kind; }
    const ReflectedClass* GetClass() const { return m_class != nullptr ? m_class : m_type.GetReflectedClass(); }
    bool IsForeign(char form) const;
    bool IsList() const;
    bool IsFixedList() const;
    bool IsRenewed() const; // whether it is what the last mention of it says, whatever it was before
    bool IsMap() const;
    bool IsSet() const;
    ReflectionByteCode GetElementType() const; // of a list
    ReflectionByteCode GetKeyType() const;     // of a map or set
    ReflectionByteCode GetPayloadType() const;
    ssize_t CountElements() const;                             // of the list there
    void* GetElement(ssize_t index) const;                     // of the list; null where it has no address
    ssize_t CountEntries() const;                              // of the map or set there
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
std::vector<std::string_view> NamesOf(const std::vector<MemberField>& members);

// Whether what is read into a variable of that type adds to what it holds.
bool Accumulates(const ReflectionByteCode& type);

// Without typedefs and qualifiers.
ReflectionByteCode Underlying(ReflectionByteCode type);

} // namespace kelm::editing
