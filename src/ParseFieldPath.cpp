#include <klKelmScript/ParseFieldPath.h>

#include <klKelmScript/private/PathMessages.h>
#include <klKelmScript/private/PathWalk.h>
#include <klKelmScript/private/RegisterInModule.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/private/Messages.h>
#include <klUtils/text/private/TypedReads.h>
#include <klUtils/xostream.h>

#include <cstring>
#include <iterator>
#include <utility>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseFieldPath";

// The entry of the name of eight characters or more that begins there, or null, and the end of that name.
struct FoundName
{
    const FieldEntry* m_entry;
    const char* m_past;
};

[[gnu::noinline]] FoundName FindLongName(const FieldIndex& index, const char* start, const char* end)
{
    const char* const past = text::SkipName(start + s_maxShortText, end);
    return {index.m_fields.Find({start, past}), past};
}

} // namespace

// --- The walk --------------------------------------------------------------------------------------------------------

// Classes and variables alternate: a step to a field of a class reaches a variable, and following that ends the walk or
// reaches the next class. A loop, so that a path may be of any length.
bool PathWalk::TryGoOn(State state)
{
    while (true)
        switch (state) // GCOVR_EXCL_BR_LINE: one case for each
        {
        case State::Failed: return false;
        case State::Over: return true;
        case State::AtInstance: state = FollowInstance(); break;
        case State::AtField: state = StepToField(); break;
        case State::AtVariable: state = FollowVariable(); break;
        case State::AtElement:
        case State::BeforeVariable: state = Arrive(); break;
        }
}

PathWalk::State PathWalk::FollowInstance()
{
    if (!m_cursor.Is(TOKEN_DOT))
        return State::Over;
    if (m_reads && !m_position.m_obj)
        return State::AtField;
    PathStride stride(m_cursor, m_position.m_obj, m_position.m_data, m_reads, this);
    const State state = stride.Go(m_class);
    stride.TellHowItEnded(state, *this);
    return state;
}

// --- Along leads -----------------------------------------------------------------------------------------------------

inline void PathStride::TellWhereItIs(PathWalk& walk) const
{
    walk.m_cursor = m_cursor;
    if (!m_cursor.Is(TOKEN_IDENTIFIER))
        walk.m_cursor.SetOperator(m_cursor.GetKind());
    if (m_walk == nullptr)
        walk.m_cursor.ForgetPrevious();
    walk.m_position.m_obj = m_obj;
    walk.m_position.m_data = m_data;
    walk.m_class = m_class;
    walk.m_nextData = m_walk != nullptr ? m_nextData : m_data;
    walk.m_nextLead = m_walk != nullptr ? m_nextLead : m_lead;
    if (m_lead != nullptr)
        walk.m_position.m_rbc = m_lead->m_type;
}

inline void PathStride::TellHowItEnded(State state, PathWalk& walk) const
{
    TellWhereItIs(walk);
    if (state == State::Failed)
        walk.m_problem = m_problem;
}

namespace
{

bool HasCheck(const FieldIndex& model, const FieldEntry& entry)
{
    const ReflectedClass& rc = *model.m_class;
    return rc.m_rules != nullptr && rc.m_rules[entry.m_field - rc.m_modelFields].m_check != nullptr;
}

} // namespace

template <PathStride::Way W>
inline PathState PathStride::Go(const ReflectedClass* rc)
{
    constexpr bool stopsAtChecks = W == Way::UpToCheckedField;
    m_class = rc;
    m_index = GetFieldIndex(*rc);
    if (m_index == nullptr || IsWatched()) [[unlikely]]
        return EndWith(State::AtField, TOKEN_DOT);
    while (true)
    {
        // At an instance, behind the dot.
        const text::ExpectingCursor::GuessedName name = m_cursor.GuessName();
        const char* past = name.m_start + name.m_size;
        const FieldEntry* entry = nullptr;
        if (!name.MayBeLonger()) [[likely]]
        {
            entry = &m_index->GetModel().m_fields.FindWord(name.m_word);
        }
        else
        {
            const FoundName found = FindLongName(m_index->GetModel(), name.m_start, m_cursor.GetEnd());
            entry = found.m_entry;
            past = found.m_past;
        }
        if (entry == nullptr || entry->m_lead == nullptr || (stopsAtChecks && HasCheck(m_index->GetModel(), *entry)))
            [[unlikely]]
        {
            m_class = m_index->m_class;
            return EndWith(State::AtField, TOKEN_DOT);
        }
        m_cursor.AcceptName(name.m_start, past);
        GoTo(m_data + m_index->m_modelOffset + entry->m_offset, entry->m_lead);
        State state = State::BeforeVariable;
        do
            state = FollowLead<W != Way::OfPaths>();
        while (state == State::AtElement);
        if (state != State::AtField)
            return state;
    }
}

