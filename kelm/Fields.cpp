#include <kelm/Fields.h>

#include <kelm/Convert.h>
#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/KnownTypes.h>
#include <kelm/private/values/PlaceSteps.h>
#include <klKelmScript/private/PathWalk.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/text/private/Cursor.h>
#include <klUtils/text/private/TypedReads.h>

#include <cstring>

namespace kelm
{

namespace
{

using evaluation::Assigned;
using evaluation::Failure;
using evaluation::Slot;
using Way = PathSteps::Way;

// The walk along the text of a path, to its end.
class PathText
{
public:
    explicit PathText(std::string_view path) : m_path(path) {}

    // To the field.
    bool Reach(const FieldStart& start) { return Begin(start) && Walk(false); }

    // The same for an assignment, which an element may be made for.
    bool Store(const FieldStart& start, const Assigned& value)
    {
        if (!Begin(start) || !Walk(true))
            return false;
        if (!m_isAtElement)
            return evaluation::StorePlace(m_slot, value, m_checks, m_failure);
        bool isIndexWrong = false;
        return evaluation::StoreElement(m_slot, m_index, value, m_checks, isIndexWrong, m_failure) ||
               (isIndexWrong && FailElement());
    }

    const Slot& GetSlot() const { return m_slot; }
    Failure& GetFailure() { return m_failure; }
    Error MakeError() const { return evaluation::MakeError(m_path, m_failure, m_place, std::string(m_path)); }

private:
    bool Begin(const FieldStart& start)
    {
        if (start.m_type != nullptr)
            m_slot.SetPlace(start.m_data, start.m_type->Get(), false);
        else if (start.m_reached != nullptr)
            m_slot.SetPlace(start.m_data, *start.m_reached, false);
        else
        {
            m_slot.SetPlace(start.m_object.self(), {}, false);
            m_slot.SetOwner(start.m_object);
        }
        return m_slot.m_address != nullptr || evaluation::FailNothing(m_failure);
    }

    bool Walk(bool staysBeforeLastElement)
    {
        ExpressionParser parser;
        parser.Init(SubString(m_path));
        text::Cursor cursor(parser);
        while (!cursor.Is(TOKEN_END))
        {
            if (cursor.Is(TOKEN_DOT) ? !StepToMember(cursor) : !StepToElement(cursor, staysBeforeLastElement))
                return false;
        }
        return true;
    }

    // The place of what goes wrong is the last token of a step, which stands for what it has led to from then on.
    bool StepToMember(text::Cursor& cursor)
    {
        cursor.Next();
        if (!cursor.Is(TOKEN_IDENTIFIER))
            cursor.ThrowExpected("identifier");
        const SubString name = cursor.GetText();
        m_place = PlaceOf(name);
        cursor.Next();
        return evaluation::StepToMember(m_slot, {name.m_p1, static_cast<std::size_t>(name.size())}, m_checks,
                                        m_failure);
    }

    bool StepToElement(text::Cursor& cursor, bool staysBeforeLast)
    {
        if (!cursor.Is(TOKEN_LEFT_SQUARE))
            cursor.ThrowExpected("end of text");
        ReflectionByteCode type;
        m_place = PlaceOf(cursor.GetText());
        if (m_slot.m_kind == evaluation::Kind::Place && !EnterChoices(m_slot, type))
            return evaluation::FailNothing(m_failure);
        cursor.Next();
        if (type.m_bc != nullptr && type.GetCode() == FT_DYNARRAY && cursor.Is(TOKEN_LEFT_SQUARE))
            cursor.Next();
        if (cursor.Is(TOKEN_END))
            cursor.ThrowExpected("value");
        m_placeOfIndex = PlaceOf(cursor.GetText());
        m_index = evaluation::GetWayFrom(type) == Way::Keys ? ReadKey(cursor) : Scalar(text::ReadNumber<int32>(cursor));
        if (!cursor.Is(TOKEN_RIGHT_SQUARE))
            cursor.ThrowExpected("]");
        m_place = PlaceOf(cursor.GetText());
        cursor.Next();
        m_isAtElement = staysBeforeLast && cursor.Is(TOKEN_END);
        return m_isAtElement || evaluation::StepToElement(m_slot, m_index, m_failure) || FailElement();
    }

