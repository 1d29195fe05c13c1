#pragma once

// What a document is read as, by its policy.

#include <kelmDocument/Document.h>
#include <kelmDocument/Policy.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/values/Variable.h>
#include <klObject/objects/Collector.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::editing
{

// Reads and writes values as a policy has it.
class Reading
{
public:
    explicit Reading(const DocumentPolicy& policy) : m_policy(policy) {}

    const DocumentPolicy& GetPolicy() const { return m_policy; }
    bool IsExact() const { return m_policy.IsExact(); }

    // All of a text, into a constructed variable. Throws kelm::Error about that text.
    void ReadValue(std::string_view name, std::string_view text, const ReflectionByteCode& type, void* data) const;

    // Whether it could.
    bool TryReadValue(std::string_view text, const ReflectionByteCode& type, void* data) const;

    // On one line; nothing where it cannot be written.
    std::optional<std::string> Written(const ReflectionByteCode& type, const void* data) const;
    std::optional<std::string> Written(const ptr<IObject>& object) const;

private:
    DocumentPolicy m_policy;
};

// The object, or the variable of the type that the policy names.
class Subject
{
public:
    // What is new, of the type that the policy names. Throws kelm::Error where that cannot be used.
    explicit Subject(const Reading& reading);

    // An object that is there.
    Subject(const Reading& reading, ptr<IObject> object) : m_reading(reading) { Hold(object); }

    // Throws kelm::Error about the document, too.
    Subject(const Reading& reading, const Document& document, std::string_view name = s_textName);

    const Reading& GetReading() const { return m_reading; }

    // The type where the policy names one; otherwise the class. Neither of a null object.
    const ReflectionByteCode& GetType() const { return m_type; }
    const ReflectedClass* GetClass() const { return m_class; }
    void* GetData() const { return m_data; }
    ptr<IObject> GetObject() const { return m_object.get(); }

    std::optional<std::string> Written() const;

private:
    void Make(const UsedType& type);
    void Hold(ptr<IObject> object);

    Reading m_reading;
    GcRoot m_object;
    std::unique_ptr<evaluation::Variable> m_variable;
    ReflectionByteCode m_type = {};
    const ReflectedClass* m_class = nullptr;
    void* m_data = nullptr;
};

} // namespace kelm::editing
