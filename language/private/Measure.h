#pragma once

// Whether types can be made of a catalogue, however wrong that is, and how much memory their variables take.

#include <kelmLanguage/Types.h>
#include <klUtils/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kelm::language
{

// Why a catalogue cannot be registered.
struct Unregistrable
{
    std::string m_why;
};

class Measure
{
public:
    static constexpr ssize_t InstanceHeader = 16; // of classes and variants

    explicit Measure(const TypeCatalogue& catalogue) : m_types(catalogue) {}

    // Everything of the catalogue. Throws.
    void Check();

    static ssize_t Aligned(ssize_t size) { return (size + 15) / 16 * 16; }

    // Of a variable, at the most.
    ssize_t SizeOf(const TypeNode& node) { return RoomOf(node).m_size; }
    ssize_t SizeOf(const CatalogueVariant& entry) { return RoomOf(entry).m_size; }

private:
    struct Room
    {
        ssize_t m_size;
        ssize_t m_whole; // with what a new one has elsewhere
    };

    void CheckName(const CatalogueEntry& entry);
    void CheckParts(const TypeNode& node) const; // of lists and the like too, which take no room themselves
    bool IsVoid(const TypeNode& node) const;

    static Room Checked(Room room);

    // Each named type is measured once. While it is, it must not be met again.
    template <class F>
    Room Once(const std::string& name, F measure);

    Room RoomOf(const CatalogueTypedef& entry);
    Room RoomOf(const CatalogueClass& entry);
    Room RoomOf(const CatalogueVariant& entry);
    Room RoomOf(const TypeNode& node);

    Types m_types;
    std::map<std::string, std::optional<Room>> m_rooms; // of named types, once they are known
    std::vector<std::string> m_measured;                // those that are being measured
};

} // namespace kelm::language
