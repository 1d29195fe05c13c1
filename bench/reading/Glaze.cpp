// glaze: a call as its manual shows it, with its options as they come.

#include "Digest.h"
#include "PlainClasses.h"
#include "ReadingPeer.h"

#include <glaze/json.hpp>

#define BENCH_ENUMERATOR(NAME)      , NAME
#define BENCH_ENUMERATE(FIRST, ...) glz::enumerate(__VA_ARGS__)
#define BENCH_ENUM_META(NAME)                                                                                          \
    template <>                                                                                                        \
    struct glz::meta<plain::NAME>                                                                                      \
    {                                                                                                                  \
        using enum plain::NAME;                                                                                        \
        static constexpr auto value = BENCH_ENUM_VALUES(0 BENCH_##NAME(BENCH_ENUMERATOR));                             \
    };
#define BENCH_ENUM_VALUES(...) BENCH_ENUMERATE(__VA_ARGS__)
BENCH_ENUMS(BENCH_ENUM_META)

namespace kelm::bench
{

namespace
{

using namespace plain;

template <class Class>
struct Way
{
    static bool Digest(void* text, std::uint64_t& digest)
    {
        Class object;
        if (glz::read_json(object, *static_cast<std::string*>(text)))
            return false;
        digest = DigestOf(object);
        return true;
    }

    static void Read(void* text)
    {
        Class object;
        const bool isBad = bool(glz::read_json(object, *static_cast<std::string*>(text)));
        Use(isBad);
        Use(object);
    }
};

// A string that may grow: glaze puts a padding behind the text and takes it away again.
void* MakeText(const char* text, std::size_t size)
{
    auto* const made = new std::string();
    made->reserve(size + 256);
    made->assign(text, size);
    return made;
}

void DropText(void* text)
{
    delete static_cast<std::string*>(text);
}

constexpr ReadingPeer s_peers[] = {{"glaze", MakeText, DropText, {BENCH_ROOT_CLASSES(BENCH_ROOT_FNS)}}};

} // namespace

} // namespace kelm::bench

extern "C" __attribute__((visibility("default")))
const kelm::bench::ReadingPeers KelmBenchReadingPeers = {kelm::bench::s_peers, std::size(kelm::bench::s_peers)};
