#pragma once

// A recorded expression: a flat list of operations in the order in which they are applied.
//
// Each operation is a step: a function that does it and goes on to the next. Values stand on a stack of slots, which
// say of what kind they are; but where it is known what a name stands for, so are the kinds of what is computed from
// it, and then the topmost value is handed from step to step in registers, without its kind. Such a program is called
// typed. It holds while the names of its scope stand for what they did (m_state) and its parameters are of the kinds
// that it was recorded for; the same text recorded without that knowledge is the general form, which always holds.

#include <kelm/Language.h>
#include <kelm/Slot.h>
#include <kelm/private/expressions/SmallArray.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <forward_list>
#include <span>
#include <string>
#include <string_view>

namespace kelm
{
struct BuiltIn;
class ScopeState;
} // namespace kelm

namespace kelm::evaluation
{

struct Machine;
struct Op;
struct Record;

// Does the operation and what follows, and returns where to go on: null at the end. `top` is behind the stack's topmost
// value; the registers hold the one above it, if that is not in a slot: bools, integers and addresses in `i`, floats in
// `f`.
using Step = const Op* (*)(const Op* op, Machine& machine, Slot* top, int64 i, float64 f);

enum class Code : uint8
{
    // Push a value: a constant; what a name, a parameter, or the stack itself (m_index slots from its bottom) has.
    PushNone,
    PushBool,
    PushInteger,
    PushFloat,
    PushText,
    PushName,
    PushParameter,
    PushLocal,

    // Replaces two values by one. with its operator.
    Binary,

    // Replace a value.
    Prefix,  // with its operator
    BuiltIn, // m_index is that among the built-in functions that the program uses
    Member,  // m_index is that of the text that names it

    Subscript, // replaces an object and an index, which begins at the place m_index

    // Replace m_count arguments by a result.
    CallOwn,    // m_index is that among the library's functions
    CallName,   // m_index is that of a name
    CallMember, // the same; the first argument is the object

    // Branches, to the operation m_target.
    Jump,
    JumpIfNot, // takes a bool away
    AndJump,   // where a bool is false, leaves it and jumps; else takes it away
    OrJump,
    CheckBool, // a bool must be there
    Select,    // replaces a bool and two values by one of the values

    // Assign: a value to what is below it, or to a name, and leave nothing in their place. its operator is what
    // combines the old value and the new, if anything does.
    KeepPlace, // which a value is assigned to
    Store,
    StoreName,
    StoreElement, // to an element of an object, which a map may get: object, index, value; a Subscript stands behind it

    // has(path): until HasEnd, a step that fails for want of an object goes to m_target, behind it.
    HasBegin,
    HasEnd,

    // sum, any, all and count: over the elements of the list, which stand one after the other in the slot behind it.
    ListBegin, // m_index is the function; m_target is behind its end
    ListNext,  // m_target is the beginning of the body

    // Returns, so that what goes on from step to step goes no deeper where the compiler makes no jumps of it.
    Pause,

    End,

    Scalar, // whatever Scalars.h has
};

struct Op
{
    Step m_step;
    union
    {
        uint64 m_index;
        int64 m_integer;
        float64 m_float;
        const void* m_left; // an operand, or what is called
        double (*m_function)(double);
    };
    union
    {
        uint64 m_count; // of arguments
        uint64 m_target;
        const void* m_right; // an operand
        ssize_t m_offset;
    };
    uint64 m_bits;

    // The place in the text where it goes wrong if it does; an operator, as an index of Operations; the code.
    std::size_t GetPlace() const { return m_bits & s_placeMask; }
    std::size_t GetToken() const { return m_bits >> s_placeBits & 0xFF; }
    Code GetCode() const { return static_cast<Code>(m_bits >> (s_placeBits + 8)); }
    static uint64 BitsOf(std::size_t place, std::size_t token, Code code)
    {
        return static_cast<uint64>(code) << (s_placeBits + 8) | static_cast<uint64>(token) << s_placeBits |
               (place & s_placeMask);
    }