    // An index is wrong at its bracket, a name at itself.
    bool FailElement()
    {
        if (m_failure.m_details->m_kind == ErrorKind::Name)
            m_place = m_placeOfIndex;
        return false;
    }

    // A number, a text, a bool or the name of an enumerator.
    Scalar ReadKey(text::Cursor& cursor)
    {
        if (cursor.IsQuoted())
        {
            text::ReadString(cursor, m_room);
            return Scalar(m_room.view());
        }
        if (cursor.Is(TOKEN_IDENTIFIER))
        {
            if (cursor.IsText("true") || cursor.IsText("false"))
                return Scalar(text::ReadBool(cursor));
            m_room.assign(cursor.GetText().m_p1, cursor.GetText().size());
            cursor.Next();
            return Scalar(m_room.view());
        }
        const bool isNegative = text::PassSign(cursor);
        if (cursor.Is(TOKEN_FLOAT))
            return Scalar(text::ReadNumber<float64>(cursor, isNegative));
        if (!cursor.Is(TOKEN_INTEGER) && !cursor.Is(TOKEN_HEX_INTEGER))
            cursor.ThrowExpected("key");
        return isNegative ? Scalar(text::ReadNumber<int64>(cursor, true)) : Scalar(text::ReadNumber<uint64>(cursor));
    }

    std::size_t PlaceOf(SubString token) const { return static_cast<std::size_t>(token.m_p1 - m_path.data()); }

    std::string_view m_path;
    std::size_t m_place = 0;
    Slot m_slot;
    evaluation::Checks m_checks;
    Failure m_failure;

