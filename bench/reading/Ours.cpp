#include "Ours.h"

#include "Digest.h"
#include "OurClasses.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/objects/Collector.h>

#include <cstdio>

namespace kelm::bench
{

namespace
{

using namespace ours;

const xstring& TextOf(const void* text)
{
    return *static_cast<const xstring*>(text);
}

ptr<IObject> ReadObject(const xstring& text)
{
    LexScannerException error("", LSToken());
    const ptr<IObject> object = ParseDataSource(text, error);
    if (!object)
        std::fprintf(stderr, "KelmScript: %s\n", error.what());
    return object;
}

template <class Class>
struct Way
{
    static bool Digest(void* text, std::uint64_t& digest)
    {
        const ptr<IObject> object = ReadObject(TextOf(text));
        if (object)
            digest = DigestOf(*static_cast<const Class*>(object.self()));
        CollectGarbage();
        return bool(object);
    }

    static void Read(void* text)
    {
        {
            const ptr<IObject> object = ReadObject(TextOf(text));
            Use(object);
        }
        CollectGarbage();
    }
};

void* MakeText(const char* text, std::size_t size)
{
    return new xstring(text, static_cast<ssize_t>(size));
}

void DropText(void* text)
{
    delete static_cast<xstring*>(text);
}

constexpr ReadingPeer s_ours = {"KelmScript", MakeText, DropText, {BENCH_ROOT_CLASSES(BENCH_ROOT_FNS)}};

} // namespace

const ReadingPeer& GetOurs()
{
    static const bool isRegistered = []
    {
#define BENCH_REGISTER(NAME) RegisterTypes<NAME>(nullptr);
        Register_Project_klKelmScript();
        BENCH_ENUMS(BENCH_REGISTER)
        BENCH_INNER_CLASSES(BENCH_REGISTER)
        BENCH_ROOT_CLASSES(BENCH_REGISTER)
#undef BENCH_REGISTER
        return true;
    }();
    static_cast<void>(isRegistered);
    return s_ours;
}

} // namespace kelm::bench
