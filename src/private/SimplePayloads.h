#pragma once

// The payloads of maps that do not nest: they are read before there is a place for them, so that an entry is not made
// in vain, and nothing is looked at twice.

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/text/private/Cursor.h>

namespace kelm
{

// An entry of a map of ours or of a foreign one, which is made when its payload is needed.
class NewEntry
{
public:
    NewEntry(const MapFns& fns, void* map, void* key) : m_ours(&fns), m_map(map), m_key(key) {}
    NewEntry(const ForeignMapFns& fns, void* map, void* key) : m_foreign(&fns), m_map(map), m_key(key) {}

    void* Insert() const { return m_ours != nullptr ? m_ours->Insert(m_map, m_key) : m_foreign->Insert(m_map, m_key); }

private:
    const MapFns* m_ours = nullptr;
    const ForeignMapFns* m_foreign = nullptr;
    void* m_map;
    void* m_key;
};

// A payload behind an operator, in an entry that is made when the token behind the payload is known to be one: the
// place behind it, or null where something is unusual; there is no entry then.
using SimplePayloadRead = text::Place (*)(text::Cursor& home, SubString op, const NewEntry& entry);

// Null for codes of types that are not simple.
SimplePayloadRead GetSimplePayloadRead(ETypeByteCode code);

} // namespace kelm
