#pragma once

// Types of the standard library's without C++ types: made of memory of their own, by functions that know their type by
// a number, since none is told it.

#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/types.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

namespace kelm::language::dumped
{

// How many types have functions of their own.
inline constexpr std::size_t s_maxForeign = 80;

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

// --- Types of the standard library's

struct DumpedForeign
{
    ForeignType m_type{};
    ForeignListFns m_list{};
    ForeignMapFns m_map{};
    ForeignChoiceFns m_choice{};
    MapFns m_ownMap{}; // of a map of ours
    std::vector<ForeignPart> m_parts;
    std::vector<ConstStringZ> m_names;
};
inline const DumpedForeign* s_foreign[s_maxForeign];

// An optional or a variant.
struct ChoiceValue
{
    int64 m_index;
    void* m_value; // null where there is none
};

struct Less
{
    bool operator()(const void* a, const void* b) const { return CompareLtReflectedVariable(m_type, a, m_type, b); }

    ReflectionByteCode m_type;
};
using MapValue = std::map<void*, void*, Less>;

// --- What they all do, of the type that is told first

inline ReflectionByteCode PartOf(const DumpedForeign& self, ssize_t i)
{
    return self.m_parts[static_cast<std::size_t>(i)].GetType();
}

// A tuple: its parts elsewhere.
inline ssize_t CountParts(const DumpedForeign& self, const void*)
{
    return self.m_type.m_numParts;
}
inline void* PartAt(const DumpedForeign&, void* list, ssize_t i)
{
    return static_cast<void**>(list)[i];
}

// An optional or a variant.
inline int32 GetIndex(const DumpedForeign&, const void* choice)
{
    const auto& value = As<ChoiceValue>(choice);
    return value.m_value != nullptr ? static_cast<int32>(value.m_index) : -1;
}
inline void* GetValue(const DumpedForeign&, const void* choice)
{
    return As<ChoiceValue>(choice).m_value;
}
inline void ResetChoice(const DumpedForeign& self, void* choice)
{
    auto& value = As<ChoiceValue>(choice);
    if (value.m_value != nullptr)
        DeleteVariable(PartOf(self, value.m_index), value.m_value);
    value = {};
}
inline void* EmplaceChoice(const DumpedForeign& self, void* choice, int32 index)
{
    void* const value = NewVariable(PartOf(self, index));
    ResetChoice(self, choice);
    As<ChoiceValue>(choice) = {index, value};
    return value;
}

// A map.
inline void DeleteEntry(const DumpedForeign& self, void* key, void* payload)
{
    DeleteVariable(PartOf(self, 0), key);
    DeleteVariable(PartOf(self, 1), payload);
}
inline ssize_t CountEntries(const DumpedForeign&, const void* map)
{
    return static_cast<ssize_t>(As<MapValue*>(map)->size());
}
inline void* InsertEntry(const DumpedForeign& self, void* map, void* key)
{
    MapValue& entries = *As<MapValue*>(map);
    if (const auto found = entries.find(key); found != entries.end())
        return found->second;
    // All types here move as bytes.
    void* const own = NewVariable(PartOf(self, 0));
    void* const payload = NewVariable(PartOf(self, 1));
    char* const bytes = static_cast<char*>(own);
    std::swap_ranges(bytes, bytes + PartOf(self, 0).GetTypeSize(), static_cast<char*>(key));
    entries.emplace(own, payload);
    return payload;
}
inline void* InsertIntoOurs(const DumpedForeign& self, void* map, const void* key)
{
    return InsertEntry(self, map, const_cast<void*>(key)); // the next key is a new one
}
inline void* FindEntry(const DumpedForeign&, const void* map, const void* key)
{
    const MapValue& entries = *As<MapValue*>(map);
    const auto found = entries.find(const_cast<void*>(key));
    return found != entries.end() ? found->second : nullptr;
}
inline bool EraseEntry(const DumpedForeign& self, void* map, const void* key)
{
    MapValue& entries = *As<MapValue*>(map);
    const auto found = entries.find(const_cast<void*>(key));
    if (found == entries.end())
        return false;
    const auto entry = entries.extract(found);
    DeleteEntry(self, entry.key(), entry.mapped());
    return true;
}
inline void ClearMap(const DumpedForeign& self, void* map)
{
    for (const auto& [key, payload] : *As<MapValue*>(map))
        DeleteEntry(self, key, payload);
    As<MapValue*>(map)->clear();
}
inline void ForEachEntry(const DumpedForeign&, const void* map, EntryVisitor visitor, void* context)
{
    for (const auto& [key, payload] : *As<MapValue*>(map))
        if (!visitor(context, key, payload))
            return;
}

inline void ConstructForeign(const DumpedForeign& self, void* variable)
{
    std::memset(variable, 0, static_cast<std::size_t>(self.m_type.m_size));
    switch (self.m_type.GetForm())
    {
    case FF_LIST:
        for (int32 i = 0; i < self.m_type.m_numParts; ++i)
            static_cast<void**>(variable)[i] = NewVariable(PartOf(self, i));
        break;
    case FF_MAP: As<MapValue*>(variable) = new MapValue(Less{PartOf(self, 0)}); break;
    case FF_CHOICE:
        if (!self.m_type.IsOptional())
            EmplaceChoice(self, variable, 0);
        break;
    case FF_TEXT: break;
    }
}
inline void DestructForeign(const DumpedForeign& self, void* variable)
{
    switch (self.m_type.GetForm())
    {
    case FF_LIST:
        for (int32 i = 0; i < self.m_type.m_numParts; ++i)
            DeleteVariable(PartOf(self, i), static_cast<void**>(variable)[i]);
        break;
    case FF_MAP:
        ClearMap(self, variable);
        delete As<MapValue*>(variable);
        break;
    case FF_CHOICE: ResetChoice(self, variable); break;
    case FF_TEXT: break;
    }
}

// The same of the type with that number, which tables of functions ask for.
template <std::size_t I, auto F>
struct OfForeign;
template <std::size_t I, class R, class... As, R (*F)(const DumpedForeign&, As...)>
struct OfForeign<I, F>
{
    static R Call(As... arguments) { return F(*s_foreign[I], arguments...); }
};

template <std::size_t I>
inline void FillForeign(DumpedForeign& foreign)
{
    foreign.m_type.Construct = OfForeign<I, ConstructForeign>::Call;
    foreign.m_type.Destruct = OfForeign<I, DestructForeign>::Call;
    foreign.m_list = {
        OfForeign<I, CountParts>::Call, OfForeign<I, PartAt>::Call, nullptr, nullptr, nullptr, true, false};
    foreign.m_map = {OfForeign<I, CountEntries>::Call,
                     OfForeign<I, InsertEntry>::Call,
                     OfForeign<I, FindEntry>::Call,
                     OfForeign<I, EraseEntry>::Call,
                     OfForeign<I, ClearMap>::Call,
                     OfForeign<I, ForEachEntry>::Call,
                     true};
    foreign.m_ownMap = {OfForeign<I, InsertIntoOurs>::Call,
                        foreign.m_type.Construct,
                        foreign.m_type.Destruct,
                        foreign.m_map.Count,
                        foreign.m_map.ForEach,
                        foreign.m_map.Find,
                        foreign.m_map.Erase};
    foreign.m_choice = {OfForeign<I, GetIndex>::Call,
                        OfForeign<I, GetValue>::Call,
                        OfForeign<I, EmplaceChoice>::Call,
                        OfForeign<I, ResetChoice>::Call,
                        nullptr,
                        false};
}

} // namespace kelm::language::dumped
