#include "Values.h"

#include "../files/DataSources.h"
#include "../json/JsonText.h"
#include "../json/JsonVariable.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"

#include <kelm/private/types/TypeText.h>
#include <klKelmScript/KSValue.h>
#include <klObject/values/WriteVariable.h>

namespace kelm::tool
{

namespace
{

EKSValue TagOf(const Value& value)
{
    switch (value.GetKind())
    {
    case Value::Kind::None: return KSV_VOID;
    case Value::Kind::Bool: return KSV_BOOL;
    case Value::Kind::Integer: return KSV_INT64;
    case Value::Kind::Float: return KSV_FLOAT64;
    case Value::Kind::Text: return KSV_STRING8;
    case Value::Kind::Object: break;
    }
    return KSV_REFLECTED_VALUE;
}

void Write(xostream& os, const Value& value)
{
    const evaluation::Slot& slot = ValueAccess::Of(value);
    switch (value.GetKind())
    {
    case Value::Kind::None: break;
    case Value::Kind::Bool: os << slot.m_bool; break;
    case Value::Kind::Integer: os << slot.m_integer; break;
    case Value::Kind::Float: os << slot.m_float; break;
    case Value::Kind::Text: os.put(slot.m_text, static_cast<long>(slot.m_size)); break;
    case Value::Kind::Object: WriteVariable(os, slot.GetType(), slot.m_address); break;
    }
}

void Write(JsonText& json, const Value& value)
{
    const evaluation::Slot& slot = ValueAccess::Of(value);
    switch (value.GetKind())
    {
    case Value::Kind::None: return json.Null();
    case Value::Kind::Bool: return json.Bool(slot.m_bool);
    case Value::Kind::Integer: return json.Integer(slot.m_integer);
    case Value::Kind::Float: return json.Float(slot.m_float);
    case Value::Kind::Text: return json.Text(slot.GetText());
    case Value::Kind::Object: return WriteJson(json, slot.GetType(), slot.m_address);
    }
}

bool PutValue(const Value& value, bool withKind)
{
    if (value.GetKind() == Value::Kind::None && !withKind)
        return true;
    if (withKind)
    {
        Put(KindOf(value));
        Put(" ");
    }
    OutputStream os;
    const bool isWritten = TryWrite([&] { Write(os, value); });
    Put("\n");
    return isWritten;
}

bool PutJson(const SourceText& source, const Outcome& outcome, std::optional<int64> index)
{
    JsonText json(JSON_COMPACT);
    json.BeginObject();
    if (index)
    {
        json.Name("index");
        json.Integer(*index);
    }
    if (outcome.m_failure)
    {
        json.Name("error");
        WriteJson(json, *outcome.m_failure, source);
    }
    else
    {
        json.Name("value");
        if (!TryWrite([&] { Write(json, outcome.m_value); }))
            return false;
        json.Name("kind");
        json.Text(KindOf(outcome.m_value));
    }
    json.EndObject();
    PutLine(json.GetText());
    return !outcome.m_failure;
}

} // namespace

EValueForm ValueFormOf(const Options& options)
{
    return options.m_json ? VALUE_JSON : options.m_type ? VALUE_TYPED : VALUE_PLAIN;
}

std::string KindOf(const Value& value)
{
    const EKSValue tag = TagOf(value);
    return tag != KSV_REFLECTED_VALUE ? TypeToString(tag) : TypeText(ValueAccess::Of(value).GetType());
}

void PutOtherPlain(const KSValue& value)
{
    switch (value.GetTag())
    {
    case KSV_BOOL: return PutLine(value.as<bool>() ? "true" : "false");
    case KSV_STRING8: return PutLine(value.as<string8>().view());
    case KSV_FLOAT64:
    {
        char* end = PutNumber(RoomInOutput(s_numberRoom + 1), value.as<float64>());
        *end++ = '\n';
        return TakeAsPut(end);
    }
    case KSV_INT64: // written by the caller
    case KSV_VOID:
    case KSV_REFLECTED_VALUE: break; // no expression has such a value
    }
}

bool PutOutcome(const SourceText& source, const Outcome& outcome, EValueForm form, std::optional<int64> index)
{
    if (form == VALUE_JSON)
        return PutJson(source, outcome, index);
    if (outcome.m_failure)
    {
        Report(source, *outcome.m_failure);
        return false;
    }
    return PutValue(outcome.m_value, form == VALUE_TYPED);
}

} // namespace kelm::tool
