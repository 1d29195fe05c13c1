#pragma once

// The writer of data source text. WriteVariable.h has the rules and is how it is asked; WriteForeign.cpp has the types
// of the standard library, WriteVariable.cpp everything else.

#include <klObject/objects/IObject.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/WriteVariable.h>
#include <klObject/values/private/Before.h>
#include <klObject/values/private/TextRoom.h>
#include <klObject/values/private/WritePlan.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <set>

namespace kelm
{

class prefbase;

// Lists of these fill lines; lists of everything else have a line for each element.
inline bool IsShort(const WrittenType& type)
{
    const EVariableKind kind = type.m_kind;
    return kind == VK_SCALAR || kind == VK_ENUM || kind == VK_STRING8 || kind == VK_STRING16 ||
           (kind == VK_FOREIGN && type.m_type.GetForeignType().GetForm() == FF_TEXT);
}

// The functions that write take the end of the text and return it, as TextRoom wants it.
class Writer
{
public:
    explicit Writer(const WriteOptions& options) : m_indent(options.m_indent), m_isWhole(options.m_isWhole) {}

    char* Begin() { return m_room.Begin(); }
    SubString GetText(const char* p) const { return m_room.GetText(p); }

    char* WriteVariable(char* p, ReflectionByteCode type, const void* data, Before before);
    char* WriteObject(char* p, ptr<IObject> object);

private:
    // A step of the way from the start to the value that is being written: a member, or an element when m_name is null.
    class Step
    {
    public:
        explicit Step(Writer& writer, ConstStringZ name = nullptr)
            : m_name(name), m_outer(writer.m_step), m_writer(writer)
        {
            m_writer.m_step = this;
        }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;
        ~Step() { m_writer.m_step = m_outer; }

        ConstStringZ m_name;
        ssize_t m_index = 0;
        const Step* const m_outer;

    private:
        Writer& m_writer;
    };

    static xstring GetText(const Step& step);

    static constexpr ConstStringZ s_null = "null"; // what stands for a null handle
    static constexpr ssize_t s_width = 100;        // of lines that lists fill

    char* Put(char* p, SubString text) { return m_room.Put(p, text); }
    char* PutSpace(char* p) const
    {
        *p = ' ';
        return p + (m_indent > 0);
    }
    // Between a key and its payload.
    char* PutArrow(char* p)
    {
        p = PutSpace(p);
        *p++ = '-';
        *p++ = '>';
        return PutSpace(p);
    }
    char* BreakLine(char* p);

    [[noreturn]] void Throw(std::initializer_list<SubString> message) const;

    template <class T>
    char* WriteScalar(char* p, const void* data);
    char* WriteUnderlying(char* p, ReflectionByteCode type, const void* data, Before before);
    char* WriteEnum(char* p, const ReflectedEnum* r, int32 value);
    char* PutEnumerator(char* p, const ReflectedEnum& r, int32 i);
    char* WriteString16(char* p, const xstring16& text);
    char* WriteClass(char* p, const WritePlan& plan, const char* data, Before before);
    char* WriteClassBody(char* p, const WritePlan& plan, const char* data, Before before);
    inline char* PutMemberName(char* p, const WrittenMember& member);
    char* WriteOtherMember(char* p, const WrittenMember& member, const char* data, Before before);
    bool IsLeftOut(const WrittenMember& member, const char* data, Before before) const;
    char* WriteVariant(char* p, const ReflectedVariant* rv, const char* data);
    SubString AlternativeName(const ReflectedVariant& rv, int32 index) const;
    char* WriteArray(char* p, ReflectionByteCode type, const char* data, Before before);
    char* WriteVector(char* p, const WrittenElement& element, const VectorOfByte& vector, Before before);
    inline char* WriteList(char* p, const WrittenElement& element, const VectorOfByte& vector, ssize_t first);
    char* WriteLists(char* p, const WrittenElement& inner, const char* data, ssize_t first, ssize_t count);
    char* WriteScalars(char* p, ETypeByteCode code, const char* data, ssize_t first, ssize_t count);
    template <class T>
    char* WriteScalarsOf(char* p, const char* data, ssize_t first, ssize_t count);
    template <class T>
    char* WriteNumbers(char* p, const char* data, ssize_t first, ssize_t count);
    template <class T, bool InLines>
    char* PutNumbers(char* p, const char* data, ssize_t first, ssize_t count);
    char* WriteElements(char* p, const WrittenElement& element, const char* data, ssize_t first, ssize_t count,
                        const Before* array);
    template <class WriteElement>
    char* WriteEach(char* p, ssize_t first, ssize_t count, bool isShort, const WriteElement& writeElement);
    bool IsLineFull(const char* p) const { return m_room.GetSize(p) - m_lineStart > s_width; }
    char* PutBreakBetween(char* p, bool isFirst, bool isShort);
    char* WriteMap(char* p, ReflectionByteCode type, const void* map, Before before);
    char* WriteReference(char* p, const prefbase& reference);
    char* WriteForeign(char* p, const ForeignType& type, const void* data, Before before);
    char* WriteForeignText(char* p, const ForeignTextFns& fns, const void* text);
    char* WriteForeignList(char* p, const ForeignType& type, const char* list, Before before);
    char* WriteContiguous(char* p, const WrittenElement& element, const ForeignListFns& fns, const char* list);
    char* WriteForeignMap(char* p, const ForeignType& type, const void* map);
    char* WriteForeignChoice(char* p, const ForeignType& type, const void* choice);
    char* WriteForeignAlternative(char* p, const ForeignType& type, int32 index, const void* value);
    DefaultVariable& DefaultOf(const ReflectedClass& createdClass);

    // The name of an enumerator that has been looked at, by where it stands in its enumeration.
    struct CheckedName
    {
        const ConstStringZ* m_place = nullptr;
        SubString m_name;
    };
    static constexpr std::size_t s_numCheckedNames = 16;

    TextRoom m_room;
    const int m_indent;
    const bool m_isWhole;
    int m_depth = 0;
    ssize_t m_lineStart = 0; // behind the indentation
    const Step* m_step = nullptr;
    CheckedName m_checkedNames[s_numCheckedNames];
    std::set<const void*> m_objects; // that are being written
    std::map<const ReflectedClass*, DefaultVariable> m_defaults;
};

// The elements from `first` to `count` in brackets.
template <class WriteElement>
inline char* Writer::WriteEach(char* p, ssize_t first, ssize_t count, bool isShort, const WriteElement& writeElement)
{
    *p++ = '[';
    p = m_room.MakeRoom(p); // lists may begin side by side
    ++m_depth;
    {
        Step step(*this);
        for (ssize_t i = first; i < count; ++i)
        {
            step.m_index = i;
            *p = ',';
            p += i > first;
            if (m_indent > 0)
                p = PutBreakBetween(p, i == first, isShort);
            p = writeElement(p, i);
        }
    }
    --m_depth;
    if (count > first && !isShort)
        p = BreakLine(p);
    *p++ = ']';
    return m_room.MakeRoom(p);
}

} // namespace kelm