// Ends with that token as the current one, of which no account has been kept. Where it starts is found by who is told.
inline PathState PathStride::EndWith(State state, EToken kind)
{
    m_cursor.SetKind(kind);
    return state;
}

// The variable is the next one. Where nobody is shown whether the token behind it can be scanned, it is reached.
inline void PathStride::GoTo(char* data, const TypeLead* lead)
{
    m_nextData = data;
    m_nextLead = lead;
    if (m_walk == nullptr)
        Arrive();
}

// The variable is reached.
inline void PathStride::Arrive()
{
    m_data = m_nextData;
    m_lead = m_nextLead;
}

// Where the token behind the variable is not the one that leads on.
inline PathState PathStride::EndAt(EToken behind)
{
    if (behind == TOKEN_END)
    {
        Arrive();
        const FieldLead kind = m_lead->m_kind;
        if (kind == FieldLead::Value) [[likely]]
            return EndWith(State::Over, TOKEN_END);
        const bool isKnown = kind == FieldLead::Instance ? m_lead->GetIndex() != nullptr : kind != FieldLead::Other;
        return EndWith(isKnown ? State::Over : State::AtVariable, TOKEN_END);
    }
    if (m_walk == nullptr)
        m_cursor.SetKind(TOKEN_RIGHT_SQUARE); // whatever it is, nobody will see it
    return State::BeforeVariable;
}

template <bool TakesKeys>
inline PathState PathStride::FollowLead()
{
    const FieldLead kind = m_nextLead->m_kind;
    if (kind == FieldLead::Vector)
        return FollowVector();
    if (kind > FieldLead::Vector && (TakesKeys || kind != FieldLead::Map)) [[unlikely]]
        return kind < FieldLead::List ? FollowOtherContainer(kind) : FollowForeign<TakesKeys>(kind);
    const EToken behind = m_cursor.TryOperatorOrEnd<'.'>();
    if (behind != TOKEN_DOT)
        return EndAt(behind);
    Arrive();
    if (kind == FieldLead::Handle)
        return StepThroughHandle(*reinterpret_cast<const ptr<IObject>*>(m_data));
    if (kind == FieldLead::Instance) [[likely]]
    {
        m_index = m_lead->GetIndex();
        return m_index != nullptr ? State::AtField : EndWith(State::AtVariable, TOKEN_DOT);
    }
    if (kind == FieldLead::Pref)
        return StepThroughHandle(reinterpret_cast<const prefbase*>(m_data)->GetLoaded());
    const bool isValue = kind == FieldLead::Value || kind == FieldLead::Map; // which a path does not enter
    return EndWith(isValue ? State::Over : State::AtVariable, TOKEN_DOT);
}

inline PathState PathStride::FollowVector()
{
    const EToken behind = m_cursor.TryOperatorOrEnd<'['>();
    if (behind != TOKEN_LEFT_SQUARE)
        return EndAt(behind);
    Arrive();
    const ssize_t elementSize = m_lead->GetElementSize();
    if (elementSize == 0) [[unlikely]]
        return EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
    const VectorOfByte& V = *reinterpret_cast<const VectorOfByte*>(m_data);
    ssize_t count = 0;
    int64 index = 0;
    if (!m_lead->TryCountElements(V.size(), elementSize, count) || !m_cursor.TryIntegerAnd<']'>(index)) [[unlikely]]
        return EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
    return StepToElement(V.data(), count, elementSize, index, "Vector");
}

