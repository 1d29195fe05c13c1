#pragma once

// PathWalk: the walk along a path, which every form of navigation takes.
//
// It reads token by token and throws nothing for a bad path: the walk ends with a fault, of which the text form makes a
// message and the parser form an exception. What the parser and the navigator show is written when somebody could look.
//
// The walk is inlined where it begins, and in registers. So no function that is not inlined may be given the address of
// anything here; it is given a copy.

#include <klKelmScript/ParseFieldPath.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/text/private/ExpectingCursor.h>
#include <klUtils/xvector.h>

namespace kelm
{

class PathWalk
{
public:
    // Over a text, before its first token.
    PathWalk(SubString path, const ptr<IObject>& obj, bool readAccess)
        : m_cursor(path), m_obj(obj), m_data(static_cast<char*>(obj.self())), m_reads(readAccess)
    {
        LookWhetherWatched();
    }

    // From where a navigator is, which shows the walk.
    explicit PathWalk(ExpressionPathNavigator& navigator)
        : m_cursor(navigator.m_parser)
        , m_obj(navigator.m_obj)
        , m_rbc(navigator.m_rbc)
        , m_data(navigator.m_data)
        , m_navigator(&navigator)
        , m_reads(navigator.ReadAccess())
    {
        LookWhetherWatched();
    }

    [[gnu::always_inline]] PathWalk(const PathWalk&) = default;
    [[gnu::always_inline]] PathWalk& operator=(const PathWalk&) = default;

    // The first token of the text.
    [[gnu::always_inline]] bool TryReadFirstToken();

    // The walk from an instance of that class, or, without one, from a variable. False where the path is bad.
    [[gnu::always_inline]] bool TryWalk(const ReflectedClass* rc);

    // Writes the members of the navigator, if there is one, and its parser. Once, and for good.
    void Show() const;

    // What is wrong with the path, which has been shown: a message and the token that it is about.
    [[gnu::always_inline]] text::ScanFailure GetFailure() const
    {
        if (m_problem.m_fault == Fault::NotScanned)
            return m_cursor.GetScanFailure();
        return Describe(m_problem, m_navigator != nullptr ? m_navigator->m_parser.m_token : m_cursor.GetToken());
    }

    text::ExpectingCursor m_cursor;
    ptr<IObject> m_obj;       // the object that owns the position
    ReflectionByteCode m_rbc; // the type at the position
    char* m_data = nullptr;   // the bytes at the position

private:
    enum class State : uint8
    {
        Failed,
        Over,
        AtInstance, // of m_class
        AtVariable,
    };

    enum class Fault : uint8
    {
        None,
        NotScanned,
        Expected,
        IndexOutOfType,
        NegativeIndexOutOfType,
        UnknownField,
        IndexOutOfRange,
        NullDereference,
    };

    struct Problem
    {
        Fault m_fault = Fault::None;
        int32 m_index = 0;
        ConstStringZ m_subject = nullptr; // the class or kind of container, or what was expected
    };
    static text::ScanFailure Describe(Problem problem, LSToken token);

    // What a step that fails returns.
    struct Failure
    {
        operator bool() const { return false; }
        operator State() const { return State::Failed; }
    };
    [[gnu::always_inline]] Failure Fail(Fault fault, ConstStringZ subject = nullptr, int32 index = 0)
    {
        m_problem = {fault, index, subject};
        return {};
    }

    [[gnu::always_inline]] State StepToField();
    [[gnu::always_inline]] State StepToOtherField(const text::NameKey& name);
    [[gnu::always_inline]] void MoveTo(const ReflectedModelField& rf, const ClassModel& model);
    [[gnu::always_inline]] State FollowVariable();
    [[gnu::always_inline]] State StepIntoArray(const ReflectionByteCode& type);
    [[gnu::always_inline]] State StepIntoVector(const ReflectionByteCode& type, const ReflectedClass* elementClass);
    [[gnu::always_inline]] State StepIntoDynArray(const ReflectionByteCode& type);
    [[gnu::always_inline]] State StepIntoForeign(const ForeignType& type);
    [[gnu::always_inline]] State StepThroughHandle(const ReflectionByteCode& type, const ptr<IObject>& target);
    [[gnu::always_inline]] bool TryReadIndex(int32& index);
    [[gnu::always_inline]] bool TryPassRightSquare();
    [[gnu::always_inline]] static ssize_t GetSize(const ReflectionByteCode& type);

    // Where a host's function is called, which could look, and change what it sees.
    [[gnu::always_inline]] void RaiseBarrier();
    [[gnu::always_inline]] ptr<IObject> GetTarget(const prefbase& reference);
    void LookWhetherWatched() { m_isWatched = m_reads && (IsReadBarrierInstalled() || !m_obj); }

    const ReflectedClass* m_class = nullptr;
    ExpressionPathNavigator* m_navigator = nullptr;
    bool m_reads = false;     // in read access
    bool m_isWatched = false; // a barrier must be told of each position

    Problem m_problem;
};

} // namespace kelm
