#include <support/ReferenceContents.h>

#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/xvector.h>
#include <support/Expect.h>
#include <support/ReferenceComparison.h>

#include <cstring>

namespace kelm::reference
{

namespace
{

template <class T>
T Load(const void* data)
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

std::string BytesOf(const void* data, std::size_t size)
{
    static constexpr char s_digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = size; i > 0; --i)
    {
        const auto byte = static_cast<const unsigned char*>(data)[i - 1];
        text += s_digits[byte >> 4];
        text += s_digits[byte & 15];
    }
    return text;
}

const char* At(const void* data, ssize_t offset)
{
    return static_cast<const char*>(data) + offset;
}

class Teller
{
public:
    explicit Teller(const ContentsTelling& telling) : m_telling(telling) {}

    std::string Tell(ReflectionByteCode type, const void* data)
    {
        const std::string mark = data == m_telling.m_marked ? "@" : "";
        try
        {
            type.AdvanceToUnderlyingType2();
            return mark + TellUnderlying(type, data);
        }
        catch (const KelmAssertionError&)
        {
            return mark + "?"; // a type that no variable has
        }
    }

    std::string TellClass(const ReflectedClass& rc, const void* data)
    {
        std::string text = "{";
        const ReflectedClass* model = &rc;
        ssize_t offset = 0;
        if (rc.m_modelFields != nullptr && rc.m_numModelFields == 0)
        {
            model = TryFindReflectedClass(rc.m_modelFields->m_name);
            offset = rc.m_modelFields->m_offset;
        }
        if (model == nullptr)
            return "?";
        for (ssize_t i = 0; model->m_modelFields != nullptr && i < model->m_numModelFields; ++i)
        {
            const ReflectedModelField& field = model->m_modelFields[i];
            text += field.m_name +
                    ("=" +
                     Tell({field.m_bc, model->m_stringTable, field.m_mapOrSetFns}, At(data, offset + field.m_offset))) +
                    " ";
        }
        for (ssize_t i = 0; i < rc.m_numFields; ++i)
            text += rc.m_fields[i].m_name +
                    ("=" + Tell({rc.m_fields[i].m_bc, rc.m_stringTable, nullptr}, At(data, rc.m_fields[i].m_offset))) +
                    " ";
        return text + "}";
    }

private:
    std::string TellUnderlying(const ReflectionByteCode& type, const void* data)
    {
        switch (type.GetCode())
        {
        case FT_VOID: return "void";
        case FT_BOOL:
        case FT_INT8:
        case FT_UINT8:
        case FT_CHAR8:
        case FT_INT16:
        case FT_UINT16:
        case FT_CHAR16:
        case FT_INT32:
        case FT_UINT32:
        case FT_ENUM:
        case FT_INT64:
        case FT_UINT64: return BytesOf(data, static_cast<std::size_t>(type.GetTypeSize()));
        case FT_FLOAT32: return ToldBits(Load<float>(data));
        case FT_FLOAT64: return ToldBits(Load<double>(data));
        case FT_STRING8: return "'" + ToStdString(SubString(*static_cast<const xstring*>(data))) + "'";
        case FT_STRING16: return TellString16(*static_cast<const xstring16*>(data));
        case FT_CLASS: return type.GetReflectedClass() != nullptr ? TellClass(*type.GetReflectedClass(), data) : "?";
        case FT_VARIANT: return TellVariant(type.GetReflectedVariant(), data);
        case FT_ARRAY: return TellElements(type.GetElementType(), data, type.GetArrayCount());
        case FT_VECTOR:
        case FT_DYNARRAY: return TellVector(type.GetElementType(), *static_cast<const VectorOfByte*>(data));
        case FT_MAP: return TellMap(type, data);
        case FT_PREF:
        case FT_CREF: return TellHandle(static_cast<const prefbase*>(data)->GetLoaded());
        case FT_INTERFACE_POINTER: return TellHandle(*static_cast<const ptr<IObject>*>(data));
        default: return "?";
        }
    }

    static std::string TellString16(const xstring16& text)
    {
        std::string told = "u";
        for (ssize_t i = 0; i < text.size(); ++i)
            told += "'" + BytesOf(text.data() + i, 2);
        return told;
    }

    std::string TellElements(const ReflectionByteCode& type, const void* data, ssize_t count)
    {
        std::string text = "[";
        const ssize_t size = count > 0 ? type.GetTypeSize() : 0;
        for (ssize_t i = 0; i < count; ++i)
            text += Tell(type, At(data, i * size)) + ",";
        return text + "]";
    }

    std::string TellVector(const ReflectionByteCode& type, const VectorOfByte& vector)
    {
        if (vector.empty())
            return "[]";
        const ssize_t size = type.GetTypeSize();
        return TellElements(type, vector.data(), vector.size() / size) +
               (vector.size() % size == 0 ? "" : " and a part of one");
    }

    std::string TellVariant(const ReflectedVariant* rv, const void* data)
    {
        if (rv == nullptr)
            return "?";
        const auto index = Load<int32>(data);
        if (index < 0 || index >= rv->m_numFields)
            return "no alternative";
        const ReflectedField& field = rv->m_fields[index];
        return std::to_string(index) + ":" + Tell({field.m_bc, rv->m_stringTable, nullptr}, At(data, field.m_offset));
    }

    std::string TellMap(const ReflectionByteCode& type, const void* data)
    {
        if (type.m_mapOrSetFns == nullptr || type.m_mapOrSetFns->mapFns == nullptr)
            return "?";
        struct Walk
        {
            Teller& m_teller;
            ReflectionByteCode m_key;
            ReflectionByteCode m_payload;
            std::string m_text;
        } walk{*this, {type.m_bc + 1, type.m_stringTable, type.m_mapOrSetFns}, {}, "["};
        walk.m_payload = walk.m_key;
        walk.m_payload.ScanType();
        walk.m_payload.m_mapOrSetFns = type.m_mapOrSetFns + 1;
        const auto visit = [](void* context, const void* key, void* payload)
        {
            Walk& w = *static_cast<Walk*>(context);
            w.m_text += w.m_teller.Tell(w.m_key, key) + "->" + w.m_teller.Tell(w.m_payload, payload) + ",";
            return true;
        };
        type.m_mapOrSetFns->mapFns->ForEach(data, visit, &walk);
        return walk.m_text + "]";
    }

    std::string TellHandle(const ptr<IObject>& object) { return object ? m_telling.m_tellObject(object) : "null"; }

    const ContentsTelling& m_telling;
};

} // namespace

std::string ContentsOf(ReflectionByteCode type, const void* data, const ContentsTelling& telling)
{
    return Teller(telling).Tell(type, data);
}

std::string ContentsOf(const ReflectedClass& rc, const void* data, const ContentsTelling& telling)
{
    return Teller(telling).TellClass(rc, data);
}

} // namespace kelm::reference
