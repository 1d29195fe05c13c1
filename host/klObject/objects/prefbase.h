#pragma once

#include <klObject/api.h>
#include <klObject/objects/CastObject.h>
#include <klObject/objects/IObject.h>

namespace kelm
{

// A persistent reference: the identity of an object in its store, and the object once it is in memory. Three words,
// copied as bytes. What it references is kept alive by the collector as by a handle.
class KLOBJECT_API prefbase
{
public:
    // The object, loaded through the installed loader where only its identity is known yet; null when the reference
    // designates none or the loader does not find it. Passes on what the loader throws.
    ptr<IPersistable> Get() const;

    // Makes the reference designate `p`, or nothing when it is null.
    void Set(ptr<IPersistable> p);

    // Makes the reference designate the object of that identity, to be loaded when it is asked for.
    void SetObjectId(ObjectId id);

    // The identity of what it designates; 0 for none, and for an object that no store has seen.
    ObjectId GetObjectId() const;

    // The object if it is in memory already; never loads.
    ptr<IPersistable> GetLoaded() const { return m_object; }

private:
    ObjectId m_id = 0;
    mutable ptr<IPersistable> m_object;
};

static_assert(sizeof(prefbase) == 24);

// The typed form, for the fields of C++ classes.
template <class T>
class pref : public prefbase
{
public:
    // The object's data; null as Get is. An object that is no T, which a text may have named, fails an assertion that
    // tells both classes; of TryGet it is null.
    T* operator->() const { return CastObject<T>(Get()); }
    T* TryGet() const { return TryCastObject<T>(Get()); }
};

// Finds the object of an identity, from any thread; null when there is none.
using ObjectLoader = ptr<IPersistable> (*)(ObjectId id, void* context);

// Installs the loader of the process; null installs the default, which finds nothing.
KLOBJECT_API void SetObjectLoader(ObjectLoader loader, void* context);

} // namespace kelm