    static constexpr int s_placeBits = 48;
    static constexpr uint64 s_placeMask = (uint64(1) << s_placeBits) - 1;
};
static_assert(sizeof(Op) == 32);

// Where a function of floats has values.
enum class Domain : uint8
{
    Any,
    Positive,
    NotNegative,
};

// A name that stands for something in a scope.
struct NameUse
{
    std::string_view m_name;
    std::size_t m_place;
    bool m_isMember;   // a member function
    bool m_isOfObject; // a member of the scope's object
};

enum class ListFunction : uint8
{
    Sum,
    Any,
    All,
    Count,
};

// A place of a known type; its elements, where it is a list of elements of one type.
struct KnownPlace
{
    Slot m_slot;
    const ForeignListFns* m_list; // null of our own lists
    ssize_t m_elementSize;        // of our own
    ssize_t m_count;              // of an array; -1 of a vector

    // Null where there is none.
    [[gnu::always_inline]] void* Find(void* list, int64 i) const
    {
        if (m_list != nullptr)
            return 0 <= i && i < m_list->Count(list) ? m_list->At(list, i) : nullptr;
        if (m_count >= 0)
            return 0 <= i && i < m_count ? static_cast<char*>(list) + i * m_elementSize : nullptr;
        VectorOfByte& bytes = *static_cast<VectorOfByte*>(list);
        ssize_t offset = 0;
        const bool isBeyond = __builtin_mul_overflow(i, m_elementSize, &offset);
        return isBeyond || i < 0 || offset > bytes.size() - m_elementSize ? nullptr : bytes.data() + offset;
    }
};

// What a parameter is: the kind, and of a place its type.
struct ParameterType
{
    explicit ParameterType(const Slot& argument)
        : m_kind(argument.m_kind)
        , m_isConst(argument.m_kind == Kind::Place && argument.m_isConst)
        , m_type(argument.m_kind == Kind::Place ? argument.GetType() : ReflectionByteCode())
    {
    }
    bool Matches(const Slot& argument) const
    {
        return argument.m_kind == m_kind && (m_kind != Kind::Place || (argument.m_bc == m_type.m_bc &&
                                                                       argument.m_stringTable == m_type.m_stringTable &&
                                                                       argument.m_isConst == m_isConst));
    }

    Kind m_kind;
    bool m_isConst;
    ReflectionByteCode m_type;
};

// Scalars that operations refer to by their address.
class Constants
{
public:
    union Constant
    {
        int64 m_integer;
        float64 m_float;
    };

    const Constant* Add(int64 x)
    {
        Constant& constant = Add();
        constant.m_integer = x;
        return &constant;
    }
    const Constant* Add(float64 x)
    {
        Constant& constant = Add();
        constant.m_float = x;
        return &constant;
    }

private:
    static constexpr std::size_t s_numNear = 16;

    Constant& Add()
    {
        if (m_size < s_numNear) [[likely]]
            return m_near[m_size++];
        return m_far.emplace_front();
    }

    std::size_t m_size = 0;
    Constant m_near[s_numNear];
    std::forward_list<Constant> m_far;
};

struct Program
{
    std::string_view m_text;
    Language m_language = Language::Natural;
    bool m_isTyped = false;
    bool m_isTraced = false;             // places that wait while something is called are found again (Trail.h)
    Kind m_result = Kind::None;          // what is in the register at the end; None: it is in a slot
    const ScopeState* m_state = nullptr; // of the scope, of a typed program
    const Program* m_general = nullptr;  // the general form of a typed program
    std::size_t m_depth = 0;             // of the stack
    std::span<const std::string_view> m_parameters;
    SmallArray<Op, 48> m_ops;
    SmallArray<NameUse, 12> m_names;
    SmallArray<const Record*, 12> m_records; // of the names; null where a resolver has to be asked
    SmallArray<std::string_view, 8> m_texts;
    SmallArray<const BuiltIn*, 4> m_builtIns;
    SmallArray<KnownPlace, 4> m_places;
    Constants m_constants;
    std::forward_list<std::string> m_ownTexts; // which hold escapes in the program's text
};

} // namespace kelm::evaluation
