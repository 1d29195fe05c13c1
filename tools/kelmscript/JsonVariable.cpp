#include "JsonVariable.h"

#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/xvector.h>

#include <charconv>
#include <cstring>
#include <exception>
#include <set>
#include <utility>

namespace kelm::tool
{

namespace
{

constexpr ConstStringZ s_sourceFile = "tools/kelmscript/JsonVariable";

// Readers of JSON have limits of this order, and so has the writing library's recursion.
constexpr int s_maxDepth = 1000;

// A scalar at any address, whatever its alignment.
template <class T>
T Load(const void* data)
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

// The float64 of the same digits, not of the same bits: 0.1 stays 0.1.
Json JsonOfFloat32(float32 value)
{
    const NumberText text(value);
    const SubString digits = text;
    float64 same = value;
    std::from_chars(digits.begin(), digits.end(), same);
    return JsonOfFloat(same);
}

Json JsonOfText16(const uint16* text, ssize_t size)
{
    xstring utf8;
    if (!Utf8FromUtf16(utf8, text, size))
        throw JsonException("a 16-bit string holds a lone surrogate");
    return JsonOfText(utf8);
}

Json JsonOfEnum(const ReflectedEnum* re, int32 value)
{
    KELM_ASSERT(re);
    for (int32 i = 0; i < re->m_count; ++i)
        if (re->GetValue(i) == value)
            return re->m_strings[i];
    return value;
}

class JsonWriter
{
public:
    Json Variable(ReflectionByteCode type, const void* data)
    {
        const Level level(*this);
        type.AdvanceToUnderlyingType2();
        switch (type.GetCode())
        {
        case FT_VOID: return nullptr;
        case FT_BOOL: return Load<uint8>(data) != 0;
        case FT_INT8: return Load<int8>(data);
        case FT_INT16: return Load<int16>(data);
        case FT_INT32: return Load<int32>(data);
        case FT_INT64: return Load<int64>(data);
        case FT_UINT8: return Load<uint8>(data);
        case FT_UINT16: return Load<uint16>(data);
        case FT_UINT32: return Load<uint32>(data);
        case FT_UINT64: return Load<uint64>(data);
        case FT_FLOAT32: return JsonOfFloat32(Load<float32>(data));
        case FT_FLOAT64: return JsonOfFloat(Load<float64>(data));
        case FT_CHAR8: return JsonOfText({static_cast<const char*>(data), static_cast<const char*>(data) + 1});
        case FT_CHAR16: return Character16(Load<uint16>(data));
        case FT_STRING8: return JsonOfText(*static_cast<const xstring*>(data));
        case FT_STRING16: return String16(*static_cast<const xstring16*>(data));
        case FT_ENUM: return JsonOfEnum(type.GetReflectedEnum(), Load<int32>(data));
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
        case FT_INT128:
        case FT_UINT128: throw JsonException("JSON has no form for a 128-bit integer");
        default: break;
        }
        constexpr bool isVariable = false;
        KELM_ASSERT(isVariable);
        return nullptr;
    }

