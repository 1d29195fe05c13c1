#pragma once

// Records the names of an expression: those of lists' elements, of parameters and of the scope, and the members behind
// them; with what is known of their types, where the program is typed.

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/KnownTypes.h>
#include <kelm/private/expressions/Locals.h>
#include <kelm/private/expressions/OperandRecorder.h>
#include <kelm/private/expressions/Program.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/expressions/UnknownNames.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace kelm::evaluation
{

class NameRecorder : protected OperandRecorder
{
protected:
    // The types of the parameters may be known; then the program is typed.
    NameRecorder(Program& program, const Scope* scope, bool hasScope, bool isTyped, const ParameterType* types)
        : OperandRecorder(program, isTyped), m_scope(scope), m_types(types), m_hasScope(hasScope)
    {
    }

    bool FindLocal(std::string_view name, Operand& operand, std::size_t place)
    {
        if (const Local* const local = m_locals.Find(name))
        {
            const bool isKnown = m_isTyped && local->m_isKnown;
            const bool mayHaveMoved = local->m_calls != m_numCalls;
            operand.m_is = Operand::Is::Local;
            operand.m_kind = Kind::None;
            operand.m_index = local->m_slot;
            operand.m_place = place;
            if (!isKnown && mayHaveMoved)
                m_waits = true;
            if (isKnown)
            {
                SpillCached();
                if (mayHaveMoved)
                    m_program->m_ops[EmitStep(ElementAgainStep(), place)].m_index = operand.m_index;
                m_program->m_ops[EmitStep(LocalAddressStep(), 0)].m_index = operand.m_index;
                SetAddress(operand, local->m_variable);
            }
            return true;
        }
        for (std::size_t i = 0; i < m_program->m_parameters.size(); ++i)
            if (m_program->m_parameters[i] == name)
            {
                operand.m_is = Operand::Is::Parameter;
                operand.m_kind = Kind::None;
                operand.m_index = static_cast<uint32>(i);
                if (m_isTyped)
                    LookAtParameter(operand, m_types[i]);
                return true;
            }
        return false;
    }

    static bool IsName(const Operand& operand)
    {
        return operand.m_is == Operand::Is::Name ||
               ((operand.m_is == Operand::Is::Scalar || operand.m_is == Operand::Is::Object) &&
                operand.m_from == From::Memory && operand.m_index != Operand::s_noName);
    }

    void StepToMember(Operand& operand, std::string_view name, std::size_t place)
    {
        if (IsKnownVariable(operand) && StepToKnownMember(operand.m_variable, name))
            return Settle(operand);
        Push(operand);
        Emit(Code::Member, TOKEN_END, AddText(name), place);
        SetPlace(operand);
    }

    // The object whose members are names, which is another one at each evaluation, but of the same type.
    void LookAtObject(Operand& operand, const Record& record)
    {
        const Slot& object = ValueAccess::Of(*record.m_object);
        if (object.m_kind != Kind::Place || object.m_bc == nullptr || object.m_holder != nullptr)
            return; // places in what is held are made by the general operations, which hold it
        SpillCached();
        m_program->m_ops[EmitStep(ObjectAddressStep(), 0)].m_left = record.m_object;
        SetAddress(operand, KnownVariable::Of(object.GetType(), object.m_isConst, 0));
    }

    // What the name of an operand stands for, if that is known.
    void LookAtRecord(Operand& operand, const Record* record)
    {
        if (record == nullptr)
        {
            m_needsGeneralForm = true;
            return;
        }
        operand.m_from = From::Memory;
        const auto set = [&](ETypeByteCode type, const void* variable)
        {
            if (KindOfScalar(type) == Kind::None)
                return;
            operand.m_is = Operand::Is::Scalar;
            operand.m_kind = KindOfScalar(type);
            operand.m_at = variable;
            operand.m_code = type;
        };
        switch (record->m_is)
        {
        case Record::Is::Float64: return set(FT_FLOAT64, record->m_variable);
        case Record::Is::Int64: return set(FT_INT64, record->m_variable);
        case Record::Is::Int32: return set(FT_INT32, record->m_variable);
        case Record::Is::Scalar: return set(record->m_type, record->m_variable);
        case Record::Is::Value: return set(TypeOfKind(record->m_slot.m_kind), &record->m_slot.m_integer);
        case Record::Is::Place:
            if (record->m_slot.m_bc == nullptr) // an object of a class that only it tells
                return;
            operand.m_is = Operand::Is::Object;
            operand.m_at = record->m_slot.m_address;
            operand.m_variable = KnownVariable::Of(record->m_slot.GetType(), record->m_slot.m_isConst, 0);
            return;
        case Record::Is::Nothing:
        case Record::Is::Text:
        case Record::Is::Function:
        case Record::Is::Member: return;
        }
    }

    void LookAtParameter(Operand& operand, const ParameterType& type)
    {
        operand.m_from = From::Parameter;
        if (type.m_kind == Kind::Place && type.m_type.m_bc != nullptr)
        {
            SpillCached();
            m_program->m_ops[EmitStep(ParameterAddressStep(), 0)].m_index = operand.m_index;
            SetAddress(operand, KnownVariable::Of(type.m_type, type.m_isConst, 0), true);
        }
        else if (type.m_kind == Kind::Bool || type.m_kind == Kind::Integer || type.m_kind == Kind::Float)
        {
            const std::size_t offset = operand.m_index * sizeof(Slot) + offsetof(Slot, m_integer);
            operand.m_is = Operand::Is::Scalar;
            operand.m_kind = type.m_kind;
            operand.m_at = reinterpret_cast<const void*>(offset);
            operand.m_code = TypeOfKind(type.m_kind);
        }
    }

    static ETypeByteCode TypeOfKind(Kind kind)
    {
        return kind == Kind::Bool      ? FT_BOOL
               : kind == Kind::Integer ? FT_INT64
               : kind == Kind::Float   ? FT_FLOAT64
                                       : FT_VOID;
    }

    uint32 AddUse(std::string_view name, const Record* record, std::size_t place, bool isMember)
    {
        const bool isOfObject = record != nullptr && record->m_is == Record::Is::Member;
        m_program->m_names.Add({name, place, isMember, isOfObject});
        m_program->m_records.Add(record);
        return static_cast<uint32>(m_program->m_names.size() - 1);
    }

    uint32 UseMember(std::string_view name, std::size_t place)
    {
        const Record* const record = ScopeAccess::FindMember(m_scope, name);
        if (record == nullptr && m_hasScope)
            ThrowUnknownMember(m_scope, name, place);
        return AddUse(name, record, place, true);
    }

    static void CheckCall(const Record& record, std::size_t count, std::size_t place)
    {
        if (record.m_is != Record::Is::Function)
            ThrowAt(ErrorKind::Type, record.m_name + " is not a function", place);
        CheckCount(record.m_name, count, record.m_function.m_min, record.m_function.m_max, place);
    }

    // Of some class; of which one is not known yet. The object is the first argument.
    static void CheckMemberCall(const Record& record, std::size_t count, std::size_t place)
    {
        const Callable* nearest = nullptr;
        for (const Callable& member : record.m_members)
        {
            if (static_cast<std::size_t>(member.m_min) <= count &&
                (member.m_max < 0 || count <= static_cast<std::size_t>(member.m_max)))
                return;
            nearest = &member;
        }
        if (nearest != nullptr)
            CheckCount(record.m_name, count - 1, nearest->m_min - 1, nearest->m_max < 0 ? -1 : nearest->m_max - 1,
                       place);
    }

    static void CheckCount(std::string_view name, std::size_t count, int32 min, int32 max, std::size_t place)
    {
        if (static_cast<std::size_t>(min) > count || (max >= 0 && static_cast<std::size_t>(max) < count)) [[unlikely]]
            ThrowAt(ErrorKind::Call, CountMessage(name, count, min, max), place);
    }

    const Scope* m_scope;
    const ParameterType* m_types;
    bool m_hasScope;
    bool m_needsGeneralForm = false;
    Locals m_locals;
};

} // namespace kelm::evaluation
