#pragma once

#include <klObject/objects/IObject.h>
#include <klPersistStore/api.h>

namespace kelm
{

// Where persistent objects are found by their identity. Used from any thread.
class KLPERSISTSTORE_API IObjectStore
{
public:
    // The object of that identity, brought into memory if need be and owned by the collector; null when there is none.
    virtual ptr<IPersistable> Load(ObjectId id) = 0;

    // Enters an object, which must not be null, and returns its identity, which the object is told (SetObjectId); an
    // object that has one keeps it and takes the place of what was stored under it.
    virtual ObjectId Store(ptr<IPersistable> object) = 0;

    virtual ~IObjectStore();
};

// The store of the process: an in-memory one, whose objects count as roots of the collector until it is cleared,
// unless the host has installed its own.
KLPERSISTSTORE_API IObjectStore& GetObjectStore();

// Installs the host's store, which is not owned and must outlive its use; null brings back the in-memory one.
KLPERSISTSTORE_API void SetObjectStore(IObjectStore* store);

// Empties the in-memory store.
KLPERSISTSTORE_API void ClearInMemoryObjectStore();

} // namespace kelm
