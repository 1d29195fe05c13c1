#pragma once

// Types for the tests of the reflection layer, described by hand: byte code, string tables and descriptors as a host
// author who has no C++ types to derive them from would write them.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

namespace kelm::handwritten
{

// A type under construction: T(FT_VECTOR) + T(FT_INT32), Named(FT_CLASS, "a::B"), Array(3) + ... Its byte code and
// tables live as long as it does.
class T
{
public:
    T(std::initializer_list<int> bytes)
    {
        for (const int byte : bytes)
            m_bytes.push_back(static_cast<uint8>(byte));
    }
    explicit T(int code) : T({code}) {}

    T& AddName(ConstStringZ name)
    {
        const auto index = static_cast<uint16>(m_names.size());
        m_names.push_back(name);
        return AddNumber(index);
    }
    template <class Number>
    T& AddNumber(Number number)
    {
        uint8 bytes[sizeof number];
        std::memcpy(bytes, &number, sizeof number);
        m_bytes.insert(m_bytes.end(), bytes, bytes + sizeof number);
        return *this;
    }
    T& AddFns(const MapFns* fns)
    {
        m_fns.push_back({.mapFns = fns});
        return *this;
    }
    T& AddFns(const SetFns* fns)
    {
        m_fns.push_back({.setFns = fns});
        return *this;
    }

    // Two types one after the other, as in a container of an element. The names of `b` get new indices only when `a`
    // has none, which is all that is needed here.
    friend T operator+(T a, const T& b)
    {
        a.m_bytes.insert(a.m_bytes.end(), b.m_bytes.begin(), b.m_bytes.end());
        a.m_names.insert(a.m_names.end(), b.m_names.begin(), b.m_names.end());
        a.m_fns.insert(a.m_fns.end(), b.m_fns.begin(), b.m_fns.end());
        return a;
    }

    ReflectionByteCode rbc() const
    {
        return ReflectionByteCode(m_bytes.data(), m_names.data(), m_fns.empty() ? nullptr : m_fns.data());
    }
    operator ReflectionByteCode() const { return rbc(); }
    ssize_t size() const { return static_cast<ssize_t>(m_bytes.size()); }

    friend void PrintTo(const T& type, std::ostream* os)
    {
        for (const uint8 byte : type.m_bytes)
            *os << int(byte) << ' ';
    }

private:
    std::vector<uint8> m_bytes;
    std::vector<ConstStringZ> m_names;
    std::vector<PtrMapOrSetFns> m_fns;
};

inline T Named(int code, ConstStringZ name)
{
    return T(code).AddName(name);
}
inline T Array(int32 count)
{
    return T(FT_ARRAY).AddNumber(count);
}
template <class K, class V>
T Map()
{
    return T(FT_MAP).AddFns(&MapFunctions<K, V>::table);
}
template <class K>
T Set()
{
    return T(FT_SET).AddFns(&SetFunctions<K>::table);
}

// A variable of a type in memory of its own, zero-filled, constructed and destroyed by the reflection layer.
class Variable
{
public:
    explicit Variable(const T& type) : m_type(type), m_size(m_type.rbc().GetTypeSize()), m_bytes(Allocate(m_size))
    {
        ConstructReflectedVariable(m_type, m_bytes.get());
    }
    Variable(Variable&&) = default;
    ~Variable()
    {
        if (m_bytes != nullptr)
            DestructReflectedVariable(m_type, m_bytes.get());
    }

    void* data() { return m_bytes.get(); }
    const T& type() const { return m_type; }
    ReflectionByteCode rbc() const { return m_type; }
    ssize_t size() const { return m_size; }
    template <class V>
    V& as()
    {
        return *reinterpret_cast<V*>(m_bytes.get());
    }

private:
    static std::unique_ptr<char[]> Allocate(ssize_t size)
    {
        return std::make_unique<char[]>(static_cast<std::size_t>(std::max<ssize_t>(size, 1)));
    }

