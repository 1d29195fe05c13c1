// Paths: text in, address of the member out.

#include "../support/ObjectTexts.h"
#include "../support/ObjectTypes.h"
#include "Rows.h"
#include "bench.pb.h"

#include <klKelmScript/ParseFieldPath.h>

#include <charconv>
#include <google/protobuf/text_format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <stdexcept>

namespace kelm::bench
{

namespace
{

struct PathCase
{
    const char* m_name;
    const char* m_path;
    const char* m_jsonPointer;
    const void* (*m_expected)(const sample::Document&);
    const void* (*m_expectedInMessage)(const proto::Document&); // of a scalar, its message
    const char* m_expectedJson;
};

const PathCase s_cases[] = {
    {"path of 3 steps", ".items[3].name", "/items/3/name",
     [](const sample::Document& d) -> const void* { return &d.items[3].name; },
     [](const proto::Document& d) -> const void* { return &d.items(3); }, "\"item number 3\""},
    {"path of 7 steps", ".scene.nodes[2].mesh.parts[1].weight", "/scene/nodes/2/mesh/parts/1/weight",
     [](const sample::Document& d) -> const void* { return &d.scene.nodes[2].mesh.parts[1].weight; },
     [](const proto::Document& d) -> const void* { return &d.scene().nodes(2).mesh().parts(1); }, "21.25"},
};

// --- Ours

void* Navigate(ptr<IObject> object, const xstring& path)
{
    ReflectionByteCode type;
    xstring error;
    return NavigatePathToField(object, path, type, false, error);
}

Contender MakeOurs(const PathCase& row, const std::shared_ptr<const GcRoot>& document)
{
    const xstring path(row.m_path);
    const auto isRight = [=, expected = row.m_expected]
    {
        const ptr<IObject> object = document->get();
        return Navigate(object, path) == expected(*static_cast<const sample::Document*>(object.self()));
    };
    return {"KelmScript", isRight,
            Timed(
                [=]
                {
                    const void* address = Navigate(document->get(), path);
                    Keep(address);
                })};
}

// --- RapidJSON and nlohmann: a JSON pointer made from the text

Contender MakeRapidJson(const PathCase& row, const std::shared_ptr<const rapidjson::Document>& document)
{
    const std::string path = row.m_jsonPointer;
    const auto find = [=] { return rapidjson::Pointer(path.data(), path.size()).Get(*document); };
    const auto isRight = [=, expected = std::string(row.m_expectedJson)]
    {
        rapidjson::Document value;
        value.Parse(expected.c_str());
        const rapidjson::Value* const found = find();
        return found != nullptr && *found == value;
    };
    return {"RapidJSON", isRight,
            Timed(
                [=]
                {
                    const rapidjson::Value* found = find();
                    Keep(found);
                })};
}

Contender MakeNlohmann(const PathCase& row, const std::shared_ptr<const nlohmann::json>& document)
{
    const std::string path = row.m_jsonPointer;
    const auto find = [=] { return &document->at(nlohmann::json::json_pointer(path)); };
    const auto isRight = [=, expected = row.m_expectedJson] { return *find() == nlohmann::json::parse(expected); };
    return {"nlohmann", isRight,
            Timed(
                [=]
                {
                    const nlohmann::json* found = find();
                    Keep(found);
                })};
}

// --- protobuf: its descriptors and reflection, along the same path text as ours

struct MessageField
{
    const google::protobuf::Message* m_message;
    const google::protobuf::FieldDescriptor* m_field;
};

MessageField Walk(const google::protobuf::Message& root, std::string_view path)
{
    MessageField at = {&root, nullptr};
    while (!path.empty())
    {
        if (at.m_field != nullptr)
            at.m_message = &at.m_message->GetReflection()->GetMessage(*at.m_message, at.m_field);
        path.remove_prefix(1); // the dot
        const std::string_view name = path.substr(0, path.find_first_of(".["));
        path.remove_prefix(name.size());
        at.m_field = at.m_message->GetDescriptor()->FindFieldByName(std::string(name));
        if (at.m_field == nullptr)
            throw std::runtime_error("no such field");
        if (!path.empty() && path.front() == '[')
        {
            int index = 0;
            const char* const end = std::from_chars(path.data() + 1, path.data() + path.size(), index).ptr;
            path.remove_prefix(static_cast<std::size_t>(end + 1 - path.data()));
            at.m_message = &at.m_message->GetReflection()->GetRepeatedMessage(*at.m_message, at.m_field, index);
            at.m_field = nullptr;
        }
    }
    return at;
}

Contender MakeProtobuf(const PathCase& row, const std::shared_ptr<const proto::Document>& document)
{
    const std::string path = row.m_path;
    const auto find = [=] { return Walk(*document, path); };
    const auto isRight = [=, expected = row.m_expectedInMessage]
    {
        const MessageField found = find();
        return found.m_message == expected(*document) && path.ends_with("." + found.m_field->name());
    };
    return {"protobuf", isRight,
            Timed(
                [=]
                {
                    const MessageField found = find();
                    Keep(found);
                })};
}

// --- Members of classes with few and with many of them: ours against ours

template <class Class>
Contender MakeMembers(const char* name, int members)
{
    const ptr<IObject> object = CreateGcObject<Class>();
    RegisterGcObject(object);
    const auto root = std::make_shared<const GcRoot>(object);
    std::vector<xstring> paths;
    for (int i = 0; i < members; ++i)
        paths.emplace_back(("." + MemberName(i)).c_str());
    const auto isRight = [=]
    {
        const Class* const data = static_cast<const Class*>(root->get().self());
        return Navigate(root->get(), paths[4]) == &data->m04 && Navigate(root->get(), paths[0]) == &data->m00;
    };
    const auto timeOfAll = Timed(
        [=]
        {
            for (const xstring& path : paths)
            {
                const void* address = Navigate(root->get(), path);
                Keep(address);
            }
        });
    return {name, isRight, [=](long calls) { return timeOfAll(calls) / members; }};
}

Row MakeMembersRow()
{
    Row row{"path to a member, class of 5 or of 100", "call", 1, {}};
    row.m_contenders = {MakeMembers<sample::Five>("class of 5", 5), MakeMembers<sample::Hundred>("class of 100", 100)};
    return row;
}

} // namespace

std::vector<Row> MakePathRows()
{
    RegisterBenchTypes();
    const Texts texts = DocumentTexts();
    const auto ours = std::make_shared<const GcRoot>(ReadObject(xstring(texts.m_ours.c_str())));
    const auto rapidJson = std::make_shared<rapidjson::Document>();
    rapidJson->Parse(texts.m_json.c_str());
    const auto json = std::make_shared<const nlohmann::json>(nlohmann::json::parse(texts.m_json));
    const auto message = std::make_shared<proto::Document>();
    if (rapidJson->HasParseError() || !google::protobuf::TextFormat::ParseFromString(texts.m_proto, message.get()))
        throw std::runtime_error("a peer cannot parse the document");

    std::vector<Row> rows;
    for (const PathCase& path : s_cases)
        rows.push_back({path.m_name,
                        "call",
                        1,
                        {MakeOurs(path, ours), MakeRapidJson(path, rapidJson), MakeNlohmann(path, json),
                         MakeProtobuf(path, message)}});
    rows.push_back(MakeMembersRow());
    return rows;
}

} // namespace kelm::bench
