#include <kelm/private/FieldWalk.h>

#include <kelm/private/Conversions.h>
#include <kelm/private/TypeText.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/values/ReflectedVariable.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/MessageOf.h>
#include <klUtils/xvector.h>

#include <cstring>
#include <memory>

namespace kelm
{

namespace
{

ReflectionByteCode PayloadType(const ReflectionByteCode& mapType)
{
    ReflectionByteCode type = mapType.GetElementType();
    type.ScanType();
    if (mapType.m_mapOrSetFns != nullptr)
        type.m_mapOrSetFns = mapType.m_mapOrSetFns + 1;
    return type;
}

SubString View(const std::string& text)
{
    return {text.data(), text.data() + text.size()};
}

} // namespace

// The key of a map, as a variable of the key's type.
class FieldWalk::Key
{
public:
    explicit Key(const ReflectionByteCode& mapType)
        : m_mapType(mapType)
        , m_type(mapType.GetElementType())
        , m_memory(std::make_unique<char[]>(static_cast<std::size_t>(m_type.GetTypeSize())))
    {
        ConstructReflectedVariable(m_type, m_memory.get());
    }
    ~Key()
    {
        if (m_changedMap != nullptr)
            GetFns().Erase(m_changedMap, m_memory.get());
        DestructReflectedVariable(m_type, m_memory.get());
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    const ReflectionByteCode& GetType() const { return m_type; }
    Fit Store(const Scalar& key) { return StoreScalar(m_type, m_memory.get(), key); }
    void* Find(const void* map) const { return GetFns().Find(map, m_memory.get()); }
    void* Insert(void* map)
    {
        void* const payload = GetFns().Insert(map, m_memory.get());
        m_changedMap = map;
        return payload;
    }
    void Keep() { m_changedMap = nullptr; }

private:
    const MapFns& GetFns() const { return *m_mapType.m_mapOrSetFns->mapFns; }

    ReflectionByteCode m_mapType;
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
    void* m_changedMap = nullptr;
};

template <class... Parts>
bool FieldWalk::Fail(const Parts&... parts)
{
    m_fault = MessageOf(parts...);
    return false;
}

FieldWalk::FieldWalk(const ReflectionByteCode& type, void* data, EAccess access) : m_data(data), m_access(access)
{
    MoveTo(type, data);
}

FieldWalk::FieldWalk(ptr<IObject> object, EAccess access) : m_data(object.self()), m_access(access)
{
    MoveTo(object);
}

FieldWalk::~FieldWalk() = default;

void FieldWalk::MoveTo(ReflectionByteCode type, void* data)
{
    m_isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    m_type = type;
    m_class = type.GetReflectedClass();
    m_data = data;
    if (m_access == EAccess::Read && m_owner && IsReadBarrierInstalled())
        DataSourceReadBarrier(m_data, m_owner, nullptr);
}

bool FieldWalk::MoveTo(ptr<IObject> object)
{
    if (!object)
        return Fail("null dereference");
    m_owner = object;
    m_type = {};
    m_class = object.GetReflectedClass();
    m_data = object.self();
    m_isConst = false;
    return true;
}

bool FieldWalk::IsEnterable() const
{
    if (m_type.m_bc == nullptr)
        return false;
    const ETypeByteCode code = m_type.GetCode();
    return code == FT_INTERFACE_POINTER || code == FT_PREF || code == FT_CREF;
}

bool FieldWalk::TryEnter()
{
    if (m_type.m_bc == nullptr)
        return true;
    switch (m_type.GetCode())
    {
    case FT_INTERFACE_POINTER:
    {
        ptr<IObject> object;
        std::memcpy(static_cast<void*>(&object), m_data, sizeof object);
        return MoveTo(object);
    }
    case FT_PREF:
    case FT_CREF: return MoveTo(ptr<IObject>(static_cast<const prefbase*>(m_data)->Get()));
    default: return true;
    }
}

bool FieldWalk::TryStepToField(SubString name)
{
    if (!TryEnter())
        return false;
    if (m_class == nullptr)
        return Fail("Expected class when read ", View(TypeText(m_type)));
    const ReflectedClass& rc = *m_class;
    const ClassModel model = FindClassModel(rc);
    const ssize_t i = model.m_class != nullptr ? FindPresentModelField(*model.m_class, name, 0) : -1;
    if (i < 0)
        return Fail("Identifier ", name, " is not a model field of class ", rc.m_name);
    const ReflectedModelField& field = model.m_class->m_modelFields[i];
    char* const data = static_cast<char*>(m_data) + model.m_offset + field.m_offset;
    const FieldRule* const rule = model.m_class->m_rules != nullptr ? &model.m_class->m_rules[i] : nullptr;
    if (rule != nullptr && rule->m_check != nullptr)
        m_checked.push_back({rule, &rc, field.m_name, data});
    MoveTo({field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns}, data);
    return true;
}

bool FieldWalk::TakesIndices() const
{
    const ETypeByteCode code = m_type.m_bc != nullptr ? m_type.GetCode() : FT_VOID;
    return code == FT_ARRAY || code == FT_VECTOR || code == FT_DYNARRAY;
}

bool FieldWalk::TryStepToElement(int64 index)
{
    switch (m_type.m_bc != nullptr ? m_type.GetCode() : FT_VOID)
    {
    case FT_ARRAY:
        if (index < 0 || index >= m_type.GetArrayCount())
            return Fail("Array index ", index, " out of range");
        return StepToListElement(m_type.GetElementType(), m_data, index);
    case FT_VECTOR:
    case FT_DYNARRAY:
    {
        const bool isVector = m_type.GetCode() == FT_VECTOR;
        const auto& vector = *static_cast<const VectorOfByte*>(m_data);
        const ReflectionByteCode elementType = m_type.GetElementType();
        const ssize_t size = elementType.GetTypeSize();
        if (index < 0 || size <= 0 || index >= vector.size() / size)
            return Fail(isVector ? "Vector index " : "Array index ", index, " out of range");
        return StepToListElement(elementType, const_cast<char*>(vector.data()), index);
    }
    default:
        return TakesKeys() ? TryStepToKey(Scalar(index))
                           : Fail("Expected list when read ", View(TextOf(m_type, m_data)));
    }
}

bool FieldWalk::StepToListElement(const ReflectionByteCode& elementType, void* data, ssize_t index)
{
    const bool isConst = m_isConst;
    MoveTo(elementType, static_cast<char*>(data) + index * elementType.GetTypeSize());
    m_isConst |= isConst;
    return true;
}

bool FieldWalk::TakesKeys() const
{
    return m_type.m_bc != nullptr && m_type.GetCode() == FT_MAP;
}

bool FieldWalk::TryStepToKey(const Scalar& key)
{
    if (!TakesKeys())
        return Fail("Expected map when read ", View(m_type.m_bc != nullptr ? TextOf(m_type, m_data) : m_class->m_name));
    const ReflectionByteCode keyType = m_type.GetElementType();
    Key variable(m_type);
    if (const Fit fit = variable.Store(key); fit != Fit::Fits)
        return Fail(View(MisfitMessage(fit, TypeText(keyType), TextOf(key))));
    void* const payload = variable.Find(m_data);
    m_isKeyMissing = payload == nullptr;
    if (m_isKeyMissing)
        return Fail("Key ", View(TextOf(key)), " is not there");
    const bool isConst = m_isConst;
    MoveTo(PayloadType(m_type), payload);
    m_isConst |= isConst;
    return true;
}

bool FieldWalk::TryInsertKey(const Scalar& key)
{
    if (m_isConst)
        return Fail("The field is constant");
    m_insertedKey = std::make_unique<Key>(m_type);
    m_insertedKey->Store(key);
    void* const payload = m_insertedKey->Insert(m_data);
    MoveTo(PayloadType(m_type), payload);
    return true;
}

void FieldWalk::Commit()
{
    if (m_insertedKey != nullptr)
        m_insertedKey->Keep();
}

bool FieldWalk::TrySetToNull()
{
    if (!IsEnterable() || m_isConst)
        return false;
    if (m_type.GetCode() == FT_INTERFACE_POINTER)
    {
        const ptr<IObject> null;
        std::memcpy(m_data, static_cast<const void*>(&null), sizeof null);
    }
    else
    {
        static_cast<prefbase*>(m_data)->Set(nullptr);
    }
    return true;
}

} // namespace kelm