inline PathState PathStride::FollowOtherContainer(FieldLead kind)
{
    const EToken behind = m_cursor.TryOperatorOrEnd<'['>();
    if (behind != TOKEN_LEFT_SQUARE)
        return EndAt(behind);
    Arrive();
    const ssize_t elementSize = m_lead->GetElementSize();
    const text::ExpectingCursor before = m_cursor;
    const bool isDynamic = kind == FieldLead::DynArray;
    int64 index = 0;
    if (elementSize == 0 || (isDynamic && !m_cursor.TryOperator<'['>()) || !m_cursor.TryIntegerAnd<']'>(index))
    {
        m_cursor = before;
        return EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
    }
    if (!isDynamic)
        return StepToElement(m_data, m_lead->m_count, elementSize, index, "Array");
    const VectorOfByte& V = *reinterpret_cast<const VectorOfByte*>(m_data);
    if (index < 0 || index * elementSize >= V.size())
    {
        m_cursor = before; // it grows
        return EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
    }
    return StepToElement(V.data(), index + 1, elementSize, index, "Array");
}

template <bool TakesKeys>
inline PathState PathStride::FollowForeign(FieldLead kind)
{
    if (kind == FieldLead::List)
        return FollowList();
    if constexpr (TakesKeys)
        if (kind == FieldLead::Map)
            return FollowMap();
    return FollowChoice();
}

inline PathState PathStride::FollowList()
{
    const EToken behind = m_cursor.TryOperatorOrEnd<'['>();
    if (behind != TOKEN_LEFT_SQUARE)
        return EndAt(behind);
    Arrive();
    const text::ExpectingCursor before = m_cursor;
    const ForeignListFns& list = *m_lead->m_foreign->m_list;
    int64 index = 0;
    if (!m_cursor.TryIntegerAnd<']'>(index) || static_cast<uint64>(index) >= static_cast<uint64>(list.Count(m_data)))
        [[unlikely]]
    {
        m_cursor = before;
        return EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
    }
    return LeadTo(list.At(m_data, index));
}

// To what is there under a key, which is a text without escapes or a number.
inline PathState PathStride::FollowMap()
{
    const EToken behind = m_cursor.TryOperatorOrEnd<'['>();
    if (behind != TOKEN_LEFT_SQUARE)
        return EndAt(behind);
    Arrive();
    const ForeignMapFns& map = *m_lead->m_foreign->m_map;
    void* payload = nullptr;
    SubString text;
    int64 integer = 0;
    if (map.FindText != nullptr ? m_cursor.TryTextAnd<']'>(text) : false)
        payload = map.FindText(m_data, text);
    else if (map.FindInteger != nullptr ? m_cursor.TryIntegerAnd<']'>(integer) : false)
        payload = map.FindInteger(m_data, integer);
    return payload != nullptr ? LeadTo(payload) : EndWith(State::AtVariable, TOKEN_LEFT_SQUARE);
}

// To what is there, where the path goes on; the token that leads on is left for that.
inline PathState PathStride::FollowChoice()
{
    const text::ExpectingCursor before = m_cursor;
    const bool isContainer = HasLeadBehind(m_nextLead[1].m_kind) && m_nextLead[1].m_kind != FieldLead::Choice;
    const EToken behind = isContainer ? m_cursor.TryOperatorOrEnd<'['>() : m_cursor.TryOperatorOrEnd<'.'>();
    if (behind == TOKEN_END || behind == TOKEN_UNDEF)
        return EndAt(behind);
    Arrive();
    const ForeignChoiceFns& choice = *m_lead->m_foreign->m_choice;
    if (choice.GetIndex(m_data) < 0) [[unlikely]]
        return EndWith(State::AtVariable, behind);
    m_cursor = before;
    return LeadTo(choice.GetValue(m_data));
}

// To the variable of the lead behind.
inline PathState PathStride::LeadTo(void* variable)
{
    GoTo(static_cast<char*>(variable), m_lead + 1);
    return State::AtElement;
}

