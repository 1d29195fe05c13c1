#pragma once

// A recorded expression: a flat list of operations in the order in which they are applied, over a stack of values.

#include <kelm/Language.h>
#include <kelm/Slot.h>
#include <kelm/private/SmallArray.h>
#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <forward_list>
#include <string>
#include <string_view>

namespace kelm
{
struct BuiltIn;
}

namespace kelm::evaluation
{

struct Record;

enum class Code : uint8
{
    // Push a value: a constant; what a name, a parameter, or the stack itself (m_arg slots from its bottom) has.
    PushNone,
    PushBool,
    PushInteger,
    PushFloat,
    PushText,
    PushName,
    PushParameter,
    PushLocal,

    // Replace two values by one. m_token is the operator.
    Binary,
    // The same for what is commonest in the natural language; the operation's operator is its own.
    Add,
    Subtract,
    Multiply,
    Divide,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Equal,
    NotEqual,
    // The same with a right operand that is not pushed before: the operation behind this one says what it is.
    AddNext,
    SubtractNext,
    MultiplyNext,
    DivideNext,
    LessNext,
    LessOrEqualNext,
    GreaterNext,
    GreaterOrEqualNext,
    EqualNext,
    NotEqualNext,

    // Replace a value.
    Prefix,  // m_token is the operator
    BuiltIn, // m_arg is the index among the built-in functions that the program uses
    Member,  // m_arg is the index of the text that names it

    Subscript, // replaces an object and an index

    // Replace m_count arguments by a result.
    CallOwn,    // m_arg is the index among the library's functions
    CallName,   // m_arg is the index of a name
    CallMember, // the same; the first argument is the object

    // Branches, to the operation m_arg.
    Jump,
    JumpIfNot, // takes a bool away
    AndJump,   // where a bool is false, leaves it and jumps; else takes it away
    OrJump,
    CheckBool, // a bool must be there
    Select,    // replaces a bool and two values by one of the values

    // Assign: a value to what is below it, or to a name, and leave nothing in their place. m_token is what combines the
    // old value and the new, if anything does.
    Store,
    StoreName,
    StoreElement, // to an element of an object, which a map may get: object, index, value; a Subscript stands behind it

    // has(path): until HasEnd, a step that fails for want of an object goes to it.
    HasBegin,
    HasEnd,

    // sum, any, all and count: over the elements of the list, which stand one after the other in the slot behind it.
    ListBegin, // m_count is the function; m_arg is behind its end
    ListNext,  // m_arg is the beginning of the body

    End,
};

// The number of operations between a hot one and its form with the operand behind.
inline constexpr int s_toNext = static_cast<int>(Code::AddNext) - static_cast<int>(Code::Add);

struct Op
{
    Code m_code;
    uint8 m_count;
    uint16 m_token; // an operator, as an index of Operations; of a call the low bits of the number of arguments
    uint32 m_arg;
    union
    {
        std::size_t m_place; // in the text, where it goes wrong if it does
        int64 m_integer;
        float64 m_float;
    };

    std::size_t GetCount() const { return static_cast<std::size_t>(m_count) << 16 | m_token; }
};
static_assert(sizeof(Op) == 16);

// A name that stands for something in a scope.
struct NameUse
{
    std::string_view m_name;
    std::size_t m_place;
    bool m_isMember; // a member function
};

enum class ListFunction : uint8
{
    Sum,
    Any,
    All,
    Count,
};

struct Program
{
    std::string_view m_text;
    Language m_language = Language::Natural;
    std::size_t m_depth = 0; // of the stack
    SmallArray<Op, 48> m_ops;
    SmallArray<NameUse, 12> m_names;
    SmallArray<const Record*, 12> m_records; // of the names; null where a resolver has to be asked
    SmallArray<std::string_view, 8> m_texts;
    SmallArray<const BuiltIn*, 4> m_builtIns;
    std::forward_list<std::string> m_ownTexts; // which hold escapes in the program's text
};

} // namespace kelm::evaluation
