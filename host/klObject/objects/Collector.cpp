#include <klObject/objects/Collector.h>

#include <klObject/objects/private/Making.h>

#include <atomic>
#include <mutex>
#include <type_traits>
#include <utility>

namespace kelm
{

// How a collection goes.
//
// Each collection has a number, which no live object carries as its mark when it begins. An object is white while its
// mark is another number; grey when it has the number and stands in the list of grey objects; black when it has the
// number and has left that list. The invariant: no black object holds a handle to a white one. It holds at the start,
// where nothing is black; making what the roots designate grey keeps it; and an object turns black only while
// everything that it holds is made grey. So when no grey object is left, all that the roots reach is black, and every
// registered object that is still white is unreachable.
//
// The list of grey objects is threaded through the objects' own records, so marking needs neither recursion nor
// memory. When tracing fails nothing has changed but marks, and the next collection has a new number, for which they
// are all white again.
//
// Only then is the list of registered objects taken over and split: the black ones go back, the white ones are all
// finalised first, while every one of them is still whole, and destroyed after that. What a finaliser registers is on
// the new list and not looked at.
//
// An object that is reached but was never registered is traced like any other, and left alone.
//
// Objects that are being made, by a data source that is being read for one, may be held by nothing yet but local
// variables. Making goes on while there is a NewObjectsScope, and has a number, which every object that is registered
// then bears: those that bear the present one are roots. So making costs a scope two atomic operations and an object
// none, and a collection looks through all objects only where it runs amid making. The 15 bits that objects keep of the
// number come again; the worst of that is garbage that stays until the making ends.

namespace
{

// What an object whose constructor runs has in the place of the number of a making, which is none of those.
constexpr uint16 s_isBeingMade = 1;

// A list linked through SysState::m_next.
struct ObjectList
{
    SysState* m_first = nullptr;
    SysState* m_last = nullptr;

    void Append(SysState& state)
    {
        (m_first == nullptr ? m_first : m_last->m_next) = &state;
        m_last = &state;
        state.m_next = nullptr;
    }
};

class Marker final : public IObjectVisitor
{
public:
    explicit Marker(uint32 mark) : m_mark(mark) {}

    // Makes a white object grey.
    void Visit(const ptr<IObject>& object) override
    {
        if (!object)
            return;
        SysState& state = object.fns()->GetSysState(object.self());
        if (state.m_mark == m_mark)
            return;
        state.m_mark = m_mark;
        if (!state.m_isRegistered)
            state.m_object = object;
        state.m_nextGrey = std::exchange(m_firstGrey, &state);
    }

    // Turns grey objects black until none is left.
    void TraceAll()
    {
        while (m_firstGrey != nullptr)
        {
            const SysState& state = *m_firstGrey;
            m_firstGrey = state.m_nextGrey;
            state.m_object.fns()->VisitObjects(state.m_object.self(), *this);
        }
    }

    bool IsReached(const SysState& state) const { return state.m_mark == m_mark; }

private:
    uint32 m_mark;
    SysState* m_firstGrey = nullptr;
};

constinit thread_local bool t_isCollecting = false;

class CollectingScope
{
public:
    CollectingScope() { t_isCollecting = true; }
    ~CollectingScope() { t_isCollecting = false; }
    CollectingScope(const CollectingScope&) = delete;
    CollectingScope& operator=(const CollectingScope&) = delete;
};

} // namespace

// The state of the process's collector. It is initialised before any code runs and never destroyed, so that roots may
// be static objects.
class Collector
{
public:
    void Register(ptr<IObject> object);
    void Collect();
    GcCounts GetCounts() const;

    void AddRoot(GcRoot& root);
    void RemoveRoot(GcRoot& root);
    void SetRoot(GcRoot& root, ptr<IObject> object);

    void BeginMaking();
    void EndMaking();
    void EndMakingOf(SysState& state);

private:
    void Push(ObjectList objects);
    void VisitRoots(IObjectVisitor& visitor);
    void VisitNewObjects(IObjectVisitor& visitor);
    uint16 GetMaking() const;
    ObjectList TakeUnreached(const Marker& marker);
    void Free(ObjectList garbage) noexcept;
    uint32 NextMark() { return ++m_lastMark != 0 ? m_lastMark : ++m_lastMark; } // 0 marks what was never reached

    std::atomic<SysState*> m_objects = nullptr; // all registered objects, newest first

    std::atomic<int64> m_numEarly = 0; // objects that are registered, and whose constructors still run
    std::atomic<uint64> m_making = 0;  // the number of the present or last making, above how many scopes there are

    std::mutex m_rootsMutex;
    GcRoot* m_firstRoot = nullptr;

    std::mutex m_collectionMutex; // held by the one collection that runs
    uint32 m_lastMark = 0;

