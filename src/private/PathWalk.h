#pragma once

// PathWalk: the walk along a path, which every form of navigation takes.
//
// It reads token by token and throws nothing for a bad path: the walk ends with a fault, of which the text form makes a
// message and the parser form an exception. What the parser and the navigator show is written when somebody could look.
//
// Where the fields' leads are known, it goes on in registers (Stride), and looks at no type. Anything else is done
// here, by the byte code of the type at hand.

#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/private/PathPosition.h>
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

class PathWalk;

// Where a walk is. No lead's kind has one of these numbers: a compiler would keep a kind in place of the state that it
// is known to be equal to.
enum class PathState : uint8
{
    Failed = 0x80,
    Over,
    AtInstance, // of m_class
    AtField,    // of that, behind the dot
    AtVariable,
    AtElement,
    BeforeVariable, // which is reached when the token behind it has been scanned
};

// The walk from an instance on, along leads. It lives in registers: it gives its address to nobody, and tells a walk
// where it is when that is needed. It ends where the walk is over or has failed, or before what no lead tells.
class PathStride
{
public:
    using State = PathState;
    using Fault = PathFault;

    // For the text form there is no walk until one is needed.
    [[gnu::always_inline]] PathStride(const text::ExpectingCursor& cursor, const ptr<IObject>& obj, char* data,
                                      bool reads, PathWalk* walk)
        : m_cursor(cursor)
        , m_obj(obj)
        , m_data(data)
        , m_barrier(__builtin_expect(reads, true) ? &s_installedReadBarrier : &s_noBarrier) // most paths are read
        , m_walk(walk)
    {
    }

    // What a walk may do that paths of texts do not.
    enum class Way : uint8
    {
        OfPaths,
        OfFields,        // maps take keys
        UpToCheckedField // the same, up to a member that has a check
    };
    template <Way W = Way::OfPaths>
    [[gnu::always_inline]] State Go(const ReflectedClass* rc);
    [[gnu::always_inline]] void TellWhereItIs(PathWalk& walk) const;
    [[gnu::always_inline]] void TellHowItEnded(State state, PathWalk& walk) const;

    text::ExpectingCursor m_cursor;
    ptr<IObject> m_obj;
    char* m_data;
    const TypeLead* m_lead = nullptr; // of the variable there; null where it began, at an instance
    const ReflectedClass* m_class = nullptr;

private:
    template <bool TakesKeys>
    [[gnu::always_inline]] State FollowLead();
    template <bool TakesKeys>
    [[gnu::always_inline]] State FollowForeign(FieldLead kind);
    [[gnu::always_inline]] State FollowVector();
    [[gnu::always_inline]] State FollowList();
    [[gnu::always_inline]] State FollowMap();
    [[gnu::always_inline]] State FollowChoice();
    [[gnu::always_inline]] State LeadTo(void* variable);
    [[gnu::always_inline]] State StepToElement(const char* first, ssize_t count, ssize_t elementSize, int64 index,
                                               ConstStringZ subject);
    [[gnu::always_inline]] State FollowOtherContainer(FieldLead kind);
    [[gnu::always_inline]] State StepThroughHandle(const ptr<IObject>& target);
    [[gnu::always_inline]] void GoTo(char* data, const TypeLead* lead);
    [[gnu::always_inline]] void Arrive();
    [[gnu::always_inline]] State EndAt(EToken behind);
    [[gnu::always_inline]] State EndWith(State state, EToken kind);
    [[gnu::always_inline]] bool IsWatched() const { return m_barrier->m_barrier != nullptr; }

    static constexpr InstalledReadBarrier s_noBarrier{};
    const InstalledReadBarrier* const m_barrier; // what is installed, where it is read access
    PathWalk* const m_walk;
    const FieldIndex* m_index = nullptr; // of the instance's class

    // The variable that is reached as soon as the token behind it has been scanned.
    char* m_nextData = nullptr;
    const TypeLead* m_nextLead = nullptr;

    PathProblem m_problem; // of a stride that has failed
};

// A variable inside an object, and its lead, which knows its type, which may be const.
struct PathEnd
{
    void* m_data = nullptr;
    const TypeLead* m_lead = nullptr;
};

// The end of a path from an instance of that class, where all of the path goes along leads; a null address where it
// does not, for whatever reason. Maps take keys. Nothing is changed, read barriers are left to others. `stopsAtChecks`:
// so are members that have a check.
KLKELMSCRIPT_API PathEnd FindAlongLeads(const ReflectedClass& rc, void* instance, SubString path, bool stopsAtChecks);

class PathWalk
{
public:
    // Over a text, at its first token.
    PathWalk(const text::ExpectingCursor& cursor, const ptr<IObject>& obj, bool readAccess)
        : m_cursor(cursor), m_position{obj, {}, static_cast<char*>(obj.self())}, m_reads(readAccess)
    {
    }

    // From where a navigator is, which shows the walk.
    explicit PathWalk(ExpressionPathNavigator& navigator)
        : m_cursor(navigator.m_parser)
        , m_position{navigator.m_obj, navigator.m_rbc, navigator.m_data}
        , m_navigator(&navigator)
        , m_reads(navigator.ReadAccess())
    {
    }

    using State = PathState;
    using Fault = PathFault;

    // Goes on from there, to the end. False where the path is bad.
    bool TryGoOn(State state);

    // Writes the members of the navigator, if there is one, and its parser. Once, and for good.
    void Show() const;

    // What is wrong with the path, which has been shown: a message and the token that it is about.
    text::ScanFailure GetFailure() const;
    LSToken GetToken() const;

    text::ExpectingCursor m_cursor;
    PathPosition m_position;
    const ReflectedClass* m_class = nullptr;
    char* m_nextData = nullptr; // of the variable before which it is, and that variable's lead
    const TypeLead* m_nextLead = nullptr;
    ExpressionPathNavigator* m_navigator = nullptr;
    bool m_reads;          // in read access
    PathProblem m_problem; // of a walk that has failed

private:
    // What a step that fails returns.
    struct Failure
    {
        operator bool() const { return false; }
        operator State() const { return State::Failed; }
    };
    Failure Fail(Fault fault, ConstStringZ subject = nullptr, int32 index = 0)
    {
        m_problem = {fault, index, subject};
        return {};
    }

    State FollowInstance();
    State StepToField();
    State Arrive();
    State FollowVariable();
    State StepToElement(const ReflectionByteCode& type);
    State StepTo(const PathElements& elements, const text::Number& number);
    State StepIntoForeign(const ForeignType& type);
    State StepThroughHandle(const ReflectionByteCode& type, const ptr<IObject>& target);
    bool TryReadIndex(text::Number number, int32& index);

    // Where a host's function is called, which could look, and change what it sees.
    void RaiseBarrier();
    ptr<IObject> GetTarget(const prefbase& reference);
    void LookAgain();
};

} // namespace kelm
