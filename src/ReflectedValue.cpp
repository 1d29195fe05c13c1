#include <klKelmScript/ReflectedValue.h>

#include <klKelmScript/private/RegisterInModule.h>
#include <klObject/types/TypeOps.h>
#include <klObject/values/ReflectedVariable.h>

#include <utility>

namespace kelm
{

// The array operations are part of the library's interface, beside the record that points at them.
template KLKELMSCRIPT_API void ConstructArray<ReflectedValue>(void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void CopyConstructArray<ReflectedValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void AssignArray<ReflectedValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
template KLKELMSCRIPT_API void DestructArray<ReflectedValue>(void*, ssize_t, ssize_t);

namespace
{

constexpr TypeOps s_typeOps = {
    .m_size = sizeof(ReflectedValue),
    .m_ConstructArrayFn = ConstructArray<ReflectedValue>,
    .m_CopyConstructArrayFn = CopyConstructArray<ReflectedValue>,
    .m_AssignArrayFn = AssignArray<ReflectedValue>,
    .m_DestructArrayFn = DestructArray<ReflectedValue>,
};

const ReflectedClass s_class = {
    .m_name = "kelm::ReflectedValue",
    .m_size = sizeof(ReflectedValue),
    .m_ops = &s_typeOps,
};

} // namespace

ReflectedValue::ReflectedValue(const ReflectedValue& other) : m_rbc(other.m_rbc)
{
    m_data.resize(other.m_data.size());
    ConstructReflectedVariable(m_rbc, m_data.data());
}

ReflectedValue::~ReflectedValue()
{
    DestructReflectedVariable(m_rbc, m_data.data());
}

ReflectedValue& ReflectedValue::operator=(const ReflectedValue& other)
{
    ReflectedValue copy(other);
    swap(copy);
    return *this;
}

void ReflectedValue::swap(ReflectedValue& other) noexcept
{
    std::swap(m_rbc, other.m_rbc);
    m_data.swap(other.m_data);
}

bool ReflectedValue::operator==(const ReflectedValue& other) const
{
    return CompareEqReflectedVariable(m_rbc, m_data.data(), other.m_rbc, other.m_data.data());
}

bool ReflectedValue::operator<(const ReflectedValue& other) const
{
    return CompareLtReflectedVariable(m_rbc, m_data.data(), other.m_rbc, other.m_data.data());
}

int ReflectedValue::CompareWith(const ReflectedValue& other, EComparison question) const
{
    return CompareReflectedVariables(question, m_rbc, m_data.data(), other.m_rbc, other.m_data.data());
}

const ReflectedClass& _GetReflected(const ReflectedValue*)
{
    return s_class;
}

const TypeOps* _GetTypeOps(const ReflectedValue*)
{
    return s_class.m_ops;
}

void _Register_ReflectedValue()
{
    RegisterInModule(RegisterReflectedClass, _GetReflected(static_cast<const ReflectedValue*>(nullptr)),
                     "kelm::RegisterReflectedClass(&_GetReflected( (ReflectedValue*) 0),", "src/KSValue", __LINE__);
}

} // namespace kelm
