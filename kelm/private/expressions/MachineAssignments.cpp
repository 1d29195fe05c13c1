// The assignments of a program, to names, elements and other places.

#include <kelm/private/expressions/Machine.h>

#include <kelm/private/values/PlaceSteps.h>

#include <string>
#include <utility>

namespace kelm::evaluation
{

// What is behind the place that a value is for.
bool Machine::KeepPlace(const Op&) // NOLINT: not const, as the table of operations wants it
{
    m_top[-1].m_stays = m_top[-1].m_kind == Kind::Place;
    return true;
}

namespace
{

// A part of what a function gave by value, where nobody sees what changes; but not what a pointer in it leads to.
bool IsInCopy(Slot place)
{
    ReflectionByteCode type;
    if (place.m_kind == Kind::Place && place.m_isResult)
        EnterChoices(place, type);
    return place.m_kind == Kind::Place && place.m_isResult;
}

bool FailCopy(Failure& failure)
{
    return Fail(failure, ErrorKind::Type, "Can't assign to a function's result, which is a copy");
}

} // namespace

bool Machine::Store(const Op& op)
{
    Slot& target = m_top[-2];
    OwnBelow(&target);
    if (target.m_kind != Kind::Place)
        return Fail(m_failure, ErrorKind::Type,
                    "Can't assign to " + NameOfType(target) + (target.m_kind != Kind::None ? " r-value" : ""));
    if (IsInCopy(target)) [[unlikely]]
        return FailCopy(m_failure);
    if (op.GetToken() != IndexOfToken(TOKEN_EQUAL))
    {
        *m_top = target;
        m_top->m_holder = nullptr;
        if (!CombineWith(op))
            return false;
    }
    if (!StorePlace(target, m_top[-1], GetChecks(), m_failure))
        return AtOperands(op, nullptr, m_top - 1);
    (--m_top)->Release();
    target.Release();
    target.SetNone();
    return true;
}

// The operation behind this one says where the bracket is.
bool Machine::StoreElement(const Op& op)
{
    Slot* const top = m_top;
    OwnBelow(top - 3);
    if (IsInCopy(top[-3])) [[unlikely]]
        return FailCopy(m_failure);
    bool isIndexWrong = false;
    if (!evaluation::StoreElement(top[-3], top[-2], top[-1], GetChecks(), isIndexWrong, m_failure))
    {
        if (isIndexWrong)
        {
            m_failedPlace = (&op)[1].GetPlace();
            return AtIndex((&op)[1]);
        }
        return AtOperands(op, nullptr, top - 1);
    }
    for (int i = 1; i <= 3; ++i)
        top[-i].Release();
    top[-3].SetNone();
    m_top = top - 2;
    return true;
}

bool Machine::StoreName(const Op& op)
{
    const NameUse& use = m_program->m_names[op.m_index];
    const Record* const record = m_records[op.m_index];
    if (record == nullptr)
        return Fail(m_failure, ErrorKind::Type,
                    "Can't assign to " + std::string(use.m_name) + ", which is no variable");
    if (op.GetToken() != IndexOfToken(TOKEN_EQUAL))
    {
        if (!PushAny(*record, *m_top, m_failure)) [[unlikely]]
        {
            m_failedPlace = use.m_place;
            return false;
        }
        if (!CombineWith(op))
            return false;
    }
    Slot& value = m_top[-1];
    OwnBelow(&value);
    if (!StoreInName(*record, value, GetChecks(), m_failure))
        return AtOperands(op, nullptr, &value);
    value.Release();
    value.SetNone();
    return true;
}

// The value below the top with the new value; the old one is at the top, not counted yet.
bool Machine::CombineWith(const Op& op)
{
    Slot& value = m_top[-1];
    Slot& old = *m_top++;
    std::swap(value, old);
    if (!GetOperations().m_binary[op.GetToken()](value, old, op.GetToken(), m_failure))
        return AtOperands(op, &value, &old);
    --m_top;
    return true;
}

} // namespace kelm::evaluation
