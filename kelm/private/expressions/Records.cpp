// What a scope's names stand for, as values.

#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/values/Places.h>

#include <string>

namespace kelm::evaluation
{

namespace
{

// A scope's variable as a place.
Slot PlaceOf(const Record& record)
{
    Slot place;
    if (record.m_is == Record::Is::Place)
        return record.m_slot;
    place.SetPlace(record.m_variable, TypeOfCode(record.m_type), record.m_isConst);
    return place;
}

} // namespace

bool PushAny(const Record& record, Slot& slot, Failure& failure)
{
    switch (record.m_is)
    {
    case Record::Is::Text: slot.SetText(*static_cast<const std::string*>(record.m_variable)); return true;
    case Record::Is::Value:
        slot = record.m_slot;
        slot.Retain();
        return true;
    case Record::Is::Place: slot = record.m_slot; return true;
    case Record::Is::Member:
        slot = ValueAccess::Of(*record.m_object);
        slot.Retain();
        return true;
    case Record::Is::Float64:
    case Record::Is::Int64:
    case Record::Is::Int32:
    case Record::Is::Scalar:
        slot = PlaceOf(record);
        if (LoadPlace(slot, failure))
            return true;
        break;
    case Record::Is::Function: Fail(failure, ErrorKind::Type, record.m_name + " is a function"); break;
    case Record::Is::Nothing: Fail(failure, ErrorKind::Name, "Unknown name " + record.m_name); break;
    }
    return false;
}

bool StoreInName(const Record& record, const Slot& value, const Checks& checks, Failure& failure)
{
    switch (record.m_is)
    {
    case Record::Is::Function:
    case Record::Is::Value:
    case Record::Is::Member:
    case Record::Is::Nothing:
        return Fail(failure, ErrorKind::Type, "Can't assign to " + record.m_name + ", which is no variable");
    case Record::Is::Text:
    {
        if (record.m_isConst)
            break;
        std::string_view text;
        std::string room;
        if (!ToText(value, text, room, failure))
            return false;
        *static_cast<std::string*>(const_cast<void*>(record.m_variable)) = text;
        return true;
    }
    default:
        if (record.m_isConst)
            break;
        return StorePlace(PlaceOf(record), value, checks, failure);
    }
    return Fail(failure, ErrorKind::Type, "Can't assign to " + record.m_name + ", which is const");
}

} // namespace kelm::evaluation
