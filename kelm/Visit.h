#pragma once

// Every field of an object: Visit(object, f) calls f(const Field&) for each member and element, for a container before
// its elements, in the order of the declarations and of the data. Constant objects can be visited.
//
//     kelm::Visit(order, [](const kelm::Field& field)
//                 { std::cout << field.GetPath() << " is a " << field.GetTypeName() << '\n'; });
//
// What an optional or a pointer holds is visited in its place. Handles of collected objects are fields and lead
// nowhere.

#include <kelm/Fields.h>
#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>

#include <memory>
#include <string>
#include <type_traits>

namespace kelm
{

// A field while it is visited.
class KELM_API Field
{
public:
    // From the object on: ".lines[0].price". Made when it is asked for.
    std::string GetPath() const;

    std::string GetTypeName() const;

    // As Get of the path, by the same table.
    template <class T>
    T Get() const
    {
        return GetFieldAs<T>({.m_reached = &m_type, .m_data = m_data}, {});
    }
    template <class T>
    Result<T> TryGet() const
    {
        return TryGetFieldAs<T>({.m_reached = &m_type, .m_data = m_data}, {});
    }

private:
    friend class FieldVisitor;

    ReflectionByteCode m_type;
    void* m_data = nullptr;

    // The step from the outer field, which is null for the object itself: a member, an entry or an element.
    const Field* m_outer = nullptr;
    ConstStringZ m_name = nullptr;
    const void* m_key = nullptr;
    ReflectionByteCode m_keyType;
    ssize_t m_index = 0;
};

// --- The inside

KELM_API void VisitFields(const FieldStart& start, void (*visit)(void* context, const Field& field), void* context);

template <class Whole, class F>
void Visit(const Whole& whole, F&& f)
{
    VisitFields(
        StartOf(whole),
        [](void* context, const Field& field) { (*static_cast<std::remove_reference_t<F>*>(context))(field); },
        const_cast<void*>(static_cast<const void*>(std::addressof(f))));
}

} // namespace kelm
