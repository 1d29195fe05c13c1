// simdjson on demand, straight into the objects, members looked up in the order in which they stand: once as a single
// call does it, from any text, and once with what its manual recommends for many calls, the parser's buffers kept from
// call to call and the text in padded memory already.

#include "Digest.h"
#include "PlainClasses.h"
#include "TextPeer.h"

#include <simdjson.h>

#include <cstdlib>

namespace kelm::bench
{

namespace
{

using namespace plain;
namespace ondemand = simdjson::ondemand;

struct UnknownEnumerator
{
};

template <class T>
void ReadMembers(ondemand::object& object, T& out);

template <class T>
void ReadValue(ondemand::value value, T& out)
{
    if constexpr (std::is_same_v<T, bool>)
        out = value.get_bool();
    else if constexpr (std::is_integral_v<T>)
        out = static_cast<T>(std::int64_t(value.get_int64()));
    else if constexpr (std::is_floating_point_v<T>)
        out = value.get_double();
    else if constexpr (std::is_same_v<T, String>)
        out = std::string_view(value.get_string());
    else if constexpr (std::is_enum_v<T>)
    {
        const std::string_view written = value.get_string();
        const auto names = NamesOf(T());
        std::size_t i = 0;
        while (i < names.size() && written != names[i])
            ++i;
        if (i == names.size())
            throw UnknownEnumerator();
        out = static_cast<T>(i);
    }
    else if constexpr (std::is_same_v<T, Counts>)
        for (auto field : value.get_object())
            out.emplace(std::string_view(field.unescaped_key()), std::int64_t(field.value().get_int64()));
    else if constexpr (requires { out.emplace_back(); })
        for (auto element : value.get_array())
            ReadValue(element.value(), out.emplace_back());
    else
    {
        ondemand::object object = value.get_object();
        ReadMembers(object, out);
    }
}

template <class T>
void ReadMembers(ondemand::object& object, T& out)
{
    ForEachMember(out, [&object](std::string_view name, auto& member)
                  { ReadValue(object.find_field(name).value(), member); });
}

struct PlainText
{
    static void* Make(const char* text, std::size_t size) { return new std::string(text, size); }
    static void Drop(void* text) { delete static_cast<std::string*>(text); }

    template <class T>
    static void Read(void* text, T& out)
    {
        const simdjson::padded_string padded(*static_cast<std::string*>(text));
        ondemand::parser parser;
        ondemand::document document = parser.iterate(padded);
        ondemand::object object = document.get_object();
        ReadMembers(object, out);
    }
};

struct KeptBuffers
{
    static void* Make(const char* text, std::size_t size) { return new simdjson::padded_string(text, size); }
    static void Drop(void* text) { delete static_cast<simdjson::padded_string*>(text); }

    template <class T>
    static void Read(void* text, T& out)
    {
        static ondemand::parser parser;
        ondemand::document document = parser.iterate(*static_cast<simdjson::padded_string*>(text));
        ondemand::object object = document.get_object();
        ReadMembers(object, out);
    }
};

template <class Source>
struct Reader
{
    template <class Class>
    struct Way
    {
        static bool DigestOfText(void* text, std::uint64_t& digest)
        {
            try
            {
                Class object;
                Source::Read(text, object);
                digest = DigestOf(object);
                return true;
            }
            catch (const simdjson::simdjson_error&)
            {
                return false;
            }
            catch (UnknownEnumerator)
            {
                return false;
            }
        }

        static void Read(void* text)
        {
            Class object;
            Source::Read(text, object);
            Use(object);
        }
    };

    static constexpr TextPeer Make(const char* name)
    {
        return {name, Source::Make, Source::Drop, {BENCH_ROOT_CLASSES(BENCH_READING_FNS)}};
    }
};

constexpr TextPeer s_peers[] = {Reader<PlainText>::Make("simdjson"),
                                Reader<KeptBuffers>::Make("simdjson, buffers kept")};

} // namespace

} // namespace kelm::bench

BENCH_EXPORT_PEERS(kelm::bench::s_peers)