    std::atomic<int64> m_live = 0;
    std::atomic<int64> m_lastFreed = 0;
    std::atomic<int64> m_totalFreed = 0;
    std::atomic<int64> m_collections = 0;
};

namespace
{

constinit Collector s_collector;
static_assert(std::is_trivially_destructible_v<Collector>);

} // namespace

void Collector::Register(ptr<IObject> object)
{
    SysState& state = object.fns()->GetSysState(object.self());
    if (std::exchange(state.m_isRegistered, true))
        return;
    state.m_object = object;
    if (state.m_making == s_isBeingMade)
        ++m_numEarly;
    else
        state.m_making = GetMaking();
    m_live.fetch_add(1, std::memory_order_relaxed);
    Push({&state, &state});
}

// Elements are only ever added at the front or taken all at once, so a head that compares equal is the same list.
void Collector::Push(ObjectList objects)
{
    SysState* head = m_objects.load(std::memory_order_relaxed);
    do
        objects.m_last->m_next = head;
    while (
        !m_objects.compare_exchange_weak(head, objects.m_first, std::memory_order_release, std::memory_order_relaxed));
}

void Collector::AddRoot(GcRoot& root)
{
    const std::lock_guard lock(m_rootsMutex);
    root.m_previous = nullptr;
    root.m_next = m_firstRoot;
    if (m_firstRoot != nullptr)
        m_firstRoot->m_previous = &root;
    m_firstRoot = &root;
}

void Collector::RemoveRoot(GcRoot& root)
{
    const std::lock_guard lock(m_rootsMutex);
    (root.m_previous == nullptr ? m_firstRoot : root.m_previous->m_next) = root.m_next;
    if (root.m_next != nullptr)
        root.m_next->m_previous = root.m_previous;
}

void Collector::SetRoot(GcRoot& root, ptr<IObject> object)
{
    const std::lock_guard lock(m_rootsMutex);
    root.m_object = object;
}

namespace
{

constexpr int s_scopeBits = 32;

uint32 CountScopes(uint64 making)
{
    return static_cast<uint32>(making);
}

} // namespace

// The first scope begins a new making.
void Collector::BeginMaking()
{
    uint64 before = m_making.load(std::memory_order_relaxed);
    uint64 after;
    do
        after = CountScopes(before) > 0 ? before + 1 : before + (uint64(1) << s_scopeBits) + 1;
    while (!m_making.compare_exchange_weak(before, after, std::memory_order_relaxed));
}

void Collector::EndMaking()
{
    m_making.fetch_sub(1, std::memory_order_relaxed);
}

void Collector::EndMakingOf(SysState& state)
{
    state.m_making = GetMaking();
    if (state.m_isRegistered)
        --m_numEarly;
}

// What an object bears that is registered now: never 0 while objects are being made.
uint16 Collector::GetMaking() const
{
    constexpr uint16 isMaking = 0x8000;
    const uint64 making = m_making.load(std::memory_order_relaxed);
    return CountScopes(making) > 0 ? static_cast<uint16>(making >> s_scopeBits | isMaking) : 0;
}

void Collector::VisitNewObjects(IObjectVisitor& visitor)
{
    const uint16 making = GetMaking();
    if (making == 0 && m_numEarly == 0)
        return;
    for (const SysState* state = m_objects.load(std::memory_order_acquire); state != nullptr; state = state->m_next)
        if (state->m_making != 0 && (state->m_making == making || state->m_making == s_isBeingMade))
            visitor.Visit(state->m_object);
}

// The lock is not held while objects are traced or freed: these may own roots.
void Collector::VisitRoots(IObjectVisitor& visitor)
{
    const std::lock_guard lock(m_rootsMutex);
    for (const GcRoot* root = m_firstRoot; root != nullptr; root = root->m_next)
        visitor.Visit(root->m_object);
}

void Collector::Collect()
{
    if (t_isCollecting)
        return;
    const std::lock_guard lock(m_collectionMutex);
    const CollectingScope collecting;

    Marker marker(NextMark());
    VisitRoots(marker);
    VisitNewObjects(marker);
    marker.TraceAll();
    Free(TakeUnreached(marker));
}

ObjectList Collector::TakeUnreached(const Marker& marker)
{
    ObjectList reached;
    ObjectList unreached;
    SysState* next = m_objects.exchange(nullptr, std::memory_order_acquire);
    while (next != nullptr)
    {
        SysState& state = *std::exchange(next, next->m_next);
        (marker.IsReached(state) ? reached : unreached).Append(state);
    }
    if (reached.m_first != nullptr)
        Push(reached);
    return unreached;
}

void Collector::Free(ObjectList garbage) noexcept
{
    for (const SysState* state = garbage.m_first; state != nullptr; state = state->m_next)
        state->m_object.fns()->OnGarbageCollect(state->m_object.self());

    int64 freed = 0;
    for (const SysState* next = garbage.m_first; next != nullptr; ++freed)
    {
        const ptr<IObject> object = next->m_object;
        next = next->m_next;
        object.fns()->Destroy(object.self());
    }
    m_live -= freed;
    m_lastFreed = freed;
    m_totalFreed += freed;
    ++m_collections;
}

GcCounts Collector::GetCounts() const
{
    return {m_live, m_lastFreed, m_totalFreed, m_collections};
}

void RegisterGcObject(ptr<IObject> object)
{
    if (object)
        s_collector.Register(object);
}

GcCounts CollectGarbage()
{
    s_collector.Collect();
    return s_collector.GetCounts();
}

GcCounts GetGcCounts()
{
    return s_collector.GetCounts();
}

void BeginMakingOf(SysState& state)
{
    state.m_making = s_isBeingMade;
}

void EndMakingOf(SysState& state)
{
    s_collector.EndMakingOf(state);
}

NewObjectsScope::NewObjectsScope()
{
    s_collector.BeginMaking();
}

NewObjectsScope::~NewObjectsScope()
{
    s_collector.EndMaking();
}

GcRoot::GcRoot() : GcRoot(nullptr) {}

GcRoot::GcRoot(ptr<IObject> object) : m_object(object)
{
    s_collector.AddRoot(*this);
}

GcRoot::GcRoot(const GcRoot& other) : GcRoot(other.m_object) {}

GcRoot& GcRoot::operator=(const GcRoot& other)
{
    return *this = other.m_object;
}

GcRoot& GcRoot::operator=(ptr<IObject> object)
{
    s_collector.SetRoot(*this, object);
    return *this;
}

GcRoot::~GcRoot()
{
    s_collector.RemoveRoot(*this);
}

} // namespace kelm
