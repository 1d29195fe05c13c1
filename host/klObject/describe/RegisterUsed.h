#pragma once

// Registration on first use: EnsureRegistered<T>() (TypeOf.h) registers T and all classes, enumerations, variants and
// typedefs that it is made of, once and from any thread. Types may use each other in circles. A type that two shared
// libraries describe alike is registered by the first; two different types of one name are a TypeNameException.

#include <klObject/api.h>
#include <klObject/describe/Description.h>
#include <klObject/describe/TypeEmitter.h>
#include <klObject/describe/TypeName.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/MessageException.h>

#include <type_traits>

namespace kelm
{

class KLOBJECT_API TypeNameException : public MessageException
{
public:
    using MessageException::MessageException; // "Another type is registered under the name 'shop::Order'"
    ~TypeNameException() override;
};

// One registration on first use, which holds the lock of all of them.
class KLOBJECT_API UsedTypes
{
public:
    UsedTypes();
    ~UsedTypes();
    UsedTypes(const UsedTypes&) = delete;
    UsedTypes& operator=(const UsedTypes&) = delete;

    // Registers a descriptor that is not registered yet, and calls what it uses.
    void Add(const ReflectedClass& descriptor, const UseFn* uses);
    void Add(const ReflectedVariant& descriptor, const UseFn* uses);
    void Add(const ReflectedEnum& descriptor, const UseFn* uses);
    void Add(const ReflectedTypedef& descriptor, const UseFn* uses);
    void Add(const ReflectedInterface& descriptor, const UseFn* uses);

    // Calls each of a list that ends with a null; none where there is no list.
    void AddAll(const UseFn* uses);

private:
    template <class Descriptor, class Find, class Register>
    void AddDescriptor(const Descriptor& descriptor, const UseFn* uses, Find find, Register registerIt);

    struct State;
    State* m_state;
};

// A registration of all that a list uses. Returns true.
KLOBJECT_API bool RegisterUsed(const UseFn* uses);

template <class T>
struct RecordOf;
template <class T>
constexpr bool CheckMembers();

// Of a type that is described here, or by hand.
template <class T>
void UseType(UsedTypes& used)
{
    if constexpr (DescribedClass<T>)
    {
        if constexpr (CheckMembers<T>())
            used.Add(RecordOf<T>::s_record, RecordOf<T>::GetUses());
    }
    else if constexpr (Described<T>)
        used.Add(RecordOf<T>::s_record, RecordOf<T>::GetUses());
    else
        used.Add(_GetReflected(static_cast<const T*>(nullptr)), nullptr);
}

} // namespace kelm
