// RapidJSON: a document, and its values copied into the objects; written by its Writer.

#include "Digest.h"
#include "PlainClasses.h"
#include "TextPeer.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstring>

namespace kelm::bench
{

namespace
{

using namespace plain;

// --- Reading

std::string_view ToView(const rapidjson::Value& value)
{
    return {value.GetString(), value.GetStringLength()};
}

template <class T>
void ReadValue(const rapidjson::Value& value, T& out)
{
    if constexpr (std::is_same_v<T, bool>)
        out = value.GetBool();
    else if constexpr (std::is_integral_v<T>)
        out = static_cast<T>(value.GetInt64());
    else if constexpr (std::is_floating_point_v<T>)
        out = value.GetDouble();
    else if constexpr (std::is_same_v<T, String>)
        out = ToView(value);
    else if constexpr (std::is_enum_v<T>)
    {
        const auto names = NamesOf(out);
        for (std::size_t i = 0; i < names.size(); ++i)
            if (ToView(value) == names[i])
                out = static_cast<T>(i);
    }
    else if constexpr (std::is_same_v<T, Counts>)
        for (const auto& member : value.GetObject())
            out.emplace(ToView(member.name), member.value.GetInt64());
    else if constexpr (requires { out.emplace_back(); })
    {
        out.reserve(value.Size());
        for (const rapidjson::Value& element : value.GetArray())
            ReadValue(element, out.emplace_back());
    }
    else
        ForEachMember(out, [&](const char* name, auto& member) { ReadValue(value[name], member); });
}

// Whether the text is one.
template <class T>
bool ReadText(const std::string& text, T& out)
{
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(text.data(), text.size());
    if (document.HasParseError())
        return false;
    ReadValue(document, out);
    return true;
}

// --- Writing

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteText(Writer& writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <class T>
void WriteValue(Writer& writer, const T& value)
{
    if constexpr (std::is_same_v<T, bool>)
        writer.Bool(value);
    else if constexpr (std::is_integral_v<T>)
        writer.Int64(value);
    else if constexpr (std::is_floating_point_v<T>)
        writer.Double(value);
    else if constexpr (std::is_same_v<T, String>)
        WriteText(writer, value);
    else if constexpr (std::is_enum_v<T>)
        WriteText(writer, NamesOf(value)[static_cast<std::size_t>(value)]);
    else if constexpr (std::is_same_v<T, Counts>)
    {
        writer.StartObject();
        for (const auto& [key, count] : value)
        {
            WriteText(writer, key);
            writer.Int64(count);
        }
        writer.EndObject();
    }
    else if constexpr (requires { value.begin(); })
    {
        writer.StartArray();
        for (const auto& element : value)
            WriteValue(writer, element);
        writer.EndArray();
    }
    else
    {
        writer.StartObject();
        ForEachMember(value,
                      [&](std::string_view name, const auto& member)
                      {
                          WriteText(writer, name);
                          WriteValue(writer, member);
                      });
        writer.EndObject();
    }
}

// --- The functions of a class

const std::string& TextOf(void* text)
{
    return *static_cast<std::string*>(text);
}

template <class Class>
struct Way
{
    static bool DigestOfText(void* text, std::uint64_t& digest)
    {
        Class object;
        if (!ReadText(TextOf(text), object))
            return false;
        digest = DigestOf(object);
        return true;
    }

    static void Read(void* text)
    {
        Class object;
        ReadText(TextOf(text), object);
        Use(object);
    }

    static void* MakeObject(void* text)
    {
        auto* const object = new Class();
        ReadText(TextOf(text), *object);
        return object;
    }

    static void DropObject(void* object) { delete static_cast<Class*>(object); }

    static bool DigestOfWritten(void* object, std::uint64_t& digest)
    {
        rapidjson::StringBuffer buffer;
        Writer writer(buffer);
        WriteValue(writer, *static_cast<Class*>(object));
        std::string written(buffer.GetString(), buffer.GetSize());
        return DigestOfText(&written, digest);
    }

    static void Write(void* object)
    {
        rapidjson::StringBuffer buffer;
        Writer writer(buffer);
        WriteValue(writer, *static_cast<Class*>(object));
        Use(buffer);
    }
};

void* MakeText(const char* text, std::size_t size)
{
    return new std::string(text, size);
}

void DropText(void* text)
{
    delete static_cast<std::string*>(text);
}

constexpr TextPeer s_peers[] = {{"RapidJSON", MakeText, DropText, {BENCH_ROOT_CLASSES(BENCH_FNS)}}};

} // namespace

} // namespace kelm::bench

BENCH_EXPORT_PEERS(kelm::bench::s_peers)
