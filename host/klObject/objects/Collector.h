#pragma once

// The garbage collector: a tracing mark-and-sweep collector of the process.
//
// Objects registered with it are found from roots, marked through every handle and loaded persistent reference that a
// reached object holds, without recursion, and finalised and destroyed when nothing reaches them. Nothing is collected
// but when the host asks. Any number of threads may create and register objects at once; while CollectGarbage runs, no
// other thread may touch objects of the collector.

#include <klObject/api.h>
#include <klObject/objects/IObject.h>
#include <klUtils/types.h>

namespace kelm
{

// The collector's record of one object. Zero-initialised by whoever makes the object.
struct SysState
{
    SysState* m_next = nullptr;     // in the collector's list
    SysState* m_nextGrey = nullptr; // in the list of objects reached but not yet traced, while it is there
    ptr<IObject> m_object;          // the object that this is the record of
    uint32 m_mark = 0;              // the last collection that reached it
    uint16 m_making = 0;            // during which making it was registered (NewObjectsScope); 0: during none
    bool m_isRegistered = false;
};

// Hands a newly created object to the collector, which owns it from now on. A null handle is let through, and so is an
// object that was registered before.
KLOBJECT_API void RegisterGcObject(ptr<IObject> object);

// Keeps an object, and all that it reaches, alive. Belongs to the thread that uses it; any number may exist.
class KLOBJECT_API GcRoot
{
public:
    GcRoot();
    explicit GcRoot(ptr<IObject> object);
    GcRoot(const GcRoot& other);
    GcRoot& operator=(const GcRoot& other);
    GcRoot& operator=(ptr<IObject> object);
    ~GcRoot();

    ptr<IObject> get() const { return m_object; }

private:
    friend class Collector;

    ptr<IObject> m_object;
    GcRoot* m_previous;
    GcRoot* m_next;
};

// While one lives, every object that is registered counts as a root, whoever registers it on whatever thread, until
// none of those that live together is left. Whoever makes objects that nothing reaches yet holds one: reading a data
// source does, so that a host's function that it calls may collect.
class KLOBJECT_API NewObjectsScope
{
public:
    NewObjectsScope();
    NewObjectsScope(const NewObjectsScope&) = delete;
    NewObjectsScope& operator=(const NewObjectsScope&) = delete;
    ~NewObjectsScope();
};

// What the last collection did, and what there is.
struct GcCounts
{
    int64 m_live = 0;       // objects registered and not yet freed
    int64 m_lastFreed = 0;  // freed by the last collection
    int64 m_totalFreed = 0; // freed since the process began
    int64 m_collections = 0;
};

// Frees every registered object that no root reaches. What tracing throws (std::bad_alloc where values are nested so
// deeply that a stack segment is needed, or what an object's own VisitObjects throws) passes through, with nothing
// freed. Called from inside a collection (from a finaliser, a destructor or a VisitObjects) it does nothing and returns
// the counts as they are.
KLOBJECT_API GcCounts CollectGarbage();

KLOBJECT_API GcCounts GetGcCounts();

// Passes every handle in a variable of any reflected type that is not null to the visitor: in nested classes, embedded
// models, arrays, containers and variants, whatever their depth. For an object visitor, a persistent reference whose
// object is in memory is a handle to it; for a reference visitor, every reference that designates something counts. A
// class without reflected fields is visited through its type operations, where these can. A null byte code holds none.
// Byte code that cannot be followed (an unknown class, a container of handles that nothing here supports, a map of
// handles without a function table) fails an assertion.
KLOBJECT_API void VisitObjectsInReflectedVariable(ReflectionByteCode rbc, const void* p, IObjectVisitor& visitor);
KLOBJECT_API void VisitPrefsInReflectedVariable(ReflectionByteCode rbc, const void* p, IPrefVisitor& visitor);

// The same for the fields of a class instance.
KLOBJECT_API void VisitObjectsInClassInstance(const ReflectedClass& rc, const void* p, IObjectVisitor& visitor);

} // namespace kelm
