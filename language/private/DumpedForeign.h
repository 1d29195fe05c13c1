#pragma once

// Types of the standard library's without C++ types: made of memory of their own. Their variables say which type they
// have, to functions that are told nothing but the variable; what makes a variable knows its type by a number.

#include <kelm/private/values/CopyVariable.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/DurationText.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace kelm::language::dumped
{

// How many types have functions of their own.
inline constexpr std::size_t s_maxForeign = 1000;

// A new variable in memory of its own.
inline void* NewVariable(ReflectionByteCode type)
{
    auto memory = std::make_unique<char[]>(static_cast<std::size_t>(type.GetTypeSize()) + 1);
    ConstructReflectedVariable(type, memory.get());
    return memory.release();
}
inline void DeleteVariable(ReflectionByteCode type, void* variable)
{
    if (variable == nullptr)
        return;
    DestructReflectedVariable(type, variable);
    delete[] static_cast<char*>(variable);
}

template <class T>
T& As(void* variable)
{
    return *static_cast<T*>(variable);
}
template <class T>
const T& As(const void* variable)
{
    return *static_cast<const T*>(variable);
}

struct DumpedForeign
{
    ForeignType m_type{};
    ForeignTextFns m_text{};
    ForeignListFns m_list{};
    ForeignMapFns m_map{};
    ForeignChoiceFns m_choice{};
    MapFns m_ownMap{}; // of a map of ours
    std::vector<ForeignPart> m_parts;
    std::vector<ConstStringZ> m_names;
    std::vector<int64> m_values; // of an enumeration's names
    int64 m_tick = 0;            // of a duration of whole numbers, in nanoseconds; 0 of any others
    DurationNumber m_number = DurationNumberOf<int64>({});
    bool m_isSingle = false; // whether its other numbers are no longer than 32 bits

    ReflectionByteCode PartType(ssize_t i) const { return m_parts[static_cast<std::size_t>(i)].GetType(); }
};
inline const DumpedForeign* s_foreign[s_maxForeign];

// --- Variables

// What they all begin with, but for maps. No class, so that they are of standard layout.
struct NumberValue // of an enumeration, or of a duration
{
    const DumpedForeign* m_self;
    int64 m_number;
    double m_fraction;
};
struct ListValue
{
    const DumpedForeign* m_self;
    VectorOfByte m_elements;
};
struct TupleValue
{
    const DumpedForeign* m_self;
    void* m_parts[1]; // as many as there are
};
struct ChoiceValue
{
    const DumpedForeign* m_self;
    int64 m_index;
    void* m_value; // null where there is none
};

struct Less
{
    bool operator()(const void* a, const void* b) const
    {
        const ReflectionByteCode type = m_self->PartType(0);
        return CompareLtReflectedVariable(type, a, type, b);
    }

    const DumpedForeign* m_self;
};
using Entries = std::map<void*, void*, Less>; // payloads are null in sets

constexpr ssize_t SizeOfTuple(std::size_t parts)
{
    return static_cast<ssize_t>(sizeof(void*) * (parts + 1));
}

inline const DumpedForeign& SelfOf(const void* variable)
{
    return *As<const DumpedForeign*>(variable);
}
inline const DumpedForeign& SelfOf(const Entries& entries)
{
    return *entries.key_comp().m_self;
}

// All types here move as bytes.
inline void ExchangeBytes(void* a, void* b, ssize_t size)
{
    std::swap_ranges(static_cast<char*>(a), static_cast<char*>(a) + size, static_cast<char*>(b));
}
inline void ExchangeValues(void* a, void* b)
{
    ExchangeBytes(a, b, SelfOf(a).m_type.m_size);
}
inline void ExchangeMaps(void* a, void* b)
{
    std::swap(As<Entries*>(a), As<Entries*>(b));
}

// --- Enumerations of other widths than 32 bits

inline SubString GetEnumerator(const void* value, char* buffer)
{
    const DumpedForeign& self = SelfOf(value);
    const auto found = std::find(self.m_values.begin(), self.m_values.end(), As<NumberValue>(value).m_number);
    return found != self.m_values.end()
               ? SubString(self.m_names[static_cast<std::size_t>(found - self.m_values.begin())])
               : SubString(buffer, buffer);
}
inline bool SetEnumerator(void* value, SubString name)
{
    const DumpedForeign& self = SelfOf(value);
    const auto found = std::find_if(self.m_names.begin(), self.m_names.end(),
                                    [&](ConstStringZ enumerator) { return strcmp(name, enumerator) == 0; });
    if (found == self.m_names.end())
        return false;
    As<NumberValue>(value).m_number = self.m_values[static_cast<std::size_t>(found - self.m_names.begin())];
    return true;
}
inline bool SetEnumeratorNumber(void* value, int64 number)
{
    const std::vector<int64>& values = SelfOf(value).m_values;
    if (std::find(values.begin(), values.end(), number) == values.end())
        return false;
    As<NumberValue>(value).m_number = number;
    return true;
}
inline int64 GetEnumeratorNumber(const void* value)
{
    return As<NumberValue>(value).m_number;
}
template <auto Member>
int CompareNumbers(const void* a, const void* b)
{
    const auto x = As<NumberValue>(a).*Member;
    const auto y = As<NumberValue>(b).*Member;
    return static_cast<int>(y < x) - static_cast<int>(x < y);
}

// --- Durations

inline SubString GetDuration(const void* duration, char* buffer)
{
    const auto& value = As<NumberValue>(duration);
    const int64 tick = value.m_self->m_tick;
    return tick != 0 ? PutDuration(buffer, value.m_number, tick) : PutDuration(buffer, value.m_fraction, 1);
}
inline bool SetDuration(void* duration, SubString text)
{
    auto& value = As<NumberValue>(duration);
    const int64 tick = value.m_self->m_tick;
    if (tick == 0)
    {
        if (!ReadDuration(text, 1, value.m_fraction))
            return false;
        if (value.m_self->m_isSingle)
            value.m_fraction = static_cast<float>(value.m_fraction);
        return true;
    }
    int64 number = 0;
    const DurationNumber& held = value.m_self->m_number;
    if (!ReadDuration(text, tick, number) || number < held.m_least || number > held.m_most)
        return false;
    value.m_number = number;
    return true;
}

// --- Tuples, whose parts lie elsewhere

inline ssize_t CountParts(const void* tuple)
{
    return SelfOf(tuple).m_type.m_numParts;
}
inline void* PartAt(void* tuple, ssize_t i)
{
    return static_cast<void**>(tuple)[i + 1];
}

// --- Lists

inline ssize_t SizeOfElement(const DumpedForeign& self)
{
    return std::max<ssize_t>(self.PartType(0).GetTypeSize(), 1);
}
inline ssize_t CountElements(const void* list)
{
    const auto& value = As<ListValue>(list);
    return value.m_elements.empty() ? 0 : value.m_elements.size() / SizeOfElement(*value.m_self);
}
inline void* ElementAt(void* list, ssize_t i)
{
    auto& value = As<ListValue>(list);
    return value.m_elements.data() + i * SizeOfElement(*value.m_self);
}
inline void* AppendElement(void* list)
{
    auto& [self, elements] = As<ListValue>(list);
    const ssize_t size = SizeOfElement(*self);
    char* const element = elements.Extend(size);
    std::memset(element, 0, static_cast<std::size_t>(size));
    try
    {
        ConstructReflectedVariable(self->PartType(0), element);
    }
    catch (...)
    {
        elements.resize(elements.size() - size);
        throw;
    }
    return element;
}
inline void AppendBytes(void* list, const void* elements, ssize_t size)
{
    auto& value = As<ListValue>(list);
    value.m_elements.insertbytes(value.m_elements.size(), elements, size);
}
inline void ClearList(void* list)
{
    auto& [self, elements] = As<ListValue>(list);
    const ssize_t size = SizeOfElement(*self);
    for (ssize_t at = 0; at < elements.size(); at += size)
        DestructReflectedVariable(self->PartType(0), elements.data() + at);
    elements.clear();
}

// --- Optionals and variants

inline int32 GetIndex(const void* choice)
{
    const auto& value = As<ChoiceValue>(choice);
    return value.m_value != nullptr ? static_cast<int32>(value.m_index) : -1;
}
inline void* GetValue(const void* choice)
{
    return As<ChoiceValue>(choice).m_value;
}
inline void ResetChoice(void* choice)
{
    auto& value = As<ChoiceValue>(choice);
    if (value.m_value != nullptr)
        DeleteVariable(value.m_self->PartType(value.m_index), std::exchange(value.m_value, nullptr));
}
inline void* EmplaceChoice(void* choice, int32 index)
{
    auto& value = As<ChoiceValue>(choice);
    void* const emplaced = NewVariable(value.m_self->PartType(index));
    ResetChoice(choice);
    value.m_index = index;
    return value.m_value = emplaced;
}

// --- Maps and sets, which are one word as ours are

inline void DeleteEntry(const DumpedForeign& self, void* key, void* payload)
{
    DeleteVariable(self.PartType(0), key);
    if (payload != nullptr)
        DeleteVariable(self.PartType(1), payload);
}
inline ssize_t CountEntries(const void* map)
{
    return static_cast<ssize_t>(As<Entries*>(map)->size());
}
template <class Fill>
void* InsertNew(void* map, const void* key, Fill fill)
{
    Entries& entries = *As<Entries*>(map);
    if (const auto found = entries.find(const_cast<void*>(key)); found != entries.end())
        return found->second;
    const DumpedForeign& self = SelfOf(entries);
    void* const own = NewVariable(self.PartType(0));
    void* payload = nullptr;
    try
    {
        if (self.m_parts.size() == 2)
            payload = NewVariable(self.PartType(1));
        fill(self.PartType(0), own);
        entries.emplace(own, payload);
    }
    catch (...)
    {
        DeleteEntry(self, own, payload);
        throw;
    }
    return payload;
}
inline void* InsertEntry(void* map, void* key)
{
    return InsertNew(map, key,
                     [key](ReflectionByteCode type, void* own) { ExchangeBytes(own, key, type.GetTypeSize()); });
}
// The next key takes over what this one has.
inline void* InsertIntoOurs(void* map, const void* key)
{
    return InsertNew(map, key, [key](ReflectionByteCode type, void* own) { evaluation::CopyVariable(type, own, key); });
}
inline void* FindEntry(const void* map, const void* key)
{
    const Entries& entries = *As<Entries*>(map);
    const auto found = entries.find(const_cast<void*>(key));
    if (found == entries.end())
        return nullptr;
    return found->second != nullptr ? found->second : found->first;
}
inline bool EraseEntry(void* map, const void* key)
{
    Entries& entries = *As<Entries*>(map);
    const auto found = entries.find(const_cast<void*>(key));
    if (found == entries.end())
        return false;
    const auto entry = entries.extract(found);
    DeleteEntry(SelfOf(entries), entry.key(), entry.mapped());
    return true;
}
inline void ClearMap(void* map)
{
    Entries& entries = *As<Entries*>(map);
    for (const auto& [key, payload] : entries)
        DeleteEntry(SelfOf(entries), key, payload);
    entries.clear();
}
inline void ForEachEntry(const void* map, EntryVisitor visitor, void* context)
{
    for (const auto& [key, payload] : *As<Entries*>(map))
        if (!visitor(context, key, payload))
            return;
}

// --- What they all do

inline void ConstructForeign(const DumpedForeign& self, void* variable)
{
    if (self.m_map.Count != nullptr)
    {
        As<Entries*>(variable) = new Entries(Less{&self});
        return;
    }
    std::memset(variable, 0, static_cast<std::size_t>(self.m_type.m_size));
    As<const DumpedForeign*>(variable) = &self;
    if (self.m_type.m_list == nullptr)
    {
        if (self.m_type.m_choice != nullptr && !self.m_type.IsOptional())
            EmplaceChoice(variable, 0);
    }
    else if (self.m_list.m_isFixed)
        for (int32 i = 0; i < self.m_type.m_numParts; ++i)
            static_cast<void**>(variable)[i + 1] = NewVariable(self.PartType(i));
    else
        ::new (variable) ListValue{&self, {}};
}

inline void DestructText(void*) {}
inline void DestructTuple(void* tuple)
{
    for (ssize_t i = 0; i < CountParts(tuple); ++i)
        DeleteVariable(SelfOf(tuple).PartType(i), PartAt(tuple, i));
}
inline void DestructList(void* list)
{
    ClearList(list);
    As<ListValue>(list).m_elements.~VectorOfByte();
}
inline void DestructMap(void* map)
{
    ClearMap(map);
    delete As<Entries*>(map);
}

// The functions of the type with that number, which tables of functions ask for.
template <std::size_t I>
struct OfForeign
{
    static void Construct(void* variable) { ConstructForeign(*s_foreign[I], variable); }
    static bool IsBeyondRange(SubString text)
    {
        const int64 tick = s_foreign[I]->m_tick;
        return IsDurationOfAnySize(text, std::max<int64>(tick, 1), tick == 0);
    }
};
struct NumberedFns
{
    void (*Construct)(void*);
    bool (*IsBeyondRange)(SubString);
};
template <std::size_t... Is>
constexpr auto MakeNumberedFns(std::index_sequence<Is...>)
{
    // More than can be deduced.
    return std::array<NumberedFns, sizeof...(Is)>{
        NumberedFns{OfForeign<Is>::Construct, OfForeign<Is>::IsBeyondRange}...};
}
inline constexpr auto s_numberedFns = MakeNumberedFns(std::make_index_sequence<s_maxForeign>());

inline constexpr ForeignListFns s_tupleFns = {CountParts, PartAt, nullptr, nullptr, nullptr, true, false};
inline constexpr ForeignListFns s_listFns = {CountElements, ElementAt, AppendElement, nullptr, ClearList, false, true};
inline constexpr ForeignMapFns s_mapFns = {CountEntries, InsertEntry,  FindEntry, EraseEntry,
                                           ClearMap,     ForEachEntry, true};
inline bool IsNeverShared(const void*) // by those that a text gives
{
    return false;
}
inline constexpr ForeignChoiceFns s_choiceFns = {GetIndex, GetValue, EmplaceChoice, ResetChoice, nullptr, false};
inline constexpr ForeignTextFns s_durationFns = {GetDuration, SetDuration, CompareNumbers<&NumberValue::m_number>,
                                                 "duration"};
inline constexpr ForeignTextFns s_enumFns = {GetEnumerator,
                                             SetEnumerator,
                                             CompareNumbers<&NumberValue::m_number>,
                                             nullptr,
                                             true,
                                             nullptr,
                                             0,
                                             GetEnumeratorNumber,
                                             nullptr,
                                             nullptr,
                                             SetEnumeratorNumber};

} // namespace kelm::language::dumped
