#pragma once

// Objects of the collector: Object, of a class that is known at run time alone, and Root<T>, of one that the program
// knows. Both keep the object, and all that it reaches, alive; copies share it. Each belongs to one thread.
//
//     kelm::Register<Circle, Square>();                            // classes that only texts name
//     kelm::Object shape = kelm::ReadFile<kelm::Object>("shape.kds");
//     if (shape.Is<Circle>())
//         shape.As<Circle>().radius *= 2;

#include <kelm/Error.h>
#include <kelm/UsedType.h>
#include <kelm/api.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/GcObject.h>

#include <string_view>
#include <type_traits>
#include <vector>

namespace kelm
{

// Registers classes that the program itself does not name again, but its texts do.
template <class... Ts>
void Register();

class KELM_API Object
{
public:
    Object() = default; // of nothing, which texts write as null
    explicit Object(ptr<IObject> handle) : m_root(handle) {}

    explicit operator bool() const { return static_cast<bool>(m_root.get()); }

    // Of the class: its full name and the members that a text can name. Throw an error of kind Range where there is no
    // object.
    std::string_view GetClassName() const;
    std::vector<std::string_view> GetMemberNames() const;

    // Whether it is a T, or has one as a base.
    template <DescribedClass T>
    bool Is() const
    {
        return TryGetAs(s_typeOf<T>) != nullptr;
    }

    // Throws an error of kind Type where it is no T, of kind Range where there is no object, of kind Name where T is
    // another class than the one that is known under its name.
    template <DescribedClass T>
    T& As() const
    {
        return *static_cast<T*>(GetAs(s_typeOf<T>));
    }

    // For handles in objects.
    ptr<IObject> GetHandle() const { return m_root.get(); }

private:
    const ReflectedClass& GetClass() const;
    void* TryGetAs(const UsedType& type) const;
    void* GetAs(const UsedType& type) const;

    GcRoot m_root;
};

template <DescribedClass T>
class Root
{
public:
    // A new object.
    Root();

    T& operator*() const { return *static_cast<T*>(m_root.get().self()); }
    T* operator->() const { return &**this; }

    ptr<IObject> GetHandle() const { return m_root.get(); }

private:
    GcRoot m_root;
};

// --- The inside

// Registers types; what is wrong with one is thrown as an error.
KELM_API void EnsureAll(const UsedType* const* types);

template <class... Ts>
void Register()
{
    if constexpr ((CheckDescribable<Ts>() && ...))
    {
        static constexpr const UsedType* s_types[] = {&s_typeOf<Ts>..., nullptr};
        EnsureAll(s_types);
    }
}

template <DescribedClass T>
Root<T>::Root()
{
    Register<T>();
    const ptr<IObject> object = CreateGcObject<T>();
    m_root = object;
    RegisterGcObject(object);
}

} // namespace kelm