inline PathState PathStride::StepToElement(const char* first, ssize_t count, ssize_t elementSize, int64 index,
                                           ConstStringZ subject)
{
    if (static_cast<uint64>(index) >= static_cast<uint64>(count)) [[unlikely]]
    {
        ++m_lead;
        m_problem = {Fault::IndexOutOfRange, static_cast<int32>(index), subject};
        return EndWith(State::Failed, TOKEN_RIGHT_SQUARE);
    }
    return LeadTo(const_cast<char*>(first) + index * elementSize);
}

inline PathState PathStride::StepThroughHandle(const ptr<IObject>& target)
{
    if (!target) [[unlikely]]
        return EndWith(State::AtVariable, TOKEN_DOT);
    m_obj = target;
    if (m_walk != nullptr)
    {
        m_cursor.SetKind(TOKEN_DOT);
        TellWhereItIs(*m_walk);
    }
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    if (rc == nullptr) [[unlikely]]
        return EndWith(State::AtVariable, TOKEN_DOT);
    m_data = static_cast<char*>(m_obj.self());
    m_index = GetFieldIndex(*rc);
    if (m_index == nullptr || IsWatched()) [[unlikely]]
    {
        m_class = rc;
        return EndWith(State::AtInstance, TOKEN_DOT);
    }
    return State::AtField;
}

// --- By the byte code ------------------------------------------------------------------------------------------------

// From an instance, past the dot, to the model field that is named.
PathWalk::State PathWalk::StepToField()
{
    if (!m_cursor.TryNextName())
        return Fail(Fault::NotScanned);
    if (!m_cursor.Is(TOKEN_IDENTIFIER))
        return Fail(Fault::Expected, "identifier");
    const PathField found = FindPathField(*m_class, m_cursor.GetText());
    if (found.m_field == nullptr)
        return Fail(Fault::UnknownField, m_class->m_name);
    if (!m_cursor.TryNextOperator<'.'>())
        return Fail(Fault::NotScanned);
    m_position.StepTo(found);
    return State::AtVariable;
}

// Scans the token behind the next variable, a name or a closing bracket before it.
PathWalk::State PathWalk::Arrive()
{
    m_cursor.SetNameOrSquare();
    if (!m_cursor.TryNext())
        return Fail(Fault::NotScanned);
    m_position.m_data = m_nextData;
    m_position.m_rbc = m_nextLead->m_type;
    return State::AtVariable;
}

// From a variable of any type, along an index or a handle.
PathWalk::State PathWalk::FollowVariable()
{
    RaiseBarrier();
    KELM_ASSERT(m_position.m_data);
    const ReflectionByteCode type = m_position.GetUnderlyingType();
    switch (type.GetCode())
    {
    case FT_CLASS:
        m_position.m_rbc = type;
        m_class = &GetPathClass(type);
        return State::AtInstance;
    case FT_ARRAY:
    case FT_DYNARRAY:
    case FT_VECTOR: return m_cursor.Is(TOKEN_LEFT_SQUARE) ? StepToElement(type) : State::Over;
    case FT_PREF:
    case FT_CREF:
        if (!m_cursor.Is(TOKEN_DOT))
            return State::Over;
        return StepThroughHandle(type, GetTarget(*reinterpret_cast<const prefbase*>(m_position.m_data)));
    case FT_INTERFACE_POINTER:
        if (!m_cursor.Is(TOKEN_DOT))
            return State::Over;
        return StepThroughHandle(type, *reinterpret_cast<const ptr<IObject>*>(m_position.m_data));
    case FT_FOREIGN: return StepIntoForeign(type.GetForeignType());
    default: RequireValueType(type); return State::Over;
    }
}

// A dynamic array is written with two opening brackets and one closing, and grows to hold whatever index is asked for.
PathWalk::State PathWalk::StepToElement(const ReflectionByteCode& type)
{
    if (type.GetCode() == FT_DYNARRAY)
    {
        if (!m_cursor.TryNextOperator<'['>())
            return Fail(Fault::NotScanned);
        const PathElements elements = m_position.EnterDynArray(type);
        if (!m_cursor.Is(TOKEN_LEFT_SQUARE))
            return Fail(Fault::Expected, "[");
        text::Number number;
        return m_cursor.TryNextNumber(number) ? StepTo(elements, number) : Fail(Fault::NotScanned);
    }
    text::Number number;
    if (!m_cursor.TryNextNumber(number))
        return Fail(Fault::NotScanned);
    return StepTo(type.GetCode() == FT_ARRAY ? m_position.EnterArray(type) : m_position.EnterVector(type), number);
}

