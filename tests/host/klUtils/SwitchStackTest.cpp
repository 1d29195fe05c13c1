// The portable way, compiled here under another name: processors without a way of their own get it.

#define KELM_SWITCH_BY_CONTEXT
#define CallOnStack CallOnStackByContext
#include <klUtils/private/SwitchStack.cpp>
#undef CallOnStack

#include <klUtils/StackPointer.h>

#include <support/Depth.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace kelm
{
namespace
{

#if !defined(KELM_TEST_ASAN) && !defined(KELM_TEST_TSAN) // which would have to be told

struct alignas(16) Block
{
    char m_bytes[16];
};

TEST(SwitchByContext, CallsThereAndComesBack)
{
    std::vector<Block> stack(std::size_t(16) * 1024);
    std::uintptr_t there = 0;
    CallOnStackByContext([](void* pointer) { *static_cast<std::uintptr_t*>(pointer) = StackPointer(); }, &there,
                         stack.data(), stack.size() * sizeof(Block));
    EXPECT_GE(there, reinterpret_cast<std::uintptr_t>(stack.data()));
    EXPECT_LT(there, reinterpret_cast<std::uintptr_t>(stack.data() + stack.size()));
}

TEST(SwitchByContext, LetsExceptionsThrough)
{
    std::vector<Block> stack(std::size_t(16) * 1024);
    for (int i = 0; i < 3; ++i)
        EXPECT_THROW(CallOnStackByContext([](void*) { throw std::runtime_error("there"); }, nullptr, stack.data(),
                                          stack.size() * sizeof(Block)),
                     std::runtime_error);
}

#endif

} // namespace
} // namespace kelm
