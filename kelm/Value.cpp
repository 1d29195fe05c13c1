#include <kelm/Value.h>

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/types/Names.h>
#include <kelm/private/values/PlaceSteps.h>
#include <kelm/private/values/Places.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/MessageOf.h>

#include <ostream>

namespace kelm
{

void Value::SetUnsigned(uint64 x)
{
    evaluation::Failure failure;
    if (!evaluation::FromUnsigned(x, m_slot, failure))
        evaluation::ThrowWithoutPlace(failure);
}

void Value::SetCharacter(const uint8& code, const void* character)
{
    evaluation::Failure failure;
    m_slot.SetPlace(character, {&code, nullptr}, true);
    evaluation::LoadPlace(m_slot, failure);
    Keep();
}

void Value::Keep()
{
    if (m_slot.m_kind == evaluation::Kind::Text && m_slot.m_holder == nullptr)
        evaluation::SetOwnText(m_slot, m_slot.GetText());
    else
        m_slot.Retain();
}

Value::Kind Value::GetKind() const
{
    static_assert(static_cast<int>(evaluation::Kind::Place) == static_cast<int>(Kind::Object));
    evaluation::Slot there = m_slot;
    ReflectionByteCode type;
    const bool isEmpty = there.m_kind == evaluation::Kind::Place && !evaluation::EnterChoices(there, type);
    return isEmpty ? Kind::None : static_cast<Kind>(m_slot.m_kind);
}

std::string_view Value::GetText() const
{
    if (m_slot.m_kind == evaluation::Kind::Text)
        return m_slot.GetText();
    evaluation::Failure failure;
    evaluation::FailConversion(failure, m_slot, "string");
    evaluation::ThrowWithoutPlace(failure);
}

std::vector<std::string> Value::GetMemberNames() const
{
    const ReflectedClass* const rc = evaluation::ClassOf(m_slot);
    return rc != nullptr ? ModelFieldNames(*rc) : std::vector<std::string>();
}

std::string Value::ToText() const
{
    if (m_slot.m_kind != evaluation::Kind::Place)
        return evaluation::Written(m_slot);
    try
    {
        StringStream os(256);
        WriteVariable(os, m_slot.GetType(), m_slot.m_address);
        const xstring text = os.GetString();
        return std::string(std::string_view(text));
    }
    catch (const WriteException& e)
    {
        throw Error({.m_kind = ErrorKind::Type, .m_message = e.what()});
    }
}

std::ostream& operator<<(std::ostream& os, const Value& value)
{
    return os << value.ToText();
}

} // namespace kelm