// To the element whose index the cursor is at.
PathWalk::State PathWalk::StepTo(const PathElements& elements, const text::Number& number)
{
    int32 index = 0;
    if (!TryReadIndex(number, index))
        return State::Failed;
    if (!elements.Has(index))
        return Fail(Fault::IndexOutOfRange, elements.m_kind, index);
    if (!m_cursor.Is(TOKEN_RIGHT_SQUARE))
        return Fail(Fault::Expected, "]");
    if (!m_cursor.TryNextOperator<'.'>())
        return Fail(Fault::NotScanned);
    m_position.StepTo(elements, index);
    return State::AtVariable;
}

// A list takes an index; a choice leads to what it holds, where the path goes on.
PathWalk::State PathWalk::StepIntoForeign(const ForeignType& type)
{
    if (type.GetForm() == FF_CHOICE && (m_cursor.Is(TOKEN_DOT) || m_cursor.Is(TOKEN_LEFT_SQUARE)))
        return m_position.TryEnterChoice(type) ? State::AtVariable : Fail(Fault::NullDereference);
    if (type.GetForm() != FF_LIST || !m_cursor.Is(TOKEN_LEFT_SQUARE))
        return State::Over;
    text::Number number;
    return m_cursor.TryNextNumber(number) ? StepTo(m_position.EnterForeignList(type), number) : Fail(Fault::NotScanned);
}

// The dot is left for the step to a field of the object reached.
PathWalk::State PathWalk::StepThroughHandle(const ReflectionByteCode& type, const ptr<IObject>& target)
{
    m_class = m_position.FollowHandle(type, target);
    return m_class != nullptr ? State::AtInstance : Fail(Fault::NullDereference);
}

// The number at the cursor as an index, and the token behind it.
bool PathWalk::TryReadIndex(text::Number number, int32& index)
{
    const bool isNegative = m_cursor.Is(TOKEN_MINUS);
    if ((isNegative || m_cursor.Is(TOKEN_PLUS)) && !m_cursor.TryNextNumber(number))
        return Fail(Fault::NotScanned);
    if (!m_cursor.Is(TOKEN_INTEGER) && !m_cursor.Is(TOKEN_HEX_INTEGER))
        return Fail(Fault::Expected, text::s_typeName<int32>);
    uint64 magnitude = 0;
    if (!m_cursor.GetUnsigned(number, magnitude) || !text::ToInteger(magnitude, isNegative, index))
        return Fail(isNegative ? Fault::NegativeIndexOutOfType : Fault::IndexOutOfType);
    return m_cursor.TryNextOperator<']'>() || Fail(Fault::NotScanned);
}

// --- Who could look --------------------------------------------------------------------------------------------------

void PathWalk::RaiseBarrier()
{
    if (!m_reads)
        return;
    const ptr<IObject>& m_obj = m_position.m_obj;
    KELM_ASSERT(m_obj);
    if (m_navigator == nullptr)
        return DataSourceReadBarrier(m_position.m_data, m_position.m_obj, nullptr);
    if (!IsReadBarrierInstalled())
        return;
    Show();
    m_navigator->ReadBarrier();
    LookAgain();
}

ptr<IObject> PathWalk::GetTarget(const prefbase& reference)
{
    const ptr<IObject> loaded = reference.GetLoaded();
    if (loaded) [[likely]]
        return loaded;
    if (m_navigator == nullptr)
        return reference.Get();
    Show();
    const ptr<IObject> target = reference.Get();
    LookAgain();
    return target;
}

// What the navigator shows now, which may have been changed.
void PathWalk::LookAgain()
{
    m_cursor = text::ExpectingCursor(m_navigator->m_parser);
    m_position = {m_navigator->m_obj, m_navigator->m_rbc, m_navigator->m_data};
    m_reads = m_navigator->ReadAccess();
}

