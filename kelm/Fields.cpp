#include <kelm/Fields.h>

#include <kelm/private/Conversions.h>
#include <kelm/private/ErrorOf.h>
#include <kelm/private/FieldWalk.h>
#include <kelm/private/TypeText.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/text/private/Cursor.h>
#include <klUtils/text/private/TypedReads.h>

namespace kelm
{

namespace
{

// --- the walk along a path

FieldWalk BeginWalk(const FieldStart& start, EAccess access)
{
    if (start.m_type != nullptr)
        return {start.m_type->Get(), start.m_data, access};
    if (start.m_reached != nullptr)
        return {*start.m_reached, start.m_data, access};
    return {start.m_object, access};
}

// A path that has been walked to its end.
class WalkedPath
{
public:
    WalkedPath(const FieldStart& start, std::string_view path, EAccess access)
        : m_path(path), m_access(access), m_walk(BeginWalk(start, access))
    {
        ExpressionParser parser;
        parser.Init(SubString(path));
        text::Cursor cursor(parser);
        Walk(cursor);
    }

    FieldWalk& GetWalk() { return m_walk; }

    // An error about the value at the end: at the last step.
    Error ErrorAtEnd(ErrorKind kind, std::string message) const
    {
        return ErrorAt(kind, std::move(message), {s_textName, m_path},
                       m_last.m_p1 != nullptr ? static_cast<std::size_t>(m_last.m_p1 - m_path.data()) : 0,
                       static_cast<std::size_t>(m_last.size()), std::string(m_path));
    }

private:
    void Walk(text::Cursor& cursor)
    {
        if (m_walk.GetData() == nullptr)
            cursor.ThrowAtToken("null dereference");
        while (!cursor.Is(TOKEN_END))
        {
            if (cursor.Is(TOKEN_DOT))
                WalkToField(cursor);
            else if (cursor.Is(TOKEN_LEFT_SQUARE))
                WalkToElement(cursor);
            else
                cursor.ThrowExpected("end of text");
        }
    }

    void WalkToField(text::Cursor& cursor)
    {
        cursor.Next();
        if (!cursor.Is(TOKEN_IDENTIFIER))
            cursor.ThrowExpected("identifier");
        Require(cursor, m_walk.TryStepToField(cursor.GetText()));
        Pass(cursor);
    }

    // Optionals and handles are entered where a list or a map is wanted.
    void WalkToElement(text::Cursor& cursor)
    {
        if (m_walk.IsEnterable())
            Require(cursor, m_walk.TryEnter());
        const bool isDynamic = m_walk.GetType().m_bc != nullptr && m_walk.GetType().GetCode() == FT_DYNARRAY;
        cursor.Next();
        if (isDynamic && cursor.Is(TOKEN_LEFT_SQUARE))
            cursor.Next();
        if (m_walk.TakesKeys())
            WalkToKey(cursor);
        else
            Require(cursor, m_walk.TryStepToElement(text::ReadNumber<int32>(cursor)));
        if (!cursor.Is(TOKEN_RIGHT_SQUARE))
            cursor.ThrowExpected("]");
        Pass(cursor);
    }

    void WalkToKey(text::Cursor& cursor)
    {
        xstring room;
        const Scalar key = ReadKey(cursor, room);
        const bool isThere = m_walk.TryStepToKey(key);
        if (isThere || m_access == EAccess::Read || !m_walk.IsKeyMissing() || !IsLastStep(cursor))
            return Require(cursor, isThere);
        Require(cursor, m_walk.TryInsertKey(key));
    }

    static bool IsLastStep(text::Cursor cursor)
    {
        if (!cursor.Is(TOKEN_RIGHT_SQUARE))
            return false;
        cursor.Next();
        return cursor.Is(TOKEN_END);
    }

    // A number, a text, a bool or the name of an enumerator.
    static Scalar ReadKey(text::Cursor& cursor, xstring& room)
    {
        if (cursor.IsQuoted())
        {
            text::ReadString(cursor, room);
            return Scalar(room.view());
        }
        if (cursor.Is(TOKEN_IDENTIFIER))
        {
            if (cursor.IsText("true") || cursor.IsText("false"))
                return Scalar(text::ReadBool(cursor));
            room.assign(cursor.GetText().m_p1, cursor.GetText().size());
            cursor.Next();
            return Scalar(room.view());
        }
        const bool isNegative = text::PassSign(cursor);
        if (cursor.Is(TOKEN_FLOAT))
            return Scalar(text::ReadNumber<float64>(cursor, isNegative));
        if (!cursor.Is(TOKEN_INTEGER) && !cursor.Is(TOKEN_HEX_INTEGER))
            cursor.ThrowExpected("key");
        return isNegative ? Scalar(text::ReadNumber<int64>(cursor, true)) : Scalar(text::ReadNumber<uint64>(cursor));
    }