    T m_type;
    ssize_t m_size;
    std::unique_ptr<char[]> m_bytes;
};

inline bool Eq(Variable& a, Variable& b)
{
    return CompareEqReflectedVariable(a.rbc(), a.data(), b.rbc(), b.data());
}
inline bool Lt(Variable& a, Variable& b)
{
    return CompareLtReflectedVariable(a.rbc(), a.data(), b.rbc(), b.data());
}

// --- Descriptors, registered by RegisterTypes. None has type operations unless its name says so.

// Model fields (one dropped), ordinary fields.
struct Point
{
    int32 m_x;
    int32 m_y;
    float64 m_weight; // ordinary
    int32 m_gone;     // dropped
};
inline constexpr uint8 s_int32Bc[] = {FT_INT32};
inline constexpr uint8 s_float64Bc[] = {FT_FLOAT64};
inline constexpr uint8 s_string8Bc[] = {FT_STRING8};
inline constexpr uint8 s_string16Bc[] = {FT_STRING16};
inline constexpr ReflectedModelField s_pointModel[] = {
    {"x", offsetof(Point, m_x), s_int32Bc, 1, -1, nullptr},
    {"gone", offsetof(Point, m_gone), s_int32Bc, 1, 2, nullptr},
    {"y", offsetof(Point, m_y), s_int32Bc, 1, -1, nullptr},
};
inline constexpr ReflectedField s_pointFields[] = {{"weight", offsetof(Point, m_weight), s_float64Bc}};
inline const ReflectedClass s_point = {.m_name = "handwritten::Point",
                                       .m_size = sizeof(Point),
                                       .m_fields = s_pointFields,
                                       .m_numFields = 1,
                                       .m_modelFields = s_pointModel,
                                       .m_numModelFields = 3};

// Embeds the model of Point behind a string of its own.
struct Tagged
{
    xstring m_tag; // ordinary
    Point m_point;
};
inline constexpr ReflectedField s_taggedFields[] = {{"tag", offsetof(Tagged, m_tag), s_string8Bc}};
inline constexpr ReflectedModelField s_taggedModel[] = {
    {"handwritten::Point", offsetof(Tagged, m_point), nullptr, 0, 0, nullptr}};
inline const ReflectedClass s_tagged = {.m_name = "handwritten::Tagged",
                                        .m_size = sizeof(Tagged),
                                        .m_fields = s_taggedFields,
                                        .m_numFields = 1,
                                        .m_modelFields = s_taggedModel,
                                        .m_numModelFields = 0};

// Holds vectors of its own kind.
struct Node
{
    int32 m_value;
    xvector<Node> m_children;
};
inline constexpr ConstStringZ s_nodeNames[] = {"handwritten::Node"};
inline constexpr uint8 s_nodesBc[] = {FT_VECTOR, FT_CLASS, 0, 0};
inline constexpr ReflectedModelField s_nodeModel[] = {
    {"value", offsetof(Node, m_value), s_int32Bc, 1, -1, nullptr},
    {"children", offsetof(Node, m_children), s_nodesBc, 1, -1, nullptr},
};
inline const ReflectedClass s_node = {.m_name = "handwritten::Node",
                                      .m_size = sizeof(Node),
                                      .m_modelFields = s_nodeModel,
                                      .m_numModelFields = 2,
                                      .m_stringTable = s_nodeNames};

// A map in a model field, with its function table.
struct Table
{
    xmap<xstring, int32> m_rows;
};
inline constexpr uint8 s_rowsBc[] = {FT_MAP, FT_STRING8, FT_INT32};
inline constexpr PtrMapOrSetFns s_rowsFns[] = {{.mapFns = &MapFunctions<xstring, int32>::table}};
inline constexpr ReflectedModelField s_tableModel[] = {{"rows", 0, s_rowsBc, 1, -1, s_rowsFns}};
inline const ReflectedClass s_table = {
    .m_name = "handwritten::Table", .m_size = sizeof(Table), .m_modelFields = s_tableModel, .m_numModelFields = 1};

// The same map in an ordinary field, which can have no function table.
inline constexpr ReflectedField s_tablelessFields[] = {{"rows", 0, s_rowsBc}};
inline const ReflectedClass s_tableless = {
    .m_name = "handwritten::Tableless", .m_size = 8, .m_fields = s_tablelessFields, .m_numFields = 1};

// Without fields and type operations.
inline const ReflectedClass s_opaque = {.m_name = "handwritten::Opaque", .m_size = 16};
inline const ReflectedClass s_empty = {.m_name = "handwritten::Empty", .m_size = 1};

// Known by its type operations alone: a counted object that is equal by its value modulo ten.
struct Counted
{
    Counted()
    {
        if (s_live == s_failAt)
            throw std::bad_alloc();
        ++s_live;
    }
    Counted(const Counted& other) : m_value(other.m_value) { ++s_live; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --s_live; }
    friend bool operator==(const Counted& a, const Counted& b) { return a.m_value % 10 == b.m_value % 10; }
    friend bool operator<(const Counted& a, const Counted& b) { return a.m_value % 10 < b.m_value % 10; }

