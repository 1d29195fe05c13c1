#include <klUtils/StackSegment.h>

#include <klUtils/private/StackWatchers.h>
#include <klUtils/private/SwitchStack.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/resource.h>

namespace kelm
{

constinit thread_local StackInUse t_stackInUse __attribute__((tls_model("initial-exec")));

namespace
{

constexpr std::size_t operator""_KiB(unsigned long long count)
{
    return static_cast<std::size_t>(count) << 10;
}

// Sizes of segments, their guards included. Address space only: pages are backed as they are touched.
constexpr std::size_t s_guardSize = 64_KiB;
constexpr std::size_t s_smallestSegment = 1024_KiB;
constexpr std::size_t s_largestSegment = 16 * 1024_KiB;

// However high its limit, no more of the main thread's stack is used: the system keeps at least 128 MiB free for it.
constexpr std::size_t s_mostOfMainStack = 64 * 1024_KiB;

#if defined(KELM_ASAN) || defined(KELM_TSAN)
constexpr std::size_t s_usualReserve = 384_KiB; // frames are larger
#else
constexpr std::size_t s_usualReserve = 192_KiB;
#endif
constexpr std::size_t s_smallestReserve = 64_KiB;
constexpr std::size_t s_largestReserve = std::size_t(1) << 40; // sums of sizes stay numbers

constinit std::atomic<std::size_t> s_reserve = s_usualReserve;

struct Bounds
{
    std::uintptr_t m_low = 0; // both 0 while unknown
    std::uintptr_t m_high = 0;

    std::size_t Size() const { return m_high - m_low; }
    bool Contains(std::uintptr_t address) const { return m_low <= address && address < m_high; }
};

void Use(Bounds bounds)
{
    const std::size_t reserve = GetStackReserve();
    if (bounds.Size() < 2 * reserve)
        t_stackInUse = {bounds.m_high, 0, bounds.m_low};
    else
        t_stackInUse = {bounds.m_low + reserve, bounds.Size() - reserve, bounds.m_low};
}

// --- Segments --------------------------------------------------------------------------------------------------------

// The bounds without the guard. Unmapped by whoever is the last to have it: a thread's spare is a plain value, so that
// it is there at any time, before and after every destructor.
struct Segment : Bounds
{
    std::uintptr_t m_watchedAs = 0;
};

// Empty where the system has none of that size.
Segment Map(std::size_t size) noexcept
{
    void* const base = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (base == MAP_FAILED)
        return {};
    if (size == s_largestSegment)
        madvise(base, size, MADV_HUGEPAGE); // most of a deep recursion's time is its stack's first touch
    if (mprotect(base, s_guardSize, PROT_NONE) != 0)
    {
        munmap(base, size);
        return {};
    }
    const auto low = reinterpret_cast<std::uintptr_t>(base);
    Segment segment{{low + s_guardSize, low + size}};
    segment.m_watchedAs = AskValgrind(VALGRIND_REGISTER_STACK, segment.m_low, segment.m_high);
    return segment;
}

void Unmap(const Segment& segment) noexcept
{
    if (segment.m_high == 0)
        return;
    AskValgrind(VALGRIND_FORGET_STACK, segment.m_watchedAs);
    munmap(reinterpret_cast<void*>(segment.m_low - s_guardSize), segment.Size() + s_guardSize);
}

// What runs out of a stack is likely to need as much again, so segments double.
Segment MapBehind(std::size_t callersStack)
{
    std::size_t smallest = s_smallestSegment;
    while (smallest < 4 * GetStackReserve())
        smallest *= 2;
    std::size_t size = smallest;
    while (size < s_largestSegment && size < 2 * callersStack)
        size *= 2;
    for (; size >= smallest; size /= 2)
        if (const Segment segment = Map(size); segment.m_high != 0)
            return segment;
    throw std::bad_alloc();
}

// --- What a thread keeps ---------------------------------------------------------------------------------------------

enum class EKeeping
{
    FIRST, // nothing was kept yet
    KEEPS,
    ENDED // nobody is left who would unmap what is kept
};

// No destructors here: the thread's other variables, and the program's, may be destroyed later and nest deeply.
struct ThreadStacks
{
    Bounds m_own;
    Segment m_spare; // a recursion may go to and fro across the end of a stack
    EKeeping m_keeping = EKeeping::FIRST;
    unsigned m_numLow = 0;
};

constinit thread_local ThreadStacks t_stacks __attribute__((tls_model("initial-exec")));

// Runs after the destructors of the thread's variables, among those of other keys. They may still nest.
void EndThread(void*)
{
    Unmap(std::exchange(t_stacks.m_spare, {}));
    t_stacks.m_keeping = EKeeping::ENDED;
}

// A key needs no memory for its destructor, other than the destructor of a thread_local variable. The main thread's
// does not run when the program returns from it, which suits static variables. This library is never unloaded.
bool AskForEndThread()
{
    static const auto [key, isThere] = []
    {
        pthread_key_t made = 0;
        const bool isMade = pthread_key_create(&made, EndThread) == 0;
        return std::pair(made, isMade);
    }();
    return isThere && pthread_setspecific(key, &t_stacks) == 0;
}

// Not inline, nor is GiveBack: behind a call a coroutine may be on another thread, whose variables lie elsewhere.
[[gnu::noinline]] Segment Take()
{
    if (t_stacks.m_spare.m_high != 0 && t_stacks.m_spare.Size() >= 2 * GetStackReserve())
        return std::exchange(t_stacks.m_spare, {});
    const StackInUse& stack = t_stackInUse;
    return MapBehind(stack.Contains(StackPointer()) ? stack.High() - stack.m_low : 0);
}

[[gnu::cold, gnu::noinline]] void KeepTheLarger(Segment segment) noexcept
{
    if (t_stacks.m_keeping == EKeeping::FIRST && AskForEndThread())
        t_stacks.m_keeping = EKeeping::KEEPS;
    if (t_stacks.m_keeping == EKeeping::KEEPS && t_stacks.m_spare.Size() < segment.Size())
        std::swap(t_stacks.m_spare, segment);
    Unmap(segment);
}

[[gnu::noinline]] void GiveBack(const Segment& segment) noexcept
{
    if (t_stacks.m_keeping == EKeeping::KEEPS && t_stacks.m_spare.m_high == 0)
        t_stacks.m_spare = segment;
    else
        KeepTheLarger(segment);
}

class SegmentLease
{
public:
    SegmentLease() : m_segment(Take()) {}
    ~SegmentLease() { GiveBack(m_segment); }
    SegmentLease(const SegmentLease&) = delete;
    SegmentLease& operator=(const SegmentLease&) = delete;

