#pragma once

// How deep a test recurses that shows that depth has no limit: far beyond any thread's stack, as far as the kind of
// build allows. Sanitizers multiply the size of every frame; ThreadSanitizer follows 65536 calls and no more.
//
// s_depth is for one call a level, s_nesting for what nests through several.

#include <cstddef>
#include <string>

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
inline constexpr long s_depth = 500'000;
inline constexpr int s_nesting = 100'000;
inline constexpr std::size_t s_smallStack = 256 * 1024;
#elif defined(KELM_TEST_TSAN)
inline constexpr long s_depth = 20'000;
inline constexpr int s_nesting = 4'000;
inline constexpr std::size_t s_smallStack = 256 * 1024;
#else
inline constexpr long s_depth = 10'000'000;
inline constexpr int s_nesting = 1'000'000;
inline constexpr std::size_t s_smallStack = 64 * 1024;
#endif

inline std::string Repeated(const std::string& text, int count)
{
    std::string repeated;
    repeated.reserve(text.size() * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        repeated += text;
    return repeated;
}

} // namespace kelm