    int32 m_value = 42;
    static inline int s_live = 0;
    static inline int s_failAt = -1; // the number that live when a construction fails
};
extern const ReflectedClass s_counted; // "handwritten::Counted"

// Two strings and a Counted between them.
struct Mixed
{
    xstring m_first;
    Counted m_counted;
    xstring m_last;
};
inline constexpr ConstStringZ s_mixedNames[] = {"handwritten::Counted"};
inline constexpr uint8 s_countedBc[] = {FT_CLASS, 0, 0};
inline constexpr ReflectedField s_mixedFields[] = {{"first", offsetof(Mixed, m_first), s_string8Bc},
                                                   {"counted", offsetof(Mixed, m_counted), s_countedBc},
                                                   {"last", offsetof(Mixed, m_last), s_string8Bc}};
inline const ReflectedClass s_mixed = {.m_name = "handwritten::Mixed",
                                       .m_size = sizeof(Mixed),
                                       .m_fields = s_mixedFields,
                                       .m_numFields = 3,
                                       .m_stringTable = s_mixedNames};

// A variant of an int32, an xstring and a Counted, whose values lie at 8.
struct Choice
{
    int32 m_index;
    alignas(8) char m_value[24];
};
inline constexpr ReflectedField s_choiceFields[] = {
    {"int32", 8, s_int32Bc}, {"string", 8, s_string8Bc}, {"handwritten::Counted", 8, s_countedBc}};
inline const ReflectedVariant s_choice = {.m_name = "handwritten::Choice",
                                          .m_size = sizeof(Choice),
                                          .m_fields = s_choiceFields,
                                          .m_numFields = 3,
                                          .m_stringTable = s_mixedNames};
// Its first alternative needs construction.
inline const ReflectedVariant s_countedFirst = {.m_name = "handwritten::CountedFirst",
                                                .m_size = sizeof(Choice),
                                                .m_fields = s_choiceFields + 2,
                                                .m_numFields = 1,
                                                .m_stringTable = s_mixedNames};

inline constexpr ConstStringZ s_colourNames[] = {"RED", "GREEN", "ROUGE", "BLUE"};
inline constexpr int32 s_colourValues[] = {1, 5, 1, -3};
inline const ReflectedEnum s_colour = {
    .m_name = "handwritten::Colour", .m_count = 4, .m_strings = s_colourNames, .m_values = s_colourValues};
inline const ReflectedEnum s_digit = {.m_name = "handwritten::Digit", .m_count = 4, .m_strings = s_colourNames};

// Typedefs: of a const int32, of that typedef with metadata and a qualifier before it, of itself, of a map.
inline constexpr uint8 s_constInt32Bc[] = {FT_CONST, FT_INT32};
inline constexpr ConstStringZ s_aliasNames[] = {"unused", "handwritten::ConstInt"};
inline constexpr uint8 s_aliasBc[] = {MDT_BOOL, 1, FT_VOLATILE, FT_TYPEDEF, 1, 0};
inline constexpr ConstStringZ s_selfNames[] = {"handwritten::Self"};
inline constexpr uint8 s_selfBc[] = {FT_TYPEDEF, 0, 0};
inline constexpr uint8 s_setBc[] = {FT_SET, FT_INT32};
inline const ReflectedTypedef s_constInt = {.m_name = "handwritten::ConstInt", .m_bc = s_constInt32Bc};
inline const ReflectedTypedef s_alias = {
    .m_name = "handwritten::Alias", .m_bc = s_aliasBc, .m_stringTable = s_aliasNames};
inline const ReflectedTypedef s_self = {.m_name = "handwritten::Self", .m_bc = s_selfBc, .m_stringTable = s_selfNames};
inline const ReflectedTypedef s_setAlias = {.m_name = "handwritten::SetOfInt", .m_bc = s_setBc};

// Registers all of them, once in the process.
void RegisterTypes();

} // namespace kelm::handwritten
