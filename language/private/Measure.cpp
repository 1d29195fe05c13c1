#include <kelmLanguage/private/Measure.h>

#include <kelmLanguage/private/DumpedForeign.h>

#include <klObject/types/Registry.h>

#include <algorithm>
#include <cstddef>

namespace kelm::language
{

namespace
{

constexpr ssize_t s_maxSize = ssize_t{1} << 30;
constexpr std::size_t s_maxDepth = 400; // of types in types

} // namespace

void Measure::Check()
{
    const TypeCatalogue& catalogue = m_types.GetCatalogue();
    for (const CatalogueEnum& entry : catalogue.m_enums)
        CheckName(entry);
    for (const CatalogueTypedef& entry : catalogue.m_typedefs)
    {
        CheckName(entry);
        CheckParts(entry.m_type);
    }
    for (const CatalogueVariant& entry : catalogue.m_variants)
    {
        CheckName(entry);
        if (entry.m_alternatives.empty())
            throw Unregistrable{"variant " + entry.m_name + " has no alternatives"};
        for (const CatalogueAlternative& alternative : entry.m_alternatives)
            CheckParts(alternative.m_type);
    }
    for (const CatalogueClass& entry : catalogue.m_classes)
    {
        CheckName(entry);
        for (const std::string& base : entry.m_bases)
            if (const CatalogueClass* const found = m_types.FindClass(base);
                found != nullptr && m_types.IsDerived(*found, entry.m_name))
                throw Unregistrable{"class " + entry.m_name + " is its own base"};
        for (const CatalogueMember& member : entry.m_members)
            CheckParts(member.m_type);
    }
    // All names mean something by now.
    for (const CatalogueTypedef& entry : catalogue.m_typedefs)
        RoomOf(entry);
    for (const CatalogueVariant& entry : catalogue.m_variants)
        RoomOf(entry);
    for (const CatalogueClass& entry : catalogue.m_classes)
        RoomOf(entry);
}

void Measure::CheckName(const CatalogueEntry& entry)
{
    if (entry.m_name.find('\0') != std::string::npos || !m_rooms.try_emplace(entry.m_name).second)
        throw Unregistrable{"'" + entry.m_name + "' cannot be the name of a type"};
}

void Measure::CheckParts(const TypeNode& node) const
{
    const ConstStringZ name = node.m_name.c_str();
    bool isThere = true;
    switch (node.m_kind)
    {
    case TypeKind::Class: isThere = m_types.FindClass(node.m_name) || TryFindReflectedClass(name); break;
    case TypeKind::Enum:
    {
        const CatalogueEnum* const entry = m_types.FindEnum(node.m_name);
        isThere = entry != nullptr ? entry->m_isStandard == node.m_isStandard
                                   : !node.m_isStandard && TryFindReflectedEnum(name) != nullptr;
        break;
    }
    case TypeKind::Variant: isThere = m_types.FindVariant(node.m_name) || TryFindReflectedVariant(name); break;
    case TypeKind::Typedef: isThere = m_types.FindTypedef(node.m_name) || TryFindReflectedTypedef(name); break;
    default: break;
    }
    if (!isThere)
        throw Unregistrable{"there is no type '" + node.m_name + "'"};
    if ((node.m_kind == TypeKind::Map || node.m_kind == TypeKind::Set) && IsVoid(node.m_parts[0]))
        throw Unregistrable{"the keys of " + node.m_text + " have a type that no text gives"};
    for (const TypeNode& part : node.m_parts)
        CheckParts(part);
}

// What a reader would never come to see.
bool Measure::IsVoid(const TypeNode& node) const
{
    const TypeNode* seen = &node;
    for (std::size_t i = 0; i < s_maxDepth && seen->m_kind == TypeKind::Typedef; ++i)
        if (const CatalogueTypedef* const entry = m_types.FindTypedef(seen->m_name))
            seen = &entry->m_type;
    return seen->m_kind == TypeKind::Void || seen->m_kind == TypeKind::Other;
}

Measure::Room Measure::Checked(Room room)
{
    if (room.m_whole > s_maxSize)
        throw Unregistrable{"a type is too large"};
    return room;
}

template <class F>
Measure::Room Measure::Once(const std::string& name, F measure)
{
    std::optional<Room>& known = m_rooms[name];
    if (known)
        return *known;
    if (std::find(m_measured.begin(), m_measured.end(), name) != m_measured.end())
        throw Unregistrable{"'" + name + "' is a part of itself"};
    if (m_measured.size() == s_maxDepth)
        throw Unregistrable{"types are nested too deep"};
    m_measured.push_back(name);
    const Room room = Checked(measure());
    m_measured.pop_back();
    return *(known = room);
}

Measure::Room Measure::RoomOf(const CatalogueTypedef& entry)
{
    return Once(entry.m_name, [&] { return RoomOf(entry.m_type); });
}

Measure::Room Measure::RoomOf(const CatalogueClass& entry)
{
    return Once(entry.m_name,
                [&]
                {
                    Room room = {InstanceHeader, InstanceHeader};
                    for (const CatalogueMember& member : entry.m_members)
                    {
                        const Room part = RoomOf(member.m_type);
                        room = Checked({room.m_size + Aligned(part.m_size), room.m_whole + Aligned(part.m_whole)});
                    }
                    return room;
                });
}

Measure::Room Measure::RoomOf(const CatalogueVariant& entry)
{
    return Once(entry.m_name,
                [&]
                {
                    Room room = {0, 0};
                    for (const CatalogueAlternative& alternative : entry.m_alternatives)
                    {
                        const Room part = RoomOf(alternative.m_type);
                        room = {std::max(room.m_size, part.m_size), std::max(room.m_whole, part.m_whole)};
                    }
                    return Room{InstanceHeader + Aligned(room.m_size), InstanceHeader + Aligned(room.m_whole)};
                });
}

Measure::Room Measure::RoomOf(const TypeNode& node)
{
    constexpr Room most = {32, 32}; // of all that is not told here
    switch (node.m_kind)
    {
    case TypeKind::Array:
    {
        const Room part = RoomOf(node.m_parts[0]);
        if (part.m_whole > 0 && node.m_count > s_maxSize / part.m_whole)
            return Checked({0, s_maxSize + 1});
        return {part.m_size * node.m_count, part.m_whole * node.m_count};
    }
    case TypeKind::Tuple:
    {
        Room room = {dumped::SizeOfTuple(node.m_parts.size()), 0};
        room.m_whole = room.m_size;
        for (const TypeNode& part : node.m_parts)
            room = Checked({room.m_size, room.m_whole + RoomOf(part).m_whole});
        return room;
    }
    case TypeKind::Choice: // holds its first alternative
        return Checked({most.m_size, most.m_whole + (node.m_parts.empty() ? 0 : RoomOf(node.m_parts[0]).m_whole)});
    case TypeKind::Class:
        if (const ReflectedClass* const known = TryFindReflectedClass(node.m_name.c_str()))
            return {known->m_size, known->m_size};
        return RoomOf(*m_types.FindClass(node.m_name));
    case TypeKind::Variant:
        if (const ReflectedVariant* const known = TryFindReflectedVariant(node.m_name.c_str()))
            return {known->m_size, known->m_size};
        return RoomOf(*m_types.FindVariant(node.m_name));
    case TypeKind::Typedef:
        if (const CatalogueTypedef* const entry = m_types.FindTypedef(node.m_name))
            return RoomOf(*entry);
        return most;
    default: return most;
    }
}

} // namespace kelm::language
