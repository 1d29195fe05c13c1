#include <kelm/private/FieldWalk.h>

#include <kelm/private/Conversions.h>
#include <kelm/private/TypeText.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
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

const ForeignType* GetForeign(const ReflectionByteCode& type, EForeignForm form)
{
    if (type.m_bc == nullptr || type.GetCode() != FT_FOREIGN || type.GetForeignType().GetForm() != form)
        return nullptr;
    return &type.GetForeignType();
}

// What maps of both kinds, and foreign sets, do with keys.
struct MapAccess
{
    explicit MapAccess(const ReflectionByteCode& type)
    {
        if (const ForeignType* const foreign = GetForeign(type, FF_MAP))
        {
            m_keyType = foreign->GetPartType(0);
            m_valueType = foreign->GetPartType(foreign->m_numParts - 1);
            m_find = foreign->m_map->Find;
            m_erase = foreign->m_map->Erase;
            m_insertForeign = foreign->m_numParts == 2 ? foreign->m_map->Insert : nullptr;
            return;
        }
        m_keyType = type.GetElementType();
        m_valueType = m_keyType;
        m_valueType.ScanType();
        m_valueType.m_mapOrSetFns = type.m_mapOrSetFns + 1;
        m_find = type.m_mapOrSetFns->mapFns->Find;
        m_erase = type.m_mapOrSetFns->mapFns->Erase;
        m_insert = type.m_mapOrSetFns->mapFns->Insert;
    }

    ReflectionByteCode m_keyType;
    ReflectionByteCode m_valueType; // of a set, the elements'
    void* (*m_find)(const void* map, const void* key);
    bool (*m_erase)(void* map, const void* key);
    void* (*m_insert)(void* map, const void* key) = nullptr;
    void* (*m_insertForeign)(void* map, void* key) = nullptr; // which moves from the key
};

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
        : m_access(mapType)
        , m_memory(std::make_unique<char[]>(static_cast<std::size_t>(m_access.m_keyType.GetTypeSize())))
    {
        ConstructReflectedVariable(m_access.m_keyType, m_memory.get());
    }
    ~Key()
    {
        if (m_changedMap != nullptr)
            m_access.m_erase(m_changedMap, m_memory.get());
        DestructReflectedVariable(m_access.m_keyType, m_memory.get());
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    const MapAccess& GetAccess() const { return m_access; }
    bool CanInsert() const { return m_access.m_insert != nullptr || m_access.m_insertForeign != nullptr; }
    Fit Store(const Scalar& key) { return StoreScalar(m_access.m_keyType, m_memory.get(), key); }
    void* Find(const void* map) const { return m_access.m_find(map, m_memory.get()); }
    void* Insert(void* map, const Scalar& key)
    {
        void* payload = nullptr;
        if (m_access.m_insert != nullptr)
        {
            payload = m_access.m_insert(map, m_memory.get());
        }
        else
        {
            payload = m_access.m_insertForeign(map, m_memory.get());
            Store(key); // again: it was moved from
        }
        m_changedMap = map;
        return payload;
    }
    void Keep() { m_changedMap = nullptr; }

private:
    MapAccess m_access;
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
    return code == FT_INTERFACE_POINTER || code == FT_PREF || code == FT_CREF ||
           GetForeign(m_type, FF_CHOICE) != nullptr;
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
    case FT_FOREIGN:
    {
        const ForeignType* const choice = GetForeign(m_type, FF_CHOICE);
        if (choice == nullptr)
            return true;
        const int32 part = choice->m_choice->GetIndex(m_data);
        if (part < 0)
            return Fail("null dereference");
        MoveToPart(choice->GetPartType(part), choice->m_choice->GetValue(m_data));
        return TryEnter(); // an optional of a handle
    }
    default: return true;
    }
}

// A part of a constant is constant.
void FieldWalk::MoveToPart(const ReflectionByteCode& type, void* data)
{
    const bool isConst = m_isConst;
    MoveTo(type, data);
    m_isConst |= isConst;
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
    return code == FT_ARRAY || code == FT_VECTOR || code == FT_DYNARRAY || GetForeign(m_type, FF_LIST) != nullptr;
}

bool FieldWalk::TryStepToElement(int64 index)
{
    switch (m_type.m_bc != nullptr ? m_type.GetCode() : FT_VOID)
    {
    case FT_ARRAY:
        if (index < 0 || index >= m_type.GetArrayCount())
            return Fail("Array index ", index, " out of range");
        MoveToPart(m_type.GetElementType(), static_cast<char*>(m_data) + index * m_type.GetElementType().GetTypeSize());
        return true;
    case FT_VECTOR:
    case FT_DYNARRAY:
    {
        const bool isVector = m_type.GetCode() == FT_VECTOR;
        const auto& vector = *static_cast<const VectorOfByte*>(m_data);
        const ReflectionByteCode elementType = m_type.GetElementType();
        const ssize_t size = elementType.GetTypeSize();
        if (index < 0 || size <= 0 || index >= vector.size() / size)
            return Fail(isVector ? "Vector index " : "Array index ", index, " out of range");
        MoveToPart(elementType, const_cast<char*>(vector.data()) + index * size);
        return true;
    }
    case FT_FOREIGN:
        if (const ForeignType* const list = GetForeign(m_type, FF_LIST))
        {
            const ForeignListFns& fns = *list->m_list;
            if (index < 0 || index >= fns.Count(m_data))
                return Fail("Vector index ", index, " out of range");
            MoveToPart(list->GetElementType(index), fns.At(m_data, index));
            m_isConst |= !fns.m_isFixed && fns.Append == nullptr; // of bits, there are copies alone
            return true;
        }
        [[fallthrough]];
    default:
        return TakesKeys() ? TryStepToKey(Scalar(index))
                           : Fail("Expected list when read ", View(TextOf(m_type, m_data)));
    }
}

bool FieldWalk::TakesKeys() const
{
    return m_type.m_bc != nullptr && (m_type.GetCode() == FT_MAP || GetForeign(m_type, FF_MAP) != nullptr);
}

bool FieldWalk::TryStepToKey(const Scalar& key)
{
    if (!TakesKeys())
        return Fail("Expected map when read ", View(m_type.m_bc != nullptr ? TextOf(m_type, m_data) : m_class->m_name));
    Key variable(m_type);
    const MapAccess& access = variable.GetAccess();
    if (const Fit fit = variable.Store(key); fit != Fit::Fits)
        return Fail(View(MisfitMessage(fit, TypeText(access.m_keyType), TextOf(key))));
    void* const payload = variable.Find(m_data);
    m_isKeyMissing = payload == nullptr && variable.CanInsert();
    if (payload == nullptr)
        return Fail("Key ", View(TextOf(key)), " is not there");
    MoveToPart(access.m_valueType, payload);
    return true;
}

bool FieldWalk::TryInsertKey(const Scalar& key)
{
    if (m_isConst)
        return Fail("The field is constant");
    m_insertedKey = std::make_unique<Key>(m_type);
    m_insertedKey->Store(key);
    MoveTo(m_insertedKey->GetAccess().m_valueType, m_insertedKey->Insert(m_data, key));
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
    if (const ForeignType* const choice = GetForeign(m_type, FF_CHOICE))
    {
        if (choice->IsOptional())
            choice->m_choice->Reset(m_data);
        return choice->IsOptional();
    }
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
