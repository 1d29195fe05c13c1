#include <kelmDocument/private/Subject.h>

#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/files/WholeTexts.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

namespace kelm::editing
{

namespace
{

class StringOutput : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

    std::string m_text;
};

// What `write` writes; nothing where it cannot be written.
template <class F>
std::optional<std::string> WrittenBy(const F& write)
{
    StringOutput os;
    try
    {
        write(os);
    }
    catch (const WriteException&)
    {
        return std::nullopt;
    }
    return std::move(os.m_text);
}

// Of a registered type.
UsedType Used(const ReflectionByteCode& type)
{
    return {type.m_bc, type.m_stringTable, type.m_mapOrSetFns, [] {}, nullptr};
}

} // namespace

bool Reading::TryReadValue(std::string_view text, const ReflectionByteCode& type, void* data) const
{
    try
    {
        ReadValue(s_textName, text, type, data);
        return true;
    }
    catch (const Error&)
    {
        return false;
    }
}

void Reading::ReadValue(std::string_view name, std::string_view text, const ReflectionByteCode& type, void* data) const
{
    const SourceText source{name, text};
    if (!IsExact())
        return *ReadWholeText(source, Used(type), data, m_policy.GetUnknownMembers());
    *Attempt(source, {},
             [&]
             {
                 ExpressionParser parser;
                 parser.Init(source.View());
                 ParseVariable(parser, type, data);
                 if (parser.m_token.m_type != TOKEN_END)
                     parser.ThrowExpectedException("end of text");
             });
}

std::optional<std::string> Reading::Written(const ReflectionByteCode& type, const void* data) const
{
    return WrittenBy([&](xostream& os) { WriteVariable(os, type, data, {.m_isWhole = !IsExact()}); });
}

std::optional<std::string> Reading::Written(const ptr<IObject>& object) const
{
    return WrittenBy([&](xostream& os) { WriteObject(os, object, {.m_isWhole = !IsExact()}); });
}

Subject::Subject(const Reading& reading) : m_reading(reading)
{
    if (const UsedType* const type = reading.GetPolicy().GetType())
        *Attempt({}, {}, [&] { Make(*type); });
}

Subject::Subject(const Reading& reading, const Document& document, std::string_view name) : Subject(reading)
{
    const SourceText source{name, WithoutByteOrderMark(document.GetText())};
    const DocumentPolicy& policy = reading.GetPolicy();
    if (policy.GetType() != nullptr)
        *ReadWholeText(source, *policy.GetType(), m_data, policy.GetUnknownMembers());
    else if (!policy.IsExact())
        Hold((*ReadWholeObject(source, policy.GetUnknownMembers())).GetHandle());
    else
        *Attempt(source, {},
                 [&]
                 {
                     ExpressionParser parser;
                     parser.Init(source.View());
                     Hold(ParseDataSource(parser));
                 });
}

void Subject::Hold(ptr<IObject> object)
{
    m_object = object;
    if (!object)
        return;
    m_class = object.GetReflectedClass();
    m_data = object.self();
}

// What holds handles is an object itself, which keeps others alive.
void Subject::Make(const UsedType& type)
{
    m_type = type.Get();
    m_type.AdvanceToUnderlyingType2();
    const ReflectedClass* const rc = m_type.GetReflectedClass();
    if (rc != nullptr && rc->m_createFn != nullptr)
    {
        m_object = rc->m_createFn();
        RegisterGcObject(m_object.get());
        m_data = m_object.get().self();
        return;
    }
    m_variable = std::make_unique<evaluation::Variable>(m_type);
    m_data = m_variable->Get();
}

std::optional<std::string> Subject::Written() const
{
    return m_type.m_bc != nullptr ? m_reading.Written(m_type, m_data) : m_reading.Written(m_object.get());
}

} // namespace kelm::editing