// Of a navigator's walk.
void PathWalk::Show() const
{
    m_cursor.StoreIn(m_navigator->m_parser);
    m_navigator->m_obj = m_position.m_obj;
    m_navigator->m_rbc = m_position.m_rbc;
    m_navigator->m_data = m_position.m_data;
}

LSToken PathWalk::GetToken() const
{
    return m_navigator != nullptr ? m_navigator->m_parser.m_token : m_cursor.GetToken();
}

text::ScanFailure PathWalk::GetFailure() const
{
    if (m_problem.m_fault == Fault::NotScanned)
        return m_cursor.GetScanFailure();
    return {MessageOf(m_problem, GetToken()), GetToken()};
}

// --- The navigator ---------------------------------------------------------------------------------------------------

ExpressionPathNavigator::ExpressionPathNavigator(ExpressionParser& parser, ptr<IObject> obj, EPathNavigatorMode mode)
    : m_parser(parser), m_mode(mode), m_obj(obj), m_data(static_cast<char*>(obj.self()))
{
    KELM_ASSERT(m_data);
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    Walk(rc);
}

void ExpressionPathNavigator::NavigateReflectedClassInstance(const ReflectedClass& rc)
{
    KELM_ASSERT(m_data);
    Walk(&rc);
}

void ExpressionPathNavigator::NavigateReflectedVariable()
{
    Walk(nullptr);
}

// From an instance of that class, or, without one, from a variable.
void ExpressionPathNavigator::Walk(const ReflectedClass* rc)
{
    PathWalk walk(*this);
    walk.m_class = rc;
    bool isGood = false;
    try
    {
        isGood = walk.TryGoOn(rc != nullptr ? PathState::AtInstance : PathState::AtVariable);
    }
    catch (...)
    {
        walk.Show();
        throw;
    }
    walk.Show();
    if (isGood)
        return;
    const text::ScanFailure failure = walk.GetFailure();
    throw LexScannerException(failure.m_message, failure.m_token);
}

void ExpressionPathNavigator::ReadBarrier() const
{
    KELM_ASSERT(m_obj);
    DataSourceReadBarrier(m_data, m_obj, nullptr);
}

void* ExpressionPathNavigator::GetFieldAddress() const
{
    KELM_ASSERT(m_data);
    return m_data;
}

ReflectionByteCode ExpressionPathNavigator::GetFieldType() const
{
    return PathPosition{m_obj, m_rbc, m_data}.GetUnderlyingType();
}

// --- Entry points ----------------------------------------------------------------------------------------------------

void* NavigatePathToField(ptr<IObject> obj, ExpressionParser& parser, ReflectionByteCode& rbc, bool writeAccess)
{
    KELM_ASSERT(obj);
    const ExpressionPathNavigator navigator(parser, obj, writeAccess ? PNM_WRITE_ACCESS : PNM_READ_ACCESS);
    rbc = navigator.m_rbc;
    return navigator.m_data;
}

namespace
{

// As LexScannerException writes it, with the line.
void WriteFailure(const PathWalk& walk, SubString path, xstring& text)
{
    PathMessageStream os;
    if (walk.m_problem.m_fault == PathFault::NotScanned)
    {
        const text::ScanFailure failure = walk.m_cursor.GetScanFailure();
        text::WriteLineBefore(os, GetLineNumber(path, failure.m_token.m_str.m_p1));
        os << failure.m_message;
    }
    else
    {
        const LSToken token = walk.GetToken();
        text::WriteLineBefore(os, GetLineNumber(path, token.m_str.m_p1));
        WriteMessage(os, walk.m_problem, token);
    }
    os.MoveTo(text);
}

// The rest of a walk along a whole text.
[[gnu::noinline]] void* GoOn(PathWalk& walk, PathState state, SubString path, ReflectionByteCode& rbc,
                             xstring& errorMsg)
{
    if (!walk.TryGoOn(state))
    {
        WriteFailure(walk, path, errorMsg);
        return nullptr;
    }
    rbc = walk.m_position.m_rbc;
    return walk.m_position.m_data;
}

// Along a path that does not begin with a dot, or not at once.
[[gnu::noinline]] void* NavigateFromOddToken(const ptr<IObject>& obj, SubString path, ReflectionByteCode& rbc,
                                             bool reads, xstring& errorMsg)
{
    PathWalk walk(text::ExpectingCursor(path), obj, reads);
    PathState state = PathState::Failed;
    if (walk.m_cursor.TryNext())
    {
        KELM_ASSERT(obj);
        walk.m_class = obj.GetReflectedClass();
        KELM_ASSERT(walk.m_class);
        state = PathState::AtInstance;
    }
    else
    {
        walk.m_problem.m_fault = PathFault::NotScanned;
    }
    return GoOn(walk, state, path, rbc, errorMsg);
}

} // namespace