    // Of the last step, where that has not been taken.
    bool m_isAtElement = false;
    Scalar m_index;
    std::size_t m_placeOfIndex = 0;
    xstring m_room;
};

// What no class tells: a step from a list that a path begins at, and one into a map of ours.
struct ShortStep
{
    SubString m_text; // of a key, without its quotes; a null one where there is a number
    int64 m_number = 0;
};

// "[12]" or "[\"key\"]", without escapes.
bool ReadShortStep(const char*& p, const char* end, ShortStep& step)
{
    if (end - p < 3 || *p != '[')
        return false;
    const char* const begin = ++p;
    if (*begin == '"')
    {
        while (++p != end && *p != '"' && *p != '\\')
        {
        }
        step.m_text = {begin + 1, p};
        return end - p >= 2 && *p++ == '"' && *p++ == ']';
    }
    constexpr std::ptrdiff_t mostDigits = 9;
    for (; p != end && '0' <= *p && *p <= '9' && p - begin <= mostDigits; ++p)
        step.m_number = step.m_number * 10 + (*p - '0');
    return begin != p && p - begin <= mostDigits && p != end && *p++ == ']';
}

// A variable, of a type that may be const.
struct FieldEnd
{
    void* m_data = nullptr;
    ReflectionByteCode m_type;
};

[[gnu::always_inline]] inline FieldEnd FindEnd(const ReflectedClass& rc, void* instance, SubString path,
                                               bool stopsAtChecks)
{
    const PathEnd end = FindAlongLeads(rc, instance, path, stopsAtChecks);
    return end.m_data != nullptr ? FieldEnd{end.m_data, end.m_lead->m_type} : FieldEnd();
}

// From a list, at an index, on along the leads of its elements' class.
[[gnu::noinline]] FieldEnd FindFromList(const ReflectionByteCode& type, void* list, std::string_view path,
                                        bool stopsAtChecks)
{
    const char* p = path.data();
    const char* const end = p + path.size();
    ShortStep step;
    evaluation::KnownPlace place;
    evaluation::KnownVariable element;
    if (!ReadShortStep(p, end, step) || step.m_text.m_p1 != nullptr ||
        !evaluation::FindKnownElements(evaluation::KnownVariable::Of(type, false, 0), place, element))
        return {};
    void* const data = place.Find(list, step.m_number);
    ReflectionByteCode elementType = element.GetType();
    if (data == nullptr || element.m_isConst || GetTypeCode(elementType).m_passedAs != 0)
        return {};
    if (p == end)
        return {data, elementType};
    const ReflectedClass* const rc = elementType.GetCode() == FT_CLASS ? elementType.GetReflectedClass() : nullptr;
    return rc != nullptr && *p == '.' ? FindEnd(*rc, data, {p, end}, stopsAtChecks) : FieldEnd();
}

// What a map of ours has under a text, which the path ends with.
[[gnu::noinline]] FieldEnd FindInMap(const ReflectedClass& rc, void* instance, std::string_view path,
                                     bool stopsAtChecks)
{
    const std::size_t bracket = path.rfind("[\"");
    if (bracket == std::string_view::npos || bracket == 0)
        return {};
    const char* p = path.data() + bracket;
    const char* const end = path.data() + path.size();
    ShortStep step;
    if (!ReadShortStep(p, end, step) || p != end)
        return {};
    const FieldEnd map = FindEnd(rc, instance, path.substr(0, bracket), stopsAtChecks);
    if (map.m_data == nullptr || *map.m_type.m_bc != FT_MAP || map.m_type.GetElementType().GetCode() != FT_STRING8)
        return {};
    const xstring key(step.m_text.m_p1, step.m_text.size());
    ReflectionByteCode payloadType = map.m_type.GetElementType();
    payloadType.ScanType();
    payloadType.m_mapOrSetFns = map.m_type.m_mapOrSetFns + 1;
    if (GetTypeCode(payloadType).m_passedAs != 0)
        return {};
    return {map.m_type.m_mapOrSetFns->mapFns->Find(map.m_data, &key), payloadType};
}

// Most paths go along what is known of classes; null for the others, and where one does not lead to its end.
[[gnu::always_inline]] inline FieldEnd FindSoon(const FieldStart& start, std::string_view path, bool stopsAtChecks)
{
    const ReflectedClass* rc = nullptr;
    void* instance = nullptr;
    if (start.m_type != nullptr) [[likely]]
    {
        rc = start.m_type->m_class;
        if (rc == nullptr) [[unlikely]]
            return FindFromList(start.m_type->Get(), start.m_data, path, stopsAtChecks);
        start.m_type->m_ensureRegistered();
        instance = start.m_data;
    }
    else
    {
        if (!start.m_object)
            return {};
        rc = start.m_object.GetReflectedClass();
        instance = start.m_object.self();
    }
    FieldEnd end = FindEnd(*rc, instance, path, stopsAtChecks);
    if (end.m_data == nullptr && start.m_type != nullptr) [[unlikely]]
        return FindInMap(*rc, instance, path, stopsAtChecks);
    return end;
}

// What can be seen at once: of scalars, texts and types of other libraries.
[[gnu::always_inline]] inline bool IsPlainlySame(const ReflectionByteCode& a, const UsedType& b)
{
    if (*a.m_bc != *b.m_bc)
        return false;
    if (*a.m_bc == FT_FOREIGN)
        return &a.GetForeignType() == &ReflectionByteCode(b.m_bc, b.m_stringTable).GetForeignType();
    return *a.m_bc == FT_STRING8 || GetTypeCode(a).m_kind == VK_SCALAR;
}

// What optionals and pointers hold stands for them.
[[gnu::noinline]] FieldEnd EnterOptionals(FieldEnd end)
{
    while (*end.m_type.m_bc == FT_FOREIGN && end.m_type.GetForeignType().IsOptional())
    {
        const ForeignType& type = end.m_type.GetForeignType();
        if (type.m_choice->GetIndex(end.m_data) < 0)
            break;
        end = {type.m_choice->GetValue(end.m_data), type.GetPartType(0)};
    }
    return end;
}

template <class T>
bool TryStoreNumber(void* data, const Scalar& value)
{
    T number;
    if (Convert(value, number) != Fit::Fits)
        return false;
    std::memcpy(data, &number, sizeof number);
    return true;
}

// Of what may be written.
bool TryStore(const FieldEnd& end, const Scalar& value)
{
    switch (static_cast<int>(end.m_type.GetCode()))
    {
    case FT_INT32: return TryStoreNumber<int32>(end.m_data, value);
    case FT_FLOAT64: return TryStoreNumber<float64>(end.m_data, value);
    default: return GetTypeCode(end.m_type).m_passedAs == 0 && StoreScalar(end.m_type, end.m_data, value) == Fit::Fits;
    }
}

bool Finish(const Error& error, Result<void>* result)
{
    if (result == nullptr)
        throw error;
    *result = error;
    return false;
}

// What `use` of a path does, or how it fails.
template <class F>
bool AlongPath(std::string_view path, Result<void>* result, const F& use)
{
    PathText text(path);
    try
    {
        if (use(text)) [[likely]]
            return true;
    }
    catch (const std::exception&)
    {
        return Finish(ErrorInFlight({s_textName, path}, {}), result);
    }
    return Finish(text.MakeError(), result);
}

} // namespace

bool GetField(const FieldStart& start, std::string_view path, const UsedType& wanted, void* value,
              const evaluation::Copying& copying, Result<void>* result)
{
    if (FieldEnd end = FindSoon(start, path, false); end.m_data != nullptr) [[likely]]
    {
        bool isSame = IsPlainlySame(end.m_type, wanted);
        if (!isSame) [[unlikely]]
        {
            end = EnterOptionals(end);
            isSame = IsPlainlySame(end.m_type, wanted);
        }
        if (isSame) [[likely]]
        {
            copying.m_whole(value, end.m_data);
            return true;
        }
        std::string room;
        const Scalar scalar = LoadScalar(end.m_type, end.m_data, room);
        if (scalar.m_kind != Scalar::Kind::None && StoreScalar(wanted.Get(), value, scalar) == Fit::Fits)
            return true;
    }
    return AlongPath(path, result,
                     [&](PathText& text)
                     {
                         return text.Reach(start) &&
                                evaluation::ToVariable(text.GetSlot(), wanted.Get(), value, copying, text.GetFailure());
                     });
}

bool SetField(const FieldStart& start, std::string_view path, const Scalar& value, Result<void>* result)
{
    if (FieldEnd end = FindSoon(start, path, true); end.m_data != nullptr) [[likely]]
    {
        if (*end.m_type.m_bc == FT_FOREIGN) [[unlikely]]
            end = EnterOptionals(end);
        if (TryStore(end, value)) [[likely]]
            return true;
    }
    return AlongPath(path, result, [&](PathText& text) { return text.Store(start, {.m_scalar = value}); });
}

bool SetField(const FieldStart& start, std::string_view path, const Value& value, Result<void>* result)
{
    return AlongPath(path, result,
                     [&](PathText& text)
                     {
                         std::string room;
                         Assigned assigned;
                         return evaluation::ToAssigned(ValueAccess::Of(value), assigned, room, text.GetFailure()) &&
                                text.Store(start, assigned);
                     });
}

bool SetField(const FieldStart& start, std::string_view path, const UsedType& type, void* value,
              void (*exchange)(void* a, void* b), Result<void>* result)
{
    return AlongPath(path, result,
                     [&](PathText& text)
                     {
                         Assigned assigned{.m_exchange = exchange};
                         assigned.m_object.SetPlace(value, type.Get(), false);
                         return text.Store(start, assigned);
                     });
}

bool HasField(const FieldStart& start, std::string_view path)
{
    bool isThere = false;
    Result<void> result;
    if (AlongPath(path, &result,
                  [&](PathText& text)
                  {
                      if (!text.Reach(start))
                          return false;
                      isThere = evaluation::IsThere(text.GetSlot());
                      return true;
                  }))
        return isThere;
    const ErrorKind kind = result.GetError().GetKind();
    if (kind != ErrorKind::Range && kind != ErrorKind::Name)
        throw result.GetError();
    return false;
}

} // namespace kelm
