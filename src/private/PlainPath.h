#pragma once

// PlainPath: the walk along a path in which nothing is unusual, which is nearly every one.

#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/text/CharTable.h>
#include <klUtils/text/ShortText.h>
#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

// Walks straight along the characters, without a token, where the whole text is plain: names, decimal indices, dots and
// brackets with nothing between them, each of which leads somewhere, while nobody watches. Such a walk changes nothing;
// so where anything is unusual, and with every error, it is given up, and the walk by tokens begins anew.
//
// The walk along fields and vectors of class instances, which most paths are, is inlined and in registers. So no
// function that is not inlined may be given the address of anything here; it is given a copy.
class PlainPath
{
public:
    explicit PlainPath(SubString text) : m_p(text.m_p1), m_end(text.m_p2) {}

    // False where the walk is given up; nothing below means anything then.
    [[gnu::always_inline]] bool TryWalk(ptr<IObject> obj, bool readAccess)
    {
        try
        {
            if (!obj || (readAccess && IsReadBarrierInstalled()) || !StepToObject(obj))
                return false;
            State state = State::AtInstance;
            while (state == State::AtInstance && IsBefore('.'))
                state = StepToField();
            return m_p == m_end && state != State::GivenUp;
        }
        catch (const KelmAssertionError&)
        {
            return false; // the walk by tokens may find something worse before it comes to this
        }
    }

    // Where the walk ended.
    ptr<IObject> m_obj;
    ReflectionByteCode m_rbc;
    char* m_data = nullptr;

    // Of a text with a step, the first character of its last token.
    const char* FindLastToken() const
    {
        const char* p = m_end - 1;
        while (HasProperty(*p, CHAR_IDENTIFIER) && HasProperty(p[-1], CHAR_IDENTIFIER))
            --p;
        return p;
    }

private:
    enum class State : uint8
    {
        GivenUp,
        Over,       // at a variable that accepts no further step
        AtInstance, // of m_class
    };

    static State AtInstanceUnless(bool isGivenUp) { return isGivenUp ? State::GivenUp : State::AtInstance; }

    bool IsBefore(char c) const { return m_p != m_end && *m_p == c; }

    // A text up to the next dot or bracket. That it is a name at all is seen when it equals one.
    struct Name
    {
        const char* m_p;
        ssize_t m_size;
        uint64 m_word; // where it is short
    };

    [[gnu::always_inline]] Name PeekName() const
    {
        const char* const p = m_p + 1;
        const ssize_t left = m_end - p;
        const uint64 word = left >= 8 ? LoadWord<uint64>(p) : WordOfShortText(p, left) | EightTimes('.') << 8 * left;
        const ssize_t size = CountBefore(word, '.', '[');
        if (size == s_maxShortText) [[unlikely]]
            return {p, GetSizeOfLongName(p, m_end), word};
        return {p, size, FirstCharacters(word, size)};
    }

    [[gnu::noinline]] static ssize_t GetSizeOfLongName(const char* start, const char* end)
    {
        const char* p = start + s_maxShortText;
        for (; end - p >= s_maxShortText; p += s_maxShortText)
        {
            const ssize_t size = CountBefore(LoadWord<uint64>(p), '.', '[');
            if (size < s_maxShortText)
                return p - start + size;
        }
        while (p != end && *p != '.' && *p != '[')
            ++p;
        return p - start;
    }

    // From an instance, past the dot, to the field that is named next, and on to where that leads.
    [[gnu::always_inline]] State StepToField()
    {
        const Name name = PeekName();
        m_p = name.m_p + name.m_size;
        const FieldIndex* index = GetFieldIndex(*m_class);
        const FieldEntry* entry = FindField(index, name);
        if (entry == nullptr) [[unlikely]]
        {
            if (!StepToEmbeddedModel())
                return State::GivenUp;
            index = GetFieldIndex(*m_class);
            entry = FindField(index, name);
            if (entry == nullptr)
                return State::GivenUp;
        }
        const ReflectedModelField& field = *entry->m_field;
        m_data += field.m_offset;
        m_rbc = {field.m_bc, m_class->m_stringTable, field.m_mapOrSetFns};
        switch (entry->m_lead)
        {
        case FieldLead::Value: return State::Over;
        case FieldLead::Instance: m_class = entry->GetLeadClass(*index); return AtInstanceUnless(m_class == nullptr);
        case FieldLead::Instances: return StepIntoInstances(entry->GetLeadClass(*index));
        case FieldLead::Other: break;
        }
        PlainPath copy = *this;
        const State state = copy.WalkVariable();
        *this = copy;
        return state;
    }

