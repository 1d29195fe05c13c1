#pragma once

// How deep a test recurses that shows that depth has no limit: far beyond any thread's stack, as far as the kind of
// build allows.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define KELM_TEST_ASAN 1
#elif defined(__SANITIZE_THREAD__)
#define KELM_TEST_TSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELM_TEST_ASAN 1
#elif __has_feature(thread_sanitizer)
#define KELM_TEST_TSAN 1
#endif
#endif

namespace kelm
{

#if defined(KELM_TEST_ASAN)
inline constexpr long s_depth = 500'000; // frames are several times as large
inline constexpr std::size_t s_smallStack = 256 * 1024;
#elif defined(KELM_TEST_TSAN)
inline constexpr long s_depth = 20'000; // ThreadSanitizer follows 65536 calls and no more
inline constexpr std::size_t s_smallStack = 256 * 1024;
#else
inline constexpr long s_depth = 10'000'000;
inline constexpr std::size_t s_smallStack = 64 * 1024;
#endif

} // namespace kelm
