#include "Ours.h"

#include "Digest.h"
#include "OurClasses.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/xostream.h>

namespace kelm::bench
{

namespace
{

using namespace ours;

constexpr long s_pageSize = 4096;

const xstring& TextOf(const void* text)
{
    return *static_cast<const xstring*>(text);
}

ptr<IObject> ReadObject(const xstring& text)
{
    LexScannerException error("", LSToken());
    return ParseDataSource(text, error);
}

template <class Class>
struct Way
{
    static bool DigestOfText(void* text, std::uint64_t& digest)
    {
        const GcRoot object(ReadObject(TextOf(text)));
        if (object.get())
            digest = DigestOf(*static_cast<const Class*>(object.get().self()));
        return bool(object.get());
    }

    // The text may be one that is refused.
    static void Read(void* text)
    {
        {
            const ptr<IObject> object = ReadObject(TextOf(text));
            Use(object);
        }
        CollectGarbage();
    }

    static void* MakeObject(void* text) { return new GcRoot(ReadObject(TextOf(text))); }

    static void DropObject(void* object) { delete static_cast<GcRoot*>(object); }

    static bool DigestOfWritten(void* object, std::uint64_t& digest)
    {
        StringStream stream(s_pageSize);
        WriteObject(stream, static_cast<GcRoot*>(object)->get());
        xstring written = stream.GetString();
        return DigestOfText(&written, digest);
    }

    static void Write(void* object)
    {
        StringStream stream(s_pageSize);
        WriteObject(stream, static_cast<GcRoot*>(object)->get());
        Use(stream);
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

constexpr TextPeer s_ours = {"KelmScript", MakeText, DropText, {BENCH_ROOT_CLASSES(BENCH_FNS)}};

} // namespace

const TextPeer& GetOurs()
{
    static const bool isRegistered = []
    {
        Register_Project_klKelmScript();
        RegisterOurClasses();
        return true;
    }();
    static_cast<void>(isRegistered);
    return s_ours;
}

} // namespace kelm::bench