    Json Object(ptr<IObject> object)
    {
        if (!object)
            return nullptr;
        const Level level(*this);
        const ReflectedClass* const rc = object.GetReflectedClass();
        KELM_ASSERT(rc);
        const auto [place, isNew] = m_objects.insert(object.self());
        if (!isNew)
            throw JsonException("an object of class " + std::string(rc->m_name) + " is reached from within itself");
        Json json = {{"$class", rc->m_name}};
        AddMembers(json, *rc, static_cast<const char*>(object.self()));
        m_objects.erase(place);
        return json;
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

    static Json Character16(uint16 c) { return JsonOfText16(&c, 1); }
    static Json String16(const xstring16& text) { return JsonOfText16(text.data(), text.size()); }

    Json ClassInstance(const ReflectedClass* rc, const void* data)
    {
        KELM_ASSERT(rc);
        Json json = Json::object();
        AddMembers(json, *rc, static_cast<const char*>(data));
        return json;
    }

    void AddMembers(Json& json, const ReflectedClass& rc, const char* data)
    {
        const ClassModel model = FindClassModel(rc);
        if (model.m_class != nullptr)
            for (ssize_t i = 0; i < model.m_class->m_numModelFields; ++i)
            {
                const ReflectedModelField& field = model.m_class->m_modelFields[i];
                const ReflectionByteCode type(field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns);
                if (IsPresent(field))
                    json[field.m_name] = Variable(type, data + model.m_offset + field.m_offset);
            }
        for (ssize_t i = 0; i < rc.m_numFields; ++i)
            json[rc.m_fields[i].m_name] =
                Variable(ReflectionByteCode(rc.m_fields[i].m_bc, rc.m_stringTable), data + rc.m_fields[i].m_offset);
    }

    Json Variant(const ReflectedVariant* rv, const void* data)
    {
        KELM_ASSERT(rv);
        const auto index = Load<int32>(data);
        KELM_ASSERT(0 <= index && index < rv->m_numFields);
        const ReflectedField& alternative = rv->m_fields[index];
        Json json = Json::object();
        json[alternative.m_name] = Variable(ReflectionByteCode(alternative.m_bc, rv->m_stringTable),
                                            static_cast<const char*>(data) + alternative.m_offset);
        return json;
    }

    Json Elements(ReflectionByteCode type, const void* data, ssize_t count)
    {
        const ssize_t size = type.GetTypeSize();
        Json json = Json::array();
        for (ssize_t i = 0; i < count; ++i)
            json.push_back(Variable(type, static_cast<const char*>(data) + i * size));
        return json;
    }

    Json Vector(ReflectionByteCode type, const VectorOfByte& vector)
    {
        const ssize_t size = type.GetTypeSize();
        KELM_ASSERT(size > 0);
        return Elements(type, vector.data(), vector.size() / size);
    }

    // A walk over the entries of a map or set calls back without exceptions, which wait until it is over.
    struct Walk
    {
        JsonWriter& m_writer;
        ReflectionByteCode m_keyType;
        ReflectionByteCode m_payloadType;
        Json m_json;
        std::exception_ptr m_failure;

        bool TryAdd(const void* key, const void* payload)
        {
            try
            {
                Add(key, payload);
                return true;
            }
            catch (...)
            {
                m_failure = std::current_exception();
                return false;
            }
        }

        void Add(const void* key, const void* payload)
        {
            Json jsonOfKey = m_writer.Variable(m_keyType, key);
            if (payload == nullptr)
                m_json.push_back(std::move(jsonOfKey));
            else if (m_json.is_object())
                m_json[jsonOfKey.get<std::string>()] = m_writer.Variable(m_payloadType, payload);
            else
                m_json.push_back(Json::array({std::move(jsonOfKey), m_writer.Variable(m_payloadType, payload)}));
        }
    };

    template <class Fns>
    static Json Entries(Walk walk, const Fns& fns, const void* container)
    {
        fns.ForEach(
            container,
            [](void* context, const void* key, void* payload)
            { return static_cast<Walk*>(context)->TryAdd(key, payload); },
            &walk);
        if (walk.m_failure)
            std::rethrow_exception(walk.m_failure);
        return std::move(walk.m_json);
    }

    Json Map(ReflectionByteCode type, const void* map)
    {
        KELM_ASSERT(type.m_mapOrSetFns);
        const ReflectionByteCode keyType = type.GetElementType();
        ReflectionByteCode payloadType = keyType;
        payloadType.ScanType();
        ReflectionByteCode underlyingKeyType = keyType;
        underlyingKeyType.AdvanceToUnderlyingType2();
        const bool hasTextKeys = underlyingKeyType.GetCode() == FT_STRING8;
        return Entries({*this, keyType, payloadType, hasTextKeys ? Json::object() : Json::array(), nullptr},
                       *type.m_mapOrSetFns->mapFns, map);
    }

    Json Set(ReflectionByteCode type, const void* set)
    {
        KELM_ASSERT(type.m_mapOrSetFns);
        return Entries({*this, type.GetElementType(), {}, Json::array(), nullptr}, *type.m_mapOrSetFns->setFns, set);
    }

    std::set<const void*> m_objects; // that are being written
    int m_depth = 0;
};

} // namespace

Json JsonOfVariable(ReflectionByteCode type, const void* data)
{
    return JsonWriter().Variable(type, data);
}

Json JsonOfObject(ptr<IObject> object)
{
    return JsonWriter().Object(object);
}

} // namespace kelm::tool
