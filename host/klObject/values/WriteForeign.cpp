// Foreign types, whose lists and maps are written whole and whose optionals are made anew: reading replaces them.

#include <klObject/containers/private/MapEntry.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/private/ForeignEntries.h>
#include <klObject/values/private/QuotedText.h>
#include <klObject/values/private/Writer.h>
#include <klUtils/ToString.h>

#include <vector>

namespace kelm
{

char* Writer::WriteForeign(char* p, const ForeignType& type, const void* data, Before before)
{
    switch (type.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_TEXT: return WriteForeignText(p, *type.m_text, data);
    case FF_LIST: return WriteForeignList(p, type, static_cast<const char*>(data), before);
    case FF_MAP: return WriteForeignMap(p, type, data);
    case FF_CHOICE: return WriteForeignChoice(p, type, data);
    }
    return p; // GCOVR_EXCL_LINE: every one has returned
}

char* Writer::WriteForeignText(char* p, const ForeignTextFns& fns, const void* text)
{
    char buffer[ForeignTextFns::BufferSize];
    const SubString characters = fns.Get(text, buffer);
    if (!fns.m_isIdentifier)
        return PutQuoted(m_room, p, characters, '"');
    if (characters.empty())
        Throw({NumberText(static_cast<long>(fns.GetNumber(text))), " is no value of enum ", fns.m_what});
    return Put(p, characters);
}

char* Writer::WriteForeignList(char* p, const ForeignType& type, const char* list, Before before)
{
    const ForeignListFns& fns = *type.m_list;
    const ssize_t count = fns.Count(list);
    const auto at = [&](ssize_t i) { return static_cast<const char*>(fns.At(const_cast<char*>(list), i)); };
    if (fns.m_isFixed)
    {
        bool isShort = true;
        for (ssize_t i = 0; i < count; ++i)
            isShort = isShort && IsShort(WrittenType(type.GetElementType(i)));
        return WriteEach(p, 0, count, isShort,
                         [&](char* end, ssize_t i)
                         { return WriteVariable(end, type.GetElementType(i), at(i), before.At(at(i) - list)); });
    }
    const WrittenElement element(type.GetElementType(0));
    if (fns.m_isContiguous)
        return WriteContiguous(p, element, fns, list);
    DefaultVariable newElement(element.m_type);
    return WriteEach(p, 0, count, IsShort(element),
                     [&](char* end, ssize_t i)
                     { return WriteUnderlying(end, element.m_type, at(i), Before(newElement)); });
}

char* Writer::WriteContiguous(char* p, const WrittenElement& element, const ForeignListFns& fns, const char* list)
{
    const ssize_t count = fns.Count(list);
    const void* const elements = count > 0 ? fns.At(const_cast<char*>(list), 0) : nullptr;
    return WriteElements(p, element, static_cast<const char*>(elements), 0, count, nullptr);
}

char* Writer::WriteForeignMap(char* p, const ForeignType& type, const void* map)
{
    const ReflectionByteCode keyType = type.GetPartType(0);
    const bool isSet = type.m_numParts == 1;
    const ReflectionByteCode payloadType = isSet ? keyType : type.GetPartType(1);
    DefaultVariable newKey(keyType);
    DefaultVariable newPayload(payloadType);
    const std::vector<MapEntry> entries = ListForeignEntries(type, map);
    return WriteEach(p, 0, static_cast<ssize_t>(entries.size()), isSet && IsShort(WrittenType(keyType)),
                     [&](char* end, ssize_t i)
                     {
                         const MapEntry& entry = entries[static_cast<std::size_t>(i)];
                         end = WriteVariable(end, keyType, entry.m_key, Before(newKey));
                         if (isSet)
                             return end;
                         end = PutArrow(end);
                         return WriteVariable(end, payloadType, entry.m_payload, Before(newPayload));
                     });
}

char* Writer::WriteForeignChoice(char* p, const ForeignType& type, const void* choice)
{
    const int32 index = type.m_choice->GetIndex(choice);
    if (index < 0 && !type.IsOptional())
        Throw({"this variant holds no value"});
    if (index < 0)
        return Put(p, s_null);
    const void* const value = type.m_choice->GetValue(choice);
    if (type.m_choice->m_names != nullptr)
        return WriteForeignAlternative(p, type, index, value);
    DefaultVariable newValue(type.GetPartType(0));
    if (!type.m_choice->m_isPointer)
        return WriteVariable(p, type.GetPartType(0), value, Before(newValue));
    const auto [place, isNew] = m_objects.insert(value);
    if (!isNew)
        Throw({"what is pointed to here is reached from within itself"});
    p = WriteVariable(p, type.GetPartType(0), value, Before(newValue));
    m_objects.erase(place);
    return p;
}

char* Writer::WriteForeignAlternative(char* p, const ForeignType& type, int32 index, const void* value)
{
    const Step step(*this, type.m_choice->m_names[index]);
    p = Put(p, GetForeignAlternativeName(type, index));
    ReflectionByteCode part = type.GetPartType(index);
    part.AdvanceToUnderlyingType2();
    DefaultVariable newAlternative(part);
    if (part.GetCode() != FT_VOID)
        *p++ = ' ';
    if (const ReflectedClass* const rc = part.GetReflectedClass()) // the alternative's name stands for the class's
        return WriteClassBody(p, GetWritePlan(*rc), static_cast<const char*>(value), Before(newAlternative));
    return WriteUnderlying(p, part, value, Before(newAlternative));
}

} // namespace kelm
