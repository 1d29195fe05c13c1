// A program whose main thread ends as a thread, in the midst of a recursion over segments, and leaves deep values: the
// thread's, a key's and the program's. It ends with 0 when each was destroyed whole.

#include <klUtils/StackSegment.h>
#include <klUtils/xvector.h>

#include <cstdlib>

#include <pthread.h>
#include <unistd.h>

namespace
{

struct Nested
{
    kelm::xvector<Nested> m_children;
};

} // namespace

template <>
inline constexpr bool kelm::IsRelocatable<Nested> = true;

namespace
{

Nested MakeDeep()
{
    Nested chain;
    for (int i = 0; i < 200'000; ++i)
    {
        Nested outer;
        outer.m_children.push_back(std::move(chain));
        chain = std::move(outer);
    }
    return chain;
}

int s_numDestroyed = 0;

struct Owner
{
    ~Owner()
    {
        m_value.m_children.clear();
        ++s_numDestroyed;
    }
    Nested m_value = MakeDeep();
};

struct Judge
{
    ~Judge() { _exit(s_numDestroyed == 3 ? 0 : 1); }
};

const Judge s_judge;
const Owner s_owner;

void EndOnSegment(int depth)
{
    if (depth == 0)
        pthread_exit(nullptr);
    kelm::CallOnFreshSegment([&] { EndOnSegment(depth - 1); });
}

} // namespace

int main()
{
    thread_local const Owner threads;
    pthread_key_t key{};
    pthread_key_create(&key, [](void* owner) { delete static_cast<Owner*>(owner); });
    pthread_setspecific(key, new Owner);
    static_cast<void>(&threads);
    EndOnSegment(3);
}
