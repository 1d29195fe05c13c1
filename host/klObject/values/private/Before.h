#pragma once

// What writing leaves out: what a variable holds before it is read, since reading only adds to vectors and maps.

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/private/CheckedType.h>
#include <klUtils/types.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace kelm
{

// A variable as creation makes it. Made when it is asked for, which few types need.
class DefaultVariable
{
public:
    explicit DefaultVariable(ReflectionByteCode type) : m_type(type) {}
    explicit DefaultVariable(const ReflectedClass& createdClass) : m_class(&createdClass) {}
    DefaultVariable(const DefaultVariable&) = delete;
    DefaultVariable& operator=(const DefaultVariable&) = delete;
    ~DefaultVariable()
    {
        if (m_memory != nullptr)
            DestructReflectedVariable(m_type, m_memory.get());
        if (m_object)
            m_object.fns()->Destroy(m_object.self());
    }

    const char* Get()
    {
        if (m_class != nullptr && !m_object)
            m_object = m_class->m_createFn();
        if (m_class != nullptr)
        {
            Require(bool(m_object), "m_object", "host/klObject/values/WriteVariable", __LINE__);
            return static_cast<const char*>(m_object.self());
        }
        if (m_memory == nullptr)
        {
            auto memory = std::make_unique<char[]>(static_cast<std::size_t>(m_type.GetTypeSize()));
            ConstructReflectedVariable(m_type, memory.get());
            m_memory = std::move(memory);
        }
        return m_memory.get();
    }

private:
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
    const ReflectedClass* m_class = nullptr;
    ptr<IObject> m_object;
};

// What a variable holds before it is read: a part of a default variable, or something that exists.
class Before
{
public:
    explicit Before(DefaultVariable& whole) : m_whole(&whole) {}
    explicit Before(const void* existing) : m_existing(static_cast<const char*>(existing)) {}

    const void* Get() const { return (m_whole != nullptr ? m_whole->Get() : m_existing) + m_offset; }
    Before At(ssize_t offset) const
    {
        Before part = *this;
        part.m_offset += offset;
        return part;
    }

private:
    DefaultVariable* m_whole = nullptr;
    const char* m_existing = nullptr;
    ssize_t m_offset = 0;
};

} // namespace kelm
