#include <klUtils/StackSegment.h>

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>

#if defined(__SANITIZE_ADDRESS__)
#define KELM_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELM_ASAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define KELM_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KELM_TSAN 1
#endif
#endif

#ifdef KELM_ASAN
#include <sanitizer/common_interface_defs.h>
#endif
#ifdef KELM_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace kelm
{

constinit thread_local std::uintptr_t t_stackLimit = UINTPTR_MAX;

namespace
{

// Address space only: pages are backed as they are touched.
constexpr std::size_t s_segmentSize = std::size_t(16) << 20;

// What is kept free below the limit, for whatever runs between two checks: formatting a message, throwing it,
// sanitizers' larger frames. Stacks too small for it keep a quarter.
constexpr std::size_t s_reserve = std::size_t(192) << 10;

struct Bounds
{
    std::uintptr_t m_low = 0; // both 0 while unknown
    std::uintptr_t m_high = 0;

    bool Contains(std::uintptr_t address) const { return m_low <= address && address < m_high; }
    std::uintptr_t Limit() const
    {
        const std::size_t size = m_high - m_low;
        return m_low + (s_reserve < size / 4 ? s_reserve : size / 4);
    }
};

constinit thread_local Bounds t_bounds;

void UseBounds(Bounds bounds)
{
    t_bounds = bounds;
    t_stackLimit = bounds.Limit();
}

Bounds BoundsOfThread()
{
    Bounds bounds;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return bounds;
    void* low = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &low, &size) == 0)
    {
        bounds.m_low = reinterpret_cast<std::uintptr_t>(low);
        bounds.m_high = bounds.m_low + size;
    }
    pthread_attr_destroy(&attributes);
    return bounds;
}

// An address range with an inaccessible page below it, so that overrunning a segment faults like overrunning a stack.
class Segment
{
public:
    Segment()
        : m_base(mmap(nullptr, s_segmentSize, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0))
    {
        if (m_base == MAP_FAILED)
            throw std::bad_alloc();
        if (mprotect(m_base, s_guardSize, PROT_NONE) != 0)
        {
            munmap(m_base, s_segmentSize);
            throw std::bad_alloc();
        }
    }
    ~Segment() { munmap(m_base, s_segmentSize); }
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    void* Base() const { return static_cast<char*>(m_base) + s_guardSize; }
    std::size_t Size() const { return s_segmentSize - s_guardSize; }
    Bounds GetBounds() const
    {
        const auto low = reinterpret_cast<std::uintptr_t>(Base());
        return {low, low + Size()};
    }

private:
    static constexpr std::size_t s_guardSize = 4096;

    void* m_base;
};

// A recursion may go to and fro across the end of a stack, so each thread keeps one segment for its next call.
thread_local std::unique_ptr<Segment> t_spareSegment;

class SegmentLease
{
public:
    SegmentLease() : m_segment(t_spareSegment ? std::move(t_spareSegment) : std::make_unique<Segment>()) {}
    ~SegmentLease()
    {
        if (!t_spareSegment)
            t_spareSegment = std::move(m_segment);
    }
    SegmentLease(const SegmentLease&) = delete;
    SegmentLease& operator=(const SegmentLease&) = delete;

    const Segment& Get() const { return *m_segment; }

private:
    std::unique_ptr<Segment> m_segment;
};

// One call on its way to a segment and back. Lives on the caller's stack.
struct Crossing
{
    void (*m_call)(void*);
    void* m_context;
    std::exception_ptr m_failure;
    ucontext_t m_caller;
    ucontext_t m_callee;
#ifdef KELM_ASAN
    const void* m_callerBottom = nullptr;
    std::size_t m_callerSize = 0;
#endif
#ifdef KELM_TSAN
    void* m_callerFiber = __tsan_get_current_fiber();
#endif
};

constinit thread_local Crossing* t_crossing = nullptr;

// The first frame on a segment. No exception may pass it, since there is no frame below to unwind to.
void EnterSegment()
{
    Crossing& crossing = *t_crossing;
#ifdef KELM_ASAN
    __sanitizer_finish_switch_fiber(nullptr, &crossing.m_callerBottom, &crossing.m_callerSize);
#endif
    try
    {
        crossing.m_call(crossing.m_context);
    }
    catch (...)
    {
        crossing.m_failure = std::current_exception();
    }
#ifdef KELM_ASAN
    __sanitizer_start_switch_fiber(nullptr, crossing.m_callerBottom, crossing.m_callerSize);
#endif
#ifdef KELM_TSAN
    // Does what returning would do, except that the sanitizer would count the return among the caller's.
    __tsan_switch_to_fiber(crossing.m_callerFiber, 0);
    setcontext(&crossing.m_caller);
#endif
}

void Switch(Crossing& crossing, const Segment& segment)
{
    static_cast<void>(segment);
#ifdef KELM_TSAN
    void* const fiber = __tsan_create_fiber(0);
    __tsan_switch_to_fiber(fiber, 0);
#endif
#ifdef KELM_ASAN
    void* fakeStack = nullptr;
    __sanitizer_start_switch_fiber(&fakeStack, segment.Base(), segment.Size());
#endif
    swapcontext(&crossing.m_caller, &crossing.m_callee);
#ifdef KELM_ASAN
    __sanitizer_finish_switch_fiber(fakeStack, nullptr, nullptr);
#endif
#ifdef KELM_TSAN
    __tsan_destroy_fiber(fiber);
#endif
}

} // namespace

bool IsStackLowHere(std::uintptr_t frame)
{
    if (t_bounds.m_high == 0)
    {
        const Bounds bounds = BoundsOfThread();
        UseBounds(bounds);
    }
    return t_bounds.Contains(frame) && frame < t_stackLimit;
}

void RunOnFreshSegment(void (*call)(void*), void* context)
{
    const SegmentLease lease;
    const Segment& segment = lease.Get();
    Crossing crossing{};
    crossing.m_call = call;
    crossing.m_context = context;
    getcontext(&crossing.m_callee);
    crossing.m_callee.uc_stack.ss_sp = segment.Base();
    crossing.m_callee.uc_stack.ss_size = segment.Size();
    crossing.m_callee.uc_link = &crossing.m_caller;
    makecontext(&crossing.m_callee, EnterSegment, 0);

    const Bounds callersBounds = t_bounds;
    t_crossing = &crossing;
    UseBounds(segment.GetBounds());
    Switch(crossing, segment);
    UseBounds(callersBounds);

    if (crossing.m_failure)
        std::rethrow_exception(std::exchange(crossing.m_failure, nullptr));
}

} // namespace kelm