void* NavigatePathToField(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc, bool writeAccess,
                          xstring& errorMsg)
{
    if (!errorMsg.empty()) [[unlikely]]
        errorMsg.clear();
    text::ExpectingCursor cursor((SubString(path)));
    if (!cursor.TryOperator<'.'>()) [[unlikely]]
        return NavigateFromOddToken(obj, path, rbc, !writeAccess, errorMsg);
    KELM_ASSERT(obj);
    const ReflectedClass* const rc = obj.GetReflectedClass();
    KELM_ASSERT(rc);
    PathStride stride(cursor, obj, static_cast<char*>(obj.self()), !writeAccess, nullptr);
    const PathState state = stride.Go(rc);
    if (state != PathState::Over) [[unlikely]]
    {
        PathWalk walk(cursor, obj, !writeAccess);
        stride.TellHowItEnded(state, walk);
        return GoOn(walk, state, path, rbc, errorMsg);
    }
    rbc = stride.m_lead->m_type;
    return stride.m_data;
}

PathEnd FindAlongLeads(const ReflectedClass& rc, void* instance, SubString path, bool stopsAtChecks)
{
    text::ExpectingCursor cursor(path);
    if (IsReadBarrierInstalled() || !cursor.TryOperator<'.'>()) [[unlikely]]
        return {};
    PathStride stride(cursor, nullptr, static_cast<char*>(instance), false, nullptr);
    const PathState state =
        stopsAtChecks ? stride.Go<PathStride::Way::UpToCheckedField>(&rc) : stride.Go<PathStride::Way::OfFields>(&rc);
    const bool isAtVariable = state == PathState::Over || state == PathState::AtVariable;
    if (!isAtVariable || !stride.m_cursor.Is(TOKEN_END)) [[unlikely]]
        return {};
    return {stride.m_data, stride.m_lead};
}

// --- Registration ----------------------------------------------------------------------------------------------------

namespace
{

constexpr ConstStringZ s_stringTable[] = {"kelm::IObject", "kelm::xstring", "kelm::ReflectionByteCode", nullptr};

constexpr uint8 s_voidPointer[] = {FT_POINTER, FT_VOID};
constexpr uint8 s_objectPtr[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
constexpr uint8 s_constStringReference[] = {FT_REFERENCE, FT_CONST, FT_TYPEDEF, 1, 0};
constexpr uint8 s_stringReference[] = {FT_REFERENCE, FT_TYPEDEF, 1, 0};
constexpr uint8 s_byteCodeReference[] = {FT_REFERENCE, FT_CLASS, 2, 0};
constexpr uint8 s_bool[] = {FT_BOOL};

constexpr ReflectedArg s_args[] = {
    {"obj", s_objectPtr},    {"path", s_constStringReference}, {"rbc", s_byteCodeReference},
    {"writeAccess", s_bool}, {"errorMsg", s_stringReference},
};

using TextForm = void* (*)(ptr<IObject>, const xstring&, ReflectionByteCode&, bool, xstring&);

const ReflectedGlobalFunction NavigatePathToField_function = {
    .m_name = "kelm::NavigatePathToField",
    .m_returnType = {s_voidPointer},
    .m_args = s_args,
    .m_numArgs = std::size(s_args),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(static_cast<TextForm>(NavigatePathToField)),
};

} // namespace

void _Register_NavigatePathToField()
{
    RegisterInModule(RegisterReflectedGlobalFunction, NavigatePathToField_function,
                     "kelm::RegisterReflectedGlobalFunction(&NavigatePathToField_function,", s_sourceFile, 414);
}

} // namespace kelm
