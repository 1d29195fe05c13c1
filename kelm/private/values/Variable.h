#pragma once

// A variable of a type that is known at run time alone, for as long as it is needed.

#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/ReflectedVariable.h>

#include <cstddef>
#include <memory>

namespace kelm::evaluation
{

class Variable
{
public:
    explicit Variable(const ReflectionByteCode& type) : m_type(type)
    {
        const auto size = static_cast<std::size_t>(type.GetTypeSize());
        if (size > sizeof m_small)
            m_large.reset(new char[size]);
        ConstructReflectedVariable(m_type, Get());
    }
    ~Variable() { DestructReflectedVariable(m_type, Get()); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void* Get() const { return m_large != nullptr ? m_large.get() : m_small; }

private:
    ReflectionByteCode m_type;
    alignas(std::max_align_t) mutable char m_small[64];
    std::unique_ptr<char[]> m_large;
};

} // namespace kelm::evaluation
