#include <kelm/Visit.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Conversions.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/StackSegment.h>
#include <klUtils/VectorOfByte.h>

#include <unordered_set>
#include <vector>

namespace kelm
{

class FieldVisitor
{
public:
    FieldVisitor(void (*visit)(void* context, const Field& field), void* context) : m_visit(visit), m_context(context)
    {
    }

    static Field MakeWhole(const ReflectionByteCode& type, void* data)
    {
        Field whole;
        whole.m_type = type;
        whole.m_data = data;
        return whole;
    }

    // What lies in a field.
    void VisitInside(const Field& field, ReflectionByteCode type, void* data)
    {
        if (IsStackLow())
            return CallOnFreshSegment([&] { VisitInside(field, type, data); });
        type.AdvanceToUnderlyingType2();
        switch (type.GetCode())
        {
        case FT_CLASS:
            if (const ReflectedClass* const rc = type.GetReflectedClass())
                VisitMembers(field, *rc, data);
            return;
        case FT_ARRAY: return VisitElements(field, type.GetElementType(), data, type.GetArrayCount());
        case FT_VECTOR:
        case FT_DYNARRAY:
        {
            auto& vector = *static_cast<VectorOfByte*>(data);
            const ReflectionByteCode elementType = type.GetElementType();
            const ssize_t size = elementType.GetTypeSize();
            return VisitElements(field, elementType, vector.data(), size > 0 ? vector.size() / size : 0);
        }
        case FT_MAP:
        {
            const ReflectionByteCode keyType = type.GetElementType();
            ReflectionByteCode payloadType = keyType;
            payloadType.ScanType();
            payloadType.m_mapOrSetFns = type.m_mapOrSetFns + 1;
            return VisitEntries(field, *type.m_mapOrSetFns->mapFns, data, keyType, payloadType);
        }
        case FT_FOREIGN: return VisitForeign(field, type.GetForeignType(), data);
        default: return;
        }
    }

    void VisitMembers(const Field& field, const ReflectedClass& rc, void* data)
    {
        const ClassModel model = FindClassModel(rc);
        if (model.m_class == nullptr)
            return;
        Field member;
        member.m_outer = &field;
        for (ssize_t i = 0; i < GetModelFieldCount(*model.m_class); ++i)
        {
            const ReflectedModelField& f = model.m_class->m_modelFields[i];
            if (!IsPresent(f))
                continue;
            member.m_name = f.m_name;
            VisitField(member, {f.m_bc, model.m_class->m_stringTable, f.m_mapOrSetFns},
                       static_cast<char*>(data) + model.m_offset + f.m_offset);
        }
    }

private:
    void VisitField(Field& field, const ReflectionByteCode& type, void* data)
    {
        field.m_type = type;
        field.m_data = data;
        m_visit(m_context, field);
        VisitInside(field, type, data);
    }

    void VisitElements(const Field& list, const ReflectionByteCode& type, void* data, ssize_t count)
    {
        const ssize_t size = type.GetTypeSize();
        Field element;
        element.m_outer = &list;
        for (ssize_t i = 0; i < count; ++i)
        {
            element.m_index = i;
            VisitField(element, type, static_cast<char*>(data) + i * size);
        }
    }

    // Fns is MapFns or ForeignMapFns.
    template <class Fns>
    void VisitEntries(const Field& map, const Fns& fns, void* data, const ReflectionByteCode& keyType,
                      const ReflectionByteCode& payloadType)
    {
        struct Entry
        {
            const void* m_key;
            void* m_payload;
        };
        std::vector<Entry> entries;
        fns.ForEach(
            data,
            [](void* context, const void* key, void* payload)
            {
                static_cast<std::vector<Entry>*>(context)->push_back({key, payload});
                return true;
            },
            &entries);
        Field field;
        field.m_outer = &map;
        field.m_keyType = keyType;
        for (const Entry& entry : entries)
        {
            field.m_key = entry.m_key;
            VisitField(field, payloadType,
                       entry.m_payload != nullptr ? entry.m_payload : const_cast<void*>(entry.m_key));
        }
    }

    void VisitForeign(const Field& field, const ForeignType& type, void* data)
    {
        switch (type.GetForm())
        {
        case FF_TEXT: return;
        case FF_LIST:
        {
            Field element;
            element.m_outer = &field;
            for (ssize_t i = 0; i < type.m_list->Count(data); ++i)
            {
                element.m_index = i;
                VisitField(element, type.GetElementType(i), type.m_list->At(data, i));
            }
            return;
        }
        case FF_MAP:
            return VisitEntries(field, *type.m_map, data, type.GetPartType(0), type.GetPartType(type.m_numParts - 1));
        case FF_CHOICE:
        {
            const int32 part = type.m_choice->GetIndex(data);
            if (part < 0)
                return;
            void* const value = type.m_choice->GetValue(data);
            // Shared pointers may form a circle.
            const bool isShared = type.m_choice->IsShared != nullptr && type.m_choice->IsShared(data);
            if (isShared && !m_targets.insert(value).second)
                return;
            VisitInside(field, type.GetPartType(part), value);
            if (isShared)
                m_targets.erase(value);
            return;
        }
        }
    }

    void (*m_visit)(void* context, const Field& field);
    void* m_context;
    std::unordered_set<const void*> m_targets; // of the shared pointers on the way
};

std::string Field::GetPath() const
{
    std::vector<const Field*> steps;
    for (const Field* field = this; field->m_outer != nullptr; field = field->m_outer)
        steps.push_back(field);
    std::string path;
    for (std::size_t i = steps.size(); i-- > 0;)
    {
        const Field& step = *steps[i];
        if (step.m_name != nullptr)
            path.append(".").append(step.m_name);
        else
            path +=
                "[" + (step.m_key != nullptr ? TextOf(step.m_keyType, step.m_key) : std::to_string(step.m_index)) + "]";
    }
    return path;
}

std::string Field::GetTypeName() const
{
    return TypeText(m_type);
}

void VisitFields(const FieldStart& start, void (*visit)(void* context, const Field& field), void* context)
{
    *Attempt({}, {},
             [&]
             {
                 FieldVisitor visitor(visit, context);
                 if (start.m_type != nullptr)
                 {
                     const Field whole = FieldVisitor::MakeWhole(start.m_type->Get(), start.m_data);
                     visitor.VisitInside(whole, start.m_type->Get(), start.m_data);
                 }
                 else if (start.m_object)
                 {
                     const Field whole = FieldVisitor::MakeWhole({}, start.m_object.self());
                     visitor.VisitMembers(whole, *start.m_object.GetReflectedClass(), start.m_object.self());
                 }
             });
}

} // namespace kelm
