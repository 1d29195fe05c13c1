#include "JsonVariable.h"

#include "../reporting/Interruption.h"

#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kelm::tool
{

namespace
{

constexpr ConstStringZ s_sourceFile = "tools/kelmscript/json/JsonVariable";

// Readers of JSON have limits of this order.
constexpr int s_maxDepth = 1000;

// A scalar at any address, whatever its alignment.
template <class T>
T Load(const void* data)
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

std::string_view ViewOf(const char* text, ssize_t size)
{
    return {text, static_cast<std::size_t>(size)};
}

// The members of a class instance, in order.
struct Member
{
    ConstStringZ m_name;
    ReflectionByteCode m_type;
    ssize_t m_offset;
};

std::vector<Member> MembersOf(const ReflectedClass& rc)
{
    std::vector<Member> members;
    std::unordered_map<std::string_view, std::size_t> places;
    // Of two members with one name, the latter's value stands at the former's place: names in JSON are unique.
    const auto add = [&](const Member& member)
    {
        const auto [place, isNew] = places.try_emplace(member.m_name, members.size());
        if (isNew)
            members.push_back(member);
        else
            members[place->second] = member;
    };
    const ClassModel model = FindClassModel(rc);
    if (model.m_class != nullptr)
        for (ssize_t i = 0; i < model.m_class->m_numModelFields; ++i)
        {
            const ReflectedModelField& field = model.m_class->m_modelFields[i];
            if (IsPresent(field))
                add({field.m_name, ReflectionByteCode(field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns),
                     model.m_offset + field.m_offset});
        }
    for (ssize_t i = 0; i < rc.m_numFields; ++i)
        add({rc.m_fields[i].m_name, ReflectionByteCode(rc.m_fields[i].m_bc, rc.m_stringTable),
             rc.m_fields[i].m_offset});
    return members;
}

class JsonWriter
{
public:
    explicit JsonWriter(JsonText& json) : m_json(json) {}

    void Variable(ReflectionByteCode type, const void* data)
    {
        ThrowIfInterrupted();
        const Level level(*this);
        type.AdvanceToUnderlyingType2();
        switch (type.GetCode())
        {
        case FT_VOID: return m_json.Null();
        case FT_BOOL: return m_json.Bool(Load<uint8>(data) != 0);
        case FT_INT8: return m_json.Integer(int64{Load<int8>(data)});
        case FT_INT16: return m_json.Integer(int64{Load<int16>(data)});
        case FT_INT32: return m_json.Integer(int64{Load<int32>(data)});
        case FT_INT64: return m_json.Integer(Load<int64>(data));
        case FT_UINT8: return m_json.Integer(uint64{Load<uint8>(data)});
        case FT_UINT16: return m_json.Integer(uint64{Load<uint16>(data)});
        case FT_UINT32: return m_json.Integer(uint64{Load<uint32>(data)});
        case FT_UINT64: return m_json.Integer(Load<uint64>(data));
        case FT_FLOAT32: return m_json.Float(Load<float32>(data));
        case FT_FLOAT64: return m_json.Float(Load<float64>(data));
        case FT_CHAR8: return m_json.Text(ViewOf(static_cast<const char*>(data), 1));
        case FT_CHAR16: return Character16(Load<uint16>(data));
        case FT_STRING8: return m_json.Text(static_cast<const xstring*>(data)->view());
        case FT_STRING16: return String16(*static_cast<const xstring16*>(data));
        case FT_ENUM: return Enum(type.GetReflectedEnum(), Load<int32>(data));
        case FT_CLASS: return ClassInstance(type.GetReflectedClass(), data);
        case FT_VARIANT: return Variant(type.GetReflectedVariant(), data);
        case FT_ARRAY: return Elements(type.GetElementType(), data, type.GetArrayCount());
        case FT_VECTOR:
        case FT_DYNARRAY: return Vector(type.GetElementType(), *static_cast<const VectorOfByte*>(data));
        case FT_MAP: return Map(type, data);
        case FT_SET: return Set(type, data);
        case FT_INTERFACE_POINTER: return Object(Load<ptr<IObject>>(data));
        case FT_PREF:
        case FT_CREF: return Object(static_cast<const prefbase*>(data)->Get());
        case FT_FOREIGN: return Foreign(type.GetForeignType(), data);
        case FT_INT128:
        case FT_UINT128: throw JsonException("JSON has no form for a 128-bit integer");
        default: break;
        }
        constexpr bool isVariable = false;
        KELM_ASSERT(isVariable);
    }

    void Object(ptr<IObject> object)
    {
        if (!object)
            return m_json.Null();
        const Level level(*this);
        const ReflectedClass* const rc = object.GetReflectedClass();
        KELM_ASSERT(rc);
        const auto [place, isNew] = m_objects.insert(object.self());
        if (!isNew)
            throw JsonException("an object of class " + std::string(rc->m_name) + " is reached from within itself");
        m_json.BeginObject();
        m_json.Name("$class");
        m_json.Text(rc->m_name);
        Members(*rc, static_cast<const char*>(object.self()));
        m_json.EndObject();
        m_objects.erase(place);
    }

private:
    class Level
    {
    public:
        explicit Level(JsonWriter& writer) : m_writer(writer)
        {
            if (m_writer.m_depth == s_maxDepth)
                throw JsonException("values are nested to more than " + std::to_string(s_maxDepth) + " levels");
            ++m_writer.m_depth;
        }
        ~Level() { --m_writer.m_depth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        JsonWriter& m_writer;
    };

    void Text16(const uint16* text, ssize_t size)
    {
        xstring utf8;
        if (!Utf8FromUtf16(utf8, text, size))
            throw JsonException("a 16-bit string holds a lone surrogate");
        m_json.Text(utf8.view());
    }

    void Character16(uint16 c) { Text16(&c, 1); }
    void String16(const xstring16& text) { Text16(text.data(), text.size()); }

    void Enum(const ReflectedEnum* re, int32 value)
    {
        KELM_ASSERT(re);
        const auto [known, isNew] = m_enumerators.try_emplace(re);
        if (isNew)
            for (int32 i = 0; i < re->m_count; ++i)
                known->second.try_emplace(re->GetValue(i), re->m_strings[i]); // of equal ones the first
        const auto enumerator = known->second.find(value);
        if (enumerator != known->second.end())
            m_json.Text(enumerator->second);
        else
            m_json.Integer(int64{value});
    }

    void ClassInstance(const ReflectedClass* rc, const void* data)
    {
        KELM_ASSERT(rc);
        m_json.BeginObject();
        Members(*rc, static_cast<const char*>(data));
        m_json.EndObject();
    }

    void Members(const ReflectedClass& rc, const char* data)
    {
        auto known = m_members.find(&rc);
        if (known == m_members.end())
            known = m_members.emplace(&rc, MembersOf(rc)).first;
        for (const Member& member : known->second)
        {
            m_json.Name(member.m_name);
            Variable(member.m_type, data + member.m_offset);
        }
    }

    void Variant(const ReflectedVariant* rv, const void* data)
    {
        KELM_ASSERT(rv);
        const auto index = Load<int32>(data);
        KELM_ASSERT(0 <= index && index < rv->m_numFields);
        const ReflectedField& alternative = rv->m_fields[index];
        m_json.BeginObject();
        m_json.Name(alternative.m_name);
        Variable(ReflectionByteCode(alternative.m_bc, rv->m_stringTable),
                 static_cast<const char*>(data) + alternative.m_offset);
        m_json.EndObject();
    }

    void Elements(ReflectionByteCode type, const void* data, ssize_t count)
    {
        const ssize_t size = type.GetTypeSize();
        m_json.BeginArray();
        for (ssize_t i = 0; i < count; ++i)
            Variable(type, static_cast<const char*>(data) + i * size);
        m_json.EndArray();
    }

    void Vector(ReflectionByteCode type, const VectorOfByte& vector)
    {
        const ssize_t size = type.GetTypeSize();
        KELM_ASSERT(size > 0);
        Elements(type, vector.data(), vector.size() / size);
    }

    // An optional is what it holds or null, a variant an object of one member.
    void Foreign(const ForeignType& type, const void* data)
    {
        switch (type.GetForm())
        {
        case FF_TEXT:
        {
            char buffer[ForeignTextFns::BufferSize];
            const SubString text = type.m_text->Get(data, buffer);
            if (type.m_text->m_isIdentifier && text.empty())
                return m_json.Integer(type.m_text->GetNumber(data));
            return m_json.Text({text.data(), static_cast<std::size_t>(text.size())});
        }
        case FF_LIST:
            m_json.BeginArray();
            for (ssize_t i = 0; i < type.m_list->Count(data); ++i)
                Variable(type.GetElementType(i), type.m_list->At(const_cast<void*>(data), i));
            return m_json.EndArray();
        case FF_MAP: return ForeignMap(type, data);
        case FF_CHOICE: return ForeignChoice(type, data);
        }
    }

    void ForeignChoice(const ForeignType& type, const void* choice)
    {
        const int32 index = type.m_choice->GetIndex(choice);
        if (index < 0)
            return m_json.Null();
        if (type.m_choice->m_names != nullptr)
        {
            m_json.BeginObject();
            m_json.Name(type.m_choice->m_names[index]);
        }
        Variable(type.GetPartType(index), type.m_choice->GetValue(choice));
        if (type.m_choice->m_names != nullptr)
            m_json.EndObject();
    }

    void ForeignMap(const ForeignType& type, const void* map)
    {
        const bool isSet = type.m_numParts == 1;
        ReflectionByteCode keyType = type.GetPartType(0);
        keyType.AdvanceToUnderlyingType2();
        const bool hasTextKeys =
            !isSet && keyType.GetCode() == FT_FOREIGN && keyType.GetForeignType().GetForm() == FF_TEXT;
        Walk walk{*this, keyType, isSet ? ReflectionByteCode() : type.GetPartType(1), hasTextKeys};
        hasTextKeys ? m_json.BeginObject() : m_json.BeginArray();
        Entries(walk, *type.m_map, map);
        hasTextKeys ? m_json.EndObject() : m_json.EndArray();
    }

    // A walk over the entries of a map or set calls back without exceptions, which wait until it is over.
    struct Walk
    {
        JsonWriter& m_writer;
        ReflectionByteCode m_keyType;
        ReflectionByteCode m_payloadType; // none for a set
        bool m_hasTextKeys;
        std::exception_ptr m_failure = nullptr;
        std::unordered_set<std::string> m_names = {}; // beyond ASCII

        std::string GetKeyText(const void* key) const
        {
            if (m_keyType.GetCode() != FT_FOREIGN)
                return std::string(static_cast<const xstring*>(key)->view());
            char buffer[ForeignTextFns::BufferSize];
            const SubString text = m_keyType.GetForeignType().m_text->Get(key, buffer);
            return std::string(text.begin(), text.end());
        }

        // Texts that differ are the same name where both are not UTF-8.
        void RequireNew(const std::string& name)
        {
            if (std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
                return;
            JsonText json(JSON_COMPACT);
            json.Text(name);
            if (!m_names.insert(json.GetText()).second)
                throw JsonException("two keys of a map are both " + json.GetText() + ", since they are not UTF-8");
        }

        bool TryWrite(const void* key, const void* payload)
        {
            try
            {
                Write(key, payload);
                return true;
            }
            catch (...)
            {
                m_failure = std::current_exception();
                return false;
            }
        }

        void Write(const void* key, const void* payload)
        {
            if (payload == nullptr)
                return m_writer.Variable(m_keyType, key);
            if (m_hasTextKeys)
            {
                const std::string name = GetKeyText(key);
                RequireNew(name);
                m_writer.m_json.Name(name);
                return m_writer.Variable(m_payloadType, payload);
            }
            m_writer.m_json.BeginArray();
            m_writer.Variable(m_keyType, key);
            m_writer.Variable(m_payloadType, payload);
            m_writer.m_json.EndArray();
        }
    };

    template <class Fns>
    static void Entries(Walk& walk, const Fns& fns, const void* container)
    {
        fns.ForEach(
            container,
            [](void* context, const void* key, void* payload)
            { return static_cast<Walk*>(context)->TryWrite(key, payload); },
            &walk);
        if (walk.m_failure)
            std::rethrow_exception(walk.m_failure);
    }

    void Map(ReflectionByteCode type, const void* map)
    {
        KELM_ASSERT(type.m_mapOrSetFns);
        const ReflectionByteCode keyType = type.GetElementType();
        ReflectionByteCode payloadType = keyType;
        payloadType.ScanType();
        ReflectionByteCode underlyingKeyType = keyType;
        underlyingKeyType.AdvanceToUnderlyingType2();
        Walk walk{*this, underlyingKeyType, payloadType, underlyingKeyType.GetCode() == FT_STRING8};
        walk.m_hasTextKeys ? m_json.BeginObject() : m_json.BeginArray();
        Entries(walk, *type.m_mapOrSetFns->mapFns, map);
        walk.m_hasTextKeys ? m_json.EndObject() : m_json.EndArray();
    }

    void Set(ReflectionByteCode type, const void* set)
    {
        KELM_ASSERT(type.m_mapOrSetFns);
        Walk walk{*this, type.GetElementType(), {}, false};
        m_json.BeginArray();
        Entries(walk, *type.m_mapOrSetFns->setFns, set);
        m_json.EndArray();
    }

    JsonText& m_json;
    std::unordered_map<const ReflectedClass*, std::vector<Member>> m_members;
    std::unordered_map<const ReflectedEnum*, std::unordered_map<int32, ConstStringZ>> m_enumerators;
    std::unordered_set<const void*> m_objects; // that are being written
    int m_depth = 0;
};

} // namespace

void WriteJson(JsonText& json, ReflectionByteCode type, const void* data)
{
    JsonWriter(json).Variable(type, data);
}

void WriteJson(JsonText& json, ptr<IObject> object)
{
    JsonWriter(json).Object(object);
}

} // namespace kelm::tool
