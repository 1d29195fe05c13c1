#include <klObject/describe/RegisterUsed.h>

#include <klObject/types/ClassModel.h>
#include <klObject/types/Registry.h>
#include <klObject/values/private/CompareTypes.h>
#include <klUtils/MessageOf.h>

#include <cstring>
#include <mutex>
#include <set>

namespace kelm
{

namespace
{

std::mutex& GetMutex()
{
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

bool IsSameName(ConstStringZ a, ConstStringZ b)
{
    return std::strcmp(a, b) == 0;
}

template <class Field>
bool AreSameFields(const Field* a, const ConstStringZ* namesOfA, ssize_t countOfA, const Field* b,
                   const ConstStringZ* namesOfB, ssize_t countOfB)
{
    if (countOfA != countOfB)
        return false;
    for (ssize_t i = 0; i < countOfA; ++i)
        if (!IsSameName(a[i].m_name, b[i].m_name) || a[i].m_offset != b[i].m_offset ||
            CompareTypes({a[i].m_bc, namesOfA}, {b[i].m_bc, namesOfB}) != 0)
            return false;
    return true;
}

bool IsSameType(const ReflectedClass& a, const ReflectedClass& b)
{
    if (a.m_size != b.m_size || (a.m_modelFields == nullptr) != (b.m_modelFields == nullptr))
        return false;
    const bool embeds = a.m_modelFields != nullptr && a.m_numModelFields == 0;
    return AreSameFields(a.m_fields, a.m_stringTable, GetOrdinaryFieldCount(a), b.m_fields, b.m_stringTable,
                         GetOrdinaryFieldCount(b)) &&
           (embeds ? b.m_numModelFields == 0 && IsSameName(a.m_modelFields->m_name, b.m_modelFields->m_name) &&
                         a.m_modelFields->m_offset == b.m_modelFields->m_offset
                   : AreSameFields(a.m_modelFields, a.m_stringTable, GetModelFieldCount(a), b.m_modelFields,
                                   b.m_stringTable, GetModelFieldCount(b)));
}

bool IsSameType(const ReflectedVariant& a, const ReflectedVariant& b)
{
    return a.m_size == b.m_size &&
           AreSameFields(a.m_fields, a.m_stringTable, a.m_numFields, b.m_fields, b.m_stringTable, b.m_numFields);
}

bool IsSameType(const ReflectedEnum& a, const ReflectedEnum& b)
{
    if (a.m_count != b.m_count)
        return false;
    for (int32 i = 0; i < a.m_count; ++i)
        if (!IsSameName(a.m_strings[i], b.m_strings[i]) || a.GetValue(i) != b.GetValue(i))
            return false;
    return true;
}

bool IsSameType(const ReflectedTypedef& a, const ReflectedTypedef& b)
{
    return CompareTypes({a.m_bc, a.m_stringTable}, {b.m_bc, b.m_stringTable}) == 0;
}

bool IsSameType(const ReflectedInterface&, const ReflectedInterface&)
{
    return true; // interfaces are told apart by name
}

} // namespace

struct UsedTypes::State
{
    std::unique_lock<std::mutex> m_lock{GetMutex()};
    std::set<const void*> m_met;
};

UsedTypes::UsedTypes() : m_state(new State) {}

UsedTypes::~UsedTypes()
{
    delete m_state;
}

template <class Descriptor, class Find, class Register>
void UsedTypes::AddDescriptor(const Descriptor& descriptor, const UseFn* uses, Find find, Register registerIt)
{
    if (!m_state->m_met.insert(&descriptor).second)
        return;
    const Descriptor* const registered = find(descriptor.m_name);
    const bool isTaken =
        registered != nullptr ? !IsSameType(*registered, descriptor) : registerIt(&descriptor, nullptr) != NSE_OK;
    if (registered != &descriptor && isTaken)
        throw TypeNameException(MessageOf("Another type is registered under the name '", descriptor.m_name, "'"));
    AddAll(uses);
}

void UsedTypes::Add(const ReflectedClass& descriptor, const UseFn* uses)
{
    AddDescriptor(descriptor, uses, TryFindReflectedClass, RegisterReflectedClass);
}

void UsedTypes::Add(const ReflectedVariant& descriptor, const UseFn* uses)
{
    AddDescriptor(descriptor, uses, TryFindReflectedVariant, RegisterReflectedVariant);
}

void UsedTypes::Add(const ReflectedEnum& descriptor, const UseFn* uses)
{
    AddDescriptor(descriptor, uses, TryFindReflectedEnum, RegisterReflectedEnum);
}

void UsedTypes::Add(const ReflectedTypedef& descriptor, const UseFn* uses)
{
    AddDescriptor(descriptor, uses, TryFindReflectedTypedef, RegisterReflectedTypedef);
}

void UsedTypes::Add(const ReflectedInterface& descriptor, const UseFn* uses)
{
    AddDescriptor(descriptor, uses, TryFindReflectedInterface, RegisterReflectedInterface);
}

void UsedTypes::AddAll(const UseFn* uses)
{
    for (; uses != nullptr && *uses != nullptr; ++uses)
        (*uses)(*this);
}

bool RegisterUsed(const UseFn* uses)
{
    UsedTypes().AddAll(uses);
    return true;
}

TypeNameException::~TypeNameException() = default;

} // namespace kelm