    void Require(const text::Cursor& cursor, bool isDone) const
    {
        if (!isDone)
            cursor.ThrowAtToken(m_walk.GetFault());
    }

    void Pass(text::Cursor& cursor)
    {
        m_last = cursor.GetText();
        cursor.Next();
    }

    std::string_view m_path;
    EAccess m_access;
    FieldWalk m_walk;
    SubString m_last;
};

// Calls use(walked path) at the end of a path.
template <class F>
Result<void> AtField(const FieldStart& start, std::string_view path, EAccess access, const F& use)
{
    const SourceText source = {s_textName, path};
    const Result<Result<void>> result = Attempt(source, {},
                                                [&]
                                                {
                                                    WalkedPath walked(start, path, access);
                                                    return use(walked);
                                                });
    return result ? *result : Result<void>(result.GetError());
}

Error MisfitError(const WalkedPath& path, Fit fit, const std::string& wanted, const std::string& value)
{
    return path.ErrorAtEnd(KindOfMisfit(fit), MisfitMessage(fit, wanted, value));
}

std::string TypeTextOf(const FieldWalk& walk)
{
    return walk.GetClass() != nullptr ? walk.GetClass()->m_name : TypeText(walk.GetType());
}

bool IsSameForeignType(const FieldWalk& walk, ReflectionByteCode type)
{
    type.AdvanceToUnderlyingType2();
    return type.GetCode() == FT_FOREIGN && walk.GetType().m_bc != nullptr && walk.GetType().GetCode() == FT_FOREIGN &&
           type.GetForeignType().m_name == walk.GetType().GetForeignType().m_name;
}

bool IsSameType(const FieldWalk& walk, ReflectionByteCode type)
{
    type.AdvanceToUnderlyingType2();
    if (type.GetCode() == FT_FOREIGN)
        return IsSameForeignType(walk, type);
    return TypeText(type) == TypeTextOf(walk);
}

// --- checks

// Asks all checks that a changed value concerns; where one refuses, or throws, the change is undone.
template <class Undo>
Result<void> CheckChange(WalkedPath& path, const std::string& value, const Undo& undo)
{
    const FieldWalk& walk = path.GetWalk();
    const FieldWalk::CheckedMember* refusing = nullptr;
    try
    {
        for (const FieldWalk::CheckedMember& member : walk.GetCheckedMembers())
            if (!member.m_rule->m_check(member.m_data))
            {
                refusing = &member;
                break;
            }
    }
    catch (...)
    {
        undo();
        throw;
    }
    if (refusing == nullptr)
    {
        path.GetWalk().Commit();
        return {};
    }
    undo();
    return path.ErrorAtEnd(ErrorKind::Check, std::string("Member '") + refusing->m_name + "' of class " +
                                                 refusing->m_class->m_name + " refuses " + value);
}

// Stores a scalar in the field at the end of a path.
Result<void> StoreAtEnd(WalkedPath& walked, const Scalar& value)
{
    FieldWalk& walk = walked.GetWalk();
    if (walk.GetClass() != nullptr)
        return MisfitError(walked, Fit::OtherType, TypeTextOf(walk), TextOf(value));
    if (walk.IsConst())
        return walked.ErrorAtEnd(ErrorKind::Type, "The field is constant");
    std::string room;
    Scalar old = walk.GetCheckedMembers().empty() ? Scalar() : LoadScalar(walk.GetType(), walk.GetData(), room);
    if (old.m_kind == Scalar::Kind::Text) // which may lie in the field
    {
        room = std::string(old.m_text);
        old.m_text = room;
    }
    const Fit fit = StoreScalar(walk.GetType(), walk.GetData(), value);
    if (fit != Fit::Fits)
        return MisfitError(walked, fit, TypeText(walk.GetType()), TextOf(value));
    return CheckChange(walked, TextOf(value),
                       [&]
                       {
                           if (old.m_kind == Scalar::Kind::None)
                               walk.TrySetToNull();
                           else
                               StoreScalar(walk.GetType(), walk.GetData(), old);
                       });
}

} // namespace

Result<void> GetField(const FieldStart& start, std::string_view path, const UsedType& wanted, void* value,
                      void (*copy)(void* to, const void* from))
{
    return AtField(start, path, EAccess::Read,
                   [&](WalkedPath& walked) -> Result<void>
                   {
                       FieldWalk& walk = walked.GetWalk();
                       const ReflectionByteCode type = wanted.Get();
                       std::string room;
                       while (true)
                       {
                           if (walk.GetClass() == nullptr && !IsSameForeignType(walk, type))
                           {
                               const Scalar scalar = LoadScalar(walk.GetType(), walk.GetData(), room);
                               if (scalar.m_kind != Scalar::Kind::None)
                               {
                                   const Fit fit = StoreScalar(type, value, scalar);
                                   if (fit == Fit::Fits)
                                       return {};
                                   return MisfitError(walked, fit, TypeText(type), TextOf(scalar));
                               }
                           }
                           if (IsSameType(walk, type))
                           {
                               copy(value, walk.GetData());
                               return {};
                           }
                           if (!walk.IsEnterable())
                               return MisfitError(walked, Fit::OtherType, TypeText(type), TypeTextOf(walk));
                           if (!walk.TryEnter())
                               return walked.ErrorAtEnd(ErrorKind::Range, std::string(walk.GetFault().view()));
                       }
                   });
}

Result<void> SetField(const FieldStart& start, std::string_view path, const Scalar& value)
{
    return AtField(start, path, EAccess::Write, [&](WalkedPath& walked) { return StoreAtEnd(walked, value); });
}

Result<void> SetField(const FieldStart& start, std::string_view path, const UsedType& type, void* value,
                      void (*swap)(void* a, void* b))
{
    return AtField(start, path, EAccess::Write,
                   [&](WalkedPath& walked) -> Result<void>
                   {
                       FieldWalk& walk = walked.GetWalk();
                       const ReflectionByteCode valueType = type.Get();
                       if (!IsSameType(walk, valueType))
                       {
                           std::string room;
                           const Scalar scalar = LoadScalar(valueType, value, room);
                           if (scalar.m_kind != Scalar::Kind::None)
                               return StoreAtEnd(walked, scalar);
                           return MisfitError(walked, Fit::OtherType, TypeTextOf(walk), TypeText(valueType));
                       }
                       if (walk.IsConst())
                           return walked.ErrorAtEnd(ErrorKind::Type, "The field is constant");
                       swap(walk.GetData(), value);
                       return CheckChange(walked, "this " + TypeText(valueType), [&] { swap(walk.GetData(), value); });
                   });
}

Scalar ScalarOf(const Value& value)
{
    switch (value.GetKind())
    {
    case Value::Kind::Bool: return Scalar(value.As<bool>());
    case Value::Kind::Integer: return Scalar(value.As<int64>());
    case Value::Kind::Float: return Scalar(value.As<float64>());
    case Value::Kind::Text: return Scalar(value.As<std::string_view>());
    case Value::Kind::None:
    case Value::Kind::Object: break;
    }
    return Scalar();
}

Result<void> SetFieldToNull(const FieldStart& start, std::string_view path)
{
    return AtField(start, path, EAccess::Write,
                   [&](WalkedPath& walked) -> Result<void>
                   {
                       FieldWalk& walk = walked.GetWalk();
                       if (!walk.TrySetToNull())
                           return MisfitError(walked, Fit::OtherType, TypeTextOf(walk), "null");
                       return {};
                   });
}

bool HasField(const FieldStart& start, std::string_view path)
{
    bool isThere = false;
    const Result<void> result = AtField(start, path, EAccess::Read,
                                        [&](WalkedPath& walked) -> Result<void>
                                        {
                                            FieldWalk& walk = walked.GetWalk();
                                            isThere = !walk.IsEnterable() || walk.TryEnter();
                                            return {};
                                        });
    if (result)
        return isThere;
    const ErrorKind kind = result.GetError().GetKind();
    if (kind != ErrorKind::Range && kind != ErrorKind::Name)
        throw result.GetError();
    return false;
}

} // namespace kelm