    // The entry of a present model field, or null.
    [[gnu::always_inline]] static const FieldEntry* FindField(const FieldIndex* index, const Name& name)
    {
        if (index == nullptr)
            return nullptr;
        const FieldEntry* const entry = name.m_size <= s_maxShortText
                                            ? index->m_fields.FindShort(name.m_word, name.m_size)
                                            : index->m_fields.FindLong({name.m_p, name.m_p + name.m_size});
        return entry != nullptr && entry->m_field != nullptr ? entry : nullptr;
    }

    [[gnu::always_inline]] bool StepToEmbeddedModel()
    {
        const ClassModel model = FindClassModel(*m_class);
        if (model.m_class == nullptr || model.m_class == m_class)
            return false;
        m_class = model.m_class;
        m_data += model.m_offset;
        return true;
    }

    // To an element of a vector of instances, if an index follows.
    [[gnu::always_inline]] State StepIntoInstances(const ReflectedClass* rc)
    {
        if (!IsBefore('['))
            return State::Over;
        m_class = rc;
        return AtInstanceUnless(rc == nullptr || !StepIntoVector(m_rbc.GetTypeBehindByte(), rc->m_size));
    }

    [[gnu::always_inline]] bool StepIntoVector(const ReflectionByteCode& elementType, ssize_t elementSize)
    {
        VectorOfByte& vector = *reinterpret_cast<VectorOfByte*>(m_data);
        return elementSize > 0 && vector.size() % elementSize == 0 &&
               StepToElement(vector.data(), vector.size() / elementSize, elementType, elementSize);
    }

    // Without the table, which nothing else on most paths needs.
    static bool IsDigit(char c) { return static_cast<uint8>(c - '0') <= 9; }

    // Past an index in brackets, to that one of `count` elements which begin at `data`.
    [[gnu::always_inline]] bool StepToElement(char* data, ssize_t count, const ReflectionByteCode& elementType,
                                              ssize_t elementSize)
    {
        const char* const digits = m_p + 1;
        const char* p = digits;
        uint32 index = 0;
        for (; p != m_end && IsDigit(*p); ++p)
            index = 10 * index + static_cast<uint32>(*p - '0');
        if (p == m_end || *p != ']' || p == digits || p - digits > s_maxDigits || index >= count)
            return false;
        m_p = p + 1;
        m_data = data + index * elementSize;
        m_rbc = elementType;
        return true;
    }

    bool StepToObject(ptr<IObject> obj)
    {
        m_class = obj.GetReflectedClass();
        m_obj = obj;
        m_data = static_cast<char*>(obj.self());
        return m_class != nullptr;
    }

    // From a variable of any type, along indices and handles.
    [[gnu::noinline]] State WalkVariable()
    {
        while (true)
        {
            ReflectionByteCode type = m_rbc;
            if (type.m_bc == nullptr || (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0)
                return State::GivenUp;
            switch (type.GetCode())
            {
            case FT_CLASS:
                m_rbc = type;
                m_class = type.GetReflectedClass();
                return AtInstanceUnless(m_class == nullptr);
            case FT_ARRAY:
            case FT_VECTOR:
            case FT_DYNARRAY:
                if (!IsBefore('['))
                    return State::Over;
                if (!StepIntoElements(type))
                    return State::GivenUp;
                break;
            case FT_PREF:
            case FT_CREF: return StepThroughHandle(type, reinterpret_cast<const prefbase*>(m_data)->GetLoaded());
            case FT_INTERFACE_POINTER: return StepThroughHandle(type, *reinterpret_cast<const ptr<IObject>*>(m_data));
            default: return IsValue(type.GetCode()) ? State::Over : State::GivenUp;
            }
        }
    }

    static bool IsValue(ETypeByteCode code)
    {
        return (code > FT_VOID && code <= FT_STRING16) || code == FT_ENUM || code == FT_VARIANT;
    }

    bool StepIntoElements(const ReflectionByteCode& type)
    {
        const ReflectionByteCode elementType = type.GetElementType();
        const ssize_t elementSize = elementType.GetTypeSize();
        if (type.GetCode() == FT_ARRAY)
            return StepToElement(m_data, type.GetArrayCount(), elementType, elementSize);
        // The index of a dynamic array has two opening brackets; one that is not there yet makes it grow.
        if (type.GetCode() == FT_DYNARRAY && (++m_p == m_end || *m_p != '['))
            return false;
        return StepIntoVector(elementType, elementSize);
    }

    State StepThroughHandle(const ReflectionByteCode& type, ptr<IObject> target)
    {
        if (!IsBefore('.'))
            return State::Over;
        m_rbc = type;
        return AtInstanceUnless(!target || !StepToObject(target));
    }

    static constexpr ssize_t s_maxDigits = 9; // what 32 bits hold in any case

    const char* m_p; // the next token
    const char* m_end;
    const ReflectedClass* m_class = nullptr; // of the instance where the walk is, if it is at one
};

} // namespace kelm