    void* Low() const { return reinterpret_cast<void*>(m_segment.m_low); }
    std::size_t Size() const { return m_segment.Size(); }

private:
    const Segment m_segment;
};

// --- The thread's own stack ------------------------------------------------------------------------------------------

// Above it nothing but the program's file name, its end and a null pointer: so the system lays it out. 0: unknown.
std::uintptr_t TopOfMainStack()
{
    static const std::uintptr_t top = []
    {
        constexpr std::uintptr_t page = 4096;
        const auto name = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
        if (name == nullptr)
            return std::uintptr_t(0); // GCOVR_EXCL_LINE: systems of today give the name
        const auto end = reinterpret_cast<std::uintptr_t>(name) + std::strlen(name) + 1 + sizeof(void*);
        return (end + page - 1) / page * page;
    }();
    return top;
}

bool IsOnMainStack(std::uintptr_t stackPointer)
{
    const std::uintptr_t depth = TopOfMainStack() - stackPointer;
    return 0 < depth && depth <= s_mostOfMainStack;
}

// The limit may be raised while the program runs. Needs no file, unlike asking the thread library.
Bounds BoundsOfMainStack()
{
    rlimit limit;
    if (getrlimit(RLIMIT_STACK, &limit) != 0)
        return {}; // GCOVR_EXCL_LINE: what is asked for is right
    const std::uintptr_t top = TopOfMainStack();
    return {top - std::min<std::size_t>(limit.rlim_cur, s_mostOfMainStack), top};
}

Bounds BoundsOfThread()
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return {};
    void* low = nullptr;
    std::size_t size = 0;
    const bool isKnown = pthread_attr_getstack(&attributes, &low, &size) == 0;
    pthread_attr_destroy(&attributes);
    const auto begin = reinterpret_cast<std::uintptr_t>(low);
    if (!isKnown)
        return {}; // GCOVR_EXCL_LINE: the attributes have just been had
    AskValgrind(VALGRIND_REGISTER_STACK, begin, begin + size);
    return {begin, begin + size};
}

// The thread's own stack if this is it; nothing otherwise, or where the thread's own cannot be learned.
Bounds FindOwnStack(std::uintptr_t stackPointer)
{
    Bounds& own = t_stacks.m_own;
    if (IsOnMainStack(stackPointer))
        own = BoundsOfMainStack();
    else if (own.m_high == 0)
        own = BoundsOfThread();
    return own.Contains(stackPointer) ? own : Bounds();
}

// Where a segment has to be mapped, a further system call does not matter; otherwise seldom.
bool MayLimitHaveBeenRaised(std::uintptr_t stackPointer)
{
    return IsOnMainStack(stackPointer) && (t_stacks.m_spare.m_high == 0 || ++t_stacks.m_numLow % 64 == 0);
}

} // namespace

bool IsStackLowHere(std::uintptr_t stackPointer)
{
    if (!t_stackInUse.Contains(stackPointer) || MayLimitHaveBeenRaised(stackPointer))
        Use(FindOwnStack(stackPointer));
    return !t_stackInUse.HasRoomAt(stackPointer);
}

OnStack::OnStack(const void* low, std::size_t size) noexcept : m_before(t_stackInUse)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(low);
    Use({begin, begin + size});
}

// What was in use before may be gone by now, unless this runs on it.
OnStack::~OnStack()
{
    t_stackInUse = m_before.Contains(StackPointer()) ? m_before : StackInUse();
}

void RunOnFreshSegment(void (*call)(void*), void* context)
{
    const SegmentLease segment;
    const OnStack there(segment.Low(), segment.Size());
#if defined(KELM_ASAN) || defined(KELM_TSAN)
    WatchedCall watched(call, context, segment.Low(), segment.Size());
    call = WatchedCall::Run;
    context = &watched;
#endif
    CallOnStack(call, context, segment.Low(), segment.Size());
}

void SetStackReserve(std::size_t bytes)
{
    s_reserve.store(std::clamp(bytes, s_smallestReserve, s_largestReserve), std::memory_order_relaxed);
    Use({t_stackInUse.m_low, t_stackInUse.High()});
}

std::size_t GetStackReserve()
{
    return s_reserve.load(std::memory_order_relaxed);
}

} // namespace kelm
