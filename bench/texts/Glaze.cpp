// glaze: calls as its manual shows them, with its options as they come.

#include "Digest.h"
#include "PlainClasses.h"
#include "TextPeer.h"

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

std::string& TextOf(void* text)
{
    return *static_cast<std::string*>(text);
}

template <class Class>
struct Way
{
    static bool DigestOfText(void* text, std::uint64_t& digest)
    {
        Class object;
        if (glz::read_json(object, TextOf(text)))
            return false;
        digest = DigestOf(object);
        return true;
    }

    static void Read(void* text)
    {
        Class object;
        const bool isBad = bool(glz::read_json(object, TextOf(text)));
        Use(isBad);
        Use(object);
    }

    static void* MakeObject(void* text)
    {
        auto* const object = new Class();
        const bool isBad = bool(glz::read_json(*object, TextOf(text)));
        Use(isBad);
        return object;
    }

    static void DropObject(void* object) { delete static_cast<Class*>(object); }

    static bool DigestOfWritten(void* object, std::uint64_t& digest)
    {
        std::string written;
        return !glz::write_json(*static_cast<Class*>(object), written) && DigestOfText(&written, digest);
    }

    static void Write(void* object)
    {
        std::string written;
        const bool isBad = bool(glz::write_json(*static_cast<Class*>(object), written));
        Use(isBad);
        Use(written);
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

constexpr TextPeer s_peers[] = {{"glaze", MakeText, DropText, {BENCH_ROOT_CLASSES(BENCH_FNS)}}};

} // namespace

} // namespace kelm::bench

BENCH_EXPORT_PEERS(kelm::bench::s_peers)
