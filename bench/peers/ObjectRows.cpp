// Objects: text in, filled object out. What the objects' destruction costs is not measured, for anybody.

#include "../support/ObjectTexts.h"
#include "../support/ObjectTypes.h"
#include "JsonPeers.h"
#include "Rows.h"
#include "bench.pb.h"

#include <algorithm>
#include <google/protobuf/text_format.h>
#include <memory>
#include <stdexcept>

namespace kelm::bench
{

namespace
{

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

// --- Equality of what was read with what was written

bool IsSame(const sample::Integers& read, const std::vector<std::int64_t>& values)
{
    return std::equal(read.values.begin(), read.values.end(), values.begin(), values.end());
}
bool IsSame(const sample::Doubles& read, const std::vector<double>& values)
{
    return std::equal(read.values.begin(), read.values.end(), values.begin(), values.end());
}
bool IsSame(const sample::Records& read, const std::vector<PlainRecord>& values)
{
    const auto isSameRecord = [](const sample::Record& a, const PlainRecord& b)
    {
        return PlainRecord{std::string(a.name.view()), a.id,    a.x,      a.y,    a.z,
                           static_cast<int>(a.colour), a.width, a.height, a.depth} == b;
    };
    return std::equal(read.values.begin(), read.values.end(), values.begin(), values.end(), isSameRecord);
}
bool IsSame(const sample::Counts& read, const PlainCounts& values)
{
    const auto isThere = [&](const PlainCounts::value_type& count)
    {
        const auto found = read.values.find(ToXString(count.first));
        return found != read.values.end() && found->m_value == count.second;
    };
    return read.values.size() == static_cast<ssize_t>(values.size()) &&
           std::all_of(values.begin(), values.end(), isThere);
}

template <class Repeated, class Value>
bool IsSameList(const Repeated& read, const std::vector<Value>& values)
{
    return std::equal(read.values().begin(), read.values().end(), values.begin(), values.end());
}
bool IsSame(const proto::Integers& read, const std::vector<std::int64_t>& values)
{
    return IsSameList(read, values);
}
bool IsSame(const proto::Doubles& read, const std::vector<double>& values)
{
    return IsSameList(read, values);
}
bool IsSame(const proto::Records& read, const std::vector<PlainRecord>& values)
{
    const auto isSameRecord = [](const proto::Record& a, const PlainRecord& b)
    {
        return PlainRecord{a.name(),  a.id(),     a.x(),    a.y(), a.z(), static_cast<int>(a.colour()),
                           a.width(), a.height(), a.depth()} == b;
    };
    return std::equal(read.values().begin(), read.values().end(), values.begin(), values.end(), isSameRecord);
}
bool IsSame(const proto::Counts& read, const PlainCounts& values)
{
    const auto isThere = [&](const PlainCounts::value_type& count)
    {
        const auto found = read.values().find(count.first);
        return found != read.values().end() && found->second == count.second;
    };
    return read.values().size() == values.size() && std::all_of(values.begin(), values.end(), isThere);
}

template <class Value>
bool IsSame(const std::vector<Value>& read, const std::vector<Value>& values)
{
    return read == values;
}
bool IsSame(const PlainMap& read, const PlainCounts& values)
{
    return read == PlainMap(values.begin(), values.end());
}

// --- Contenders

template <class Object, class Values>
Contender MakeOurs(const Texts& texts, const std::shared_ptr<const Values>& values)
{
    const auto text = std::make_shared<const xstring>(ToXString(texts.m_ours));
    const auto read = [text] { return Collected(ReadObject(*text)); };
    return {"KelmScript", [=] { return IsSame(read().template As<Object>(), *values); }, TimedWithoutCleanUp(read)};
}

template <class Message, class Values>
Contender MakeProtobuf(const Texts& texts, const std::shared_ptr<const Values>& values)
{
    const auto read = [text = texts.m_proto]
    {
        auto message = std::make_unique<Message>();
        if (!google::protobuf::TextFormat::ParseFromString(text, message.get()))
            throw std::runtime_error("protobuf cannot parse");
        return message;
    };
    return {"protobuf", [=] { return IsSame(*read(), *values); }, TimedWithoutCleanUp(read)};
}

template <class Read, class Values>
Contender MakeJson(const char* name, Read readText, const Texts& texts, const std::shared_ptr<const Values>& values)
{
    const auto json = std::make_shared<std::string>();
    json->reserve(texts.m_json.size() + 64);
    *json += texts.m_json;
    const auto read = [=] { return readText(*json); };
    return {name, [=] { return IsSame(read(), *values); }, TimedWithoutCleanUp(read)};
}

template <class Object, class Message, class Values, class Read>
Row MakeRow(const char* name, Values made, int valuesPerElement, Read JsonPeer::*read)
{
    const auto values = std::make_shared<const Values>(std::move(made));
    const Texts texts = TextsOf(*values);
    Row row{name, "value", static_cast<double>(values->size()) * valuesPerElement, {}};
    row.m_contenders.push_back(MakeOurs<Object>(texts, values));
    for (const JsonPeer* peer : {&s_simdjson, &s_simdjsonKept, &s_rapidJson, &s_nlohmann})
        row.m_contenders.push_back(MakeJson(peer->m_name, peer->*read, texts, values));
    row.m_contenders.push_back(MakeProtobuf<Message>(texts, values));
    return row;
}

// --- Members out of order, in classes with few and with many of them: ours against ours

template <class Objects>
Contender MakeMembers(const char* name, const char* className, long count, int members)
{
    const auto text = std::make_shared<const xstring>(ToXString(MembersText(className, count, members)));
    const auto read = [text] { return Collected(ReadObject(*text)); };
    const auto isRight = [=]
    {
        const Collected collected = read();
        const Objects& objects = collected.As<Objects>();
        return objects.values.size() == count && objects.values.back().m04 == 4;
    };
    return {name, isRight, TimedWithoutCleanUp(read)};
}

Row MakeMembersRow()
{
    constexpr long members = 200'000;
    Row row{"members out of order, class of 5 or of 100", "member", members, {}};
    row.m_contenders = {MakeMembers<sample::Fives>("class of 5", "sample::Fives", members / 5, 5),
                        MakeMembers<sample::Hundreds>("class of 100", "sample::Hundreds", members / 100, 100)};
    return row;
}

} // namespace

std::vector<Row> MakeObjectRows()
{
    RegisterBenchTypes();
    return {
        MakeRow<sample::Integers, proto::Integers>("1 M integers", MakeIntegers(1'000'000), 1, &JsonPeer::m_integers),
        MakeRow<sample::Doubles, proto::Doubles>("1 M doubles of 17 digits", MakeDoubles(1'000'000), 1,
                                                 &JsonPeer::m_doubles),
        MakeRow<sample::Records, proto::Records>("200 k records", MakeRecords(200'000), s_valuesPerRecord,
                                                 &JsonPeer::m_records),
        MakeRow<sample::Counts, proto::Counts>("map of 200 k strings to integers", MakeCounts(200'000), 1,
                                               &JsonPeer::m_counts),
        MakeMembersRow()};
}

} // namespace kelm::bench
