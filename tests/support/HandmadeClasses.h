#pragma once

// Classes whose descriptors are written by hand, byte code and all: every type code, and every kind of field, that a
// path or a data source can meet, and the broken ones that they must refuse. Registered as "hand::...".
//
// String tables differ between a class, its embedded model, a typedef and a variant, and the first name of the classes'
// own table is registered nowhere, so that a name looked up in the wrong table is not found.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/GcObject.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <gtest/gtest.h>

#include <compare>
#include <variant>

namespace kelm
{
namespace hand
{

// "hand::geom::Point": model fields x, y.
struct Point
{
    int32 m_x = 0;
    int32 m_y = 0;

    friend auto operator<=>(const Point&, const Point&) = default;
};

// "hand::other::Point": model field z.
struct OtherPoint
{
    int32 m_z = 0;
};

// "hand::Counted": model field id, and operations of its type. Counts its instances.
struct Counted
{
    Counted() { ++s_constructed; }
    Counted(const Counted& other) : m_id(other.m_id) { ++s_constructed; }
    Counted& operator=(const Counted& other) = default;
    ~Counted() { ++s_destroyed; }

    friend bool operator<(const Counted& a, const Counted& b) { return a.m_id < b.m_id; }
    friend bool operator==(const Counted& a, const Counted& b) { return a.m_id == b.m_id; }

    static int Live() { return s_constructed - s_destroyed; }

    int32 m_id = 0;
    static inline int s_constructed = 0;
    static inline int s_destroyed = 0;
};

} // namespace hand

template <>
inline constexpr bool IsRelocatable<hand::Counted> = true;

namespace hand
{

// "hand::Color": Red 1, Green 5 (disabled), None -3, Crimson 1. "hand::Level": Low, Mid, High, by position.
enum Color : int32
{
};
enum Level : int32
{
};

// "hand::Extent". Its alternatives' names: kelm::int64, hand::geom::Point, kelm::xstring, hand::other::Point,
// hand::Counted, hand::list<int>, hand::Table, hand::Nothing.
using Extent = xvariant<int64, Point, xstring, OtherPoint, Counted, xvector<int32>, xmap<int32, int32>, std::monostate>;

// "hand::Scalars": a model field of each type that holds one value.
struct Scalars
{
    bool m_bool = false;
    int8 m_int8 = 0;
    int16 m_int16 = 0;
    int32 m_int32 = 0;
    int64 m_int64 = 0;
    uint8 m_uint8 = 0;
    uint16 m_uint16 = 0;
    uint32 m_uint32 = 0;
    uint64 m_uint64 = 0;
    float32 m_float32 = 0;
    float64 m_float64 = 0;
    xchar m_char8 = 0;
    int16 m_char16 = 0;
    xstring m_string8 = "before";
    xstring16 m_string16;
    Color m_color = Color(0);
    Level m_level = Level(0);
    Extent m_extent;
};

// "hand::Containers": a model field of each type that holds several values.
struct Containers
{
    int32 m_fixed[4] = {10, 11, 12, 13};
    int32 m_matrix[2][3] = {};
    int32 m_none = 77; // an array of no elements lies at its address
    Point m_corners[2];
    xvector<int32> m_vec = {1, 2};
    xvector<xstring> m_strings;
    xvector<Point> m_points;
    xvector<xvector<int32>> m_vecs;
    xvector<int32> m_dyn = {1};
    xvector<Point> m_dynPoints; // dyn and dynPoints are dynamic arrays
    xvector<Counted> m_counted;
    xvector<Extent> m_extents;
    xmap<int32, int32> m_map;
    xmap<int32, xmap<xstring, int32>> m_nested;
    xmap<xstring, xvector<int32>> m_byName;
    xmap<Point, int32> m_byPoint;
    xmap<xvector<int32>, int32> m_byVector;
    xmap<Counted, int32> m_byCounted;
    xvector<xmap<int32, int32>> m_maps;
};

// "hand::Node": a persistable class with all kinds of handles. Knows when it was created.
struct Node
{
    int32 m_value = 0;
    xstring m_name;
    ptr<IObject> m_next;
    prefbase m_ref;
    prefbase m_cref;
    xvector<ptr<IObject>> m_kids;
    xmap<xstring, ptr<IObject>> m_named;
    Point m_points[2];

    int m_serial = ++s_lastSerial;
    static inline int s_lastSerial = 0;
};

// "hand::Plain": model field value; not persistable.
struct Plain
{
    int32 m_value = 5;
};

// "hand::Tree": a class that holds values of its own kind, in model fields value, kids.
struct Tree
{
    int32 m_value = 0;
    xvector<Tree> m_kids;
};

} // namespace hand

template <>
inline constexpr bool IsRelocatable<hand::Tree> = true;

namespace hand
{

// "hand::Model": model fields a, b, label, at; it cannot be created. "hand::Wrapper" embeds it behind its ordinary
// fields id, tag. "hand::Outer" has a model field wrapper and an ordinary field inner, both of class Wrapper.
struct Model
{
    int32 m_a = 0;
    int32 m_b[2] = {};
    xstring m_label;
    Point m_at;
};
struct Wrapper
{
    int32 m_id = 9;
    xstring m_tag;
    Model m_model;
};
struct Outer
{
    int64 m_before = 0;
    Wrapper m_wrapper;
    Wrapper m_inner;
};

// "hand::Orphan": embeds a model that is registered nowhere.
struct Orphan
{
    int32 m_value = 0;
};

// "hand::Evolved": model fields, in this order, old (dropped), kept, again (dropped), again, twice, twice (dropped),
// shadow (dropped); ordinary fields shadow, last.
struct Evolved
{
    int32 m_old = -1;
    int32 m_kept = -1;
    int32 m_againOld = -1;
    int32 m_again = -1;
    int32 m_twice = -1;
    int32 m_twiceOld = -1;
    int32 m_shadowOld = -1;
    int32 m_shadow = -1;
    int32 m_last = -1;
};

// "hand::Ordinary": ordinary fields only: number, text, point, list, map (which therefore has no function table).
struct Ordinary
{
    int32 m_number = 1;
    xstring m_text;
    Point m_point;
    xvector<int32> m_list;
    xmap<int32, int32> m_map;
};

// "hand::Qualified": types behind qualifiers, typedefs and metadata. Typedefs: hand::Number (int32), hand::Fixed
// (const int32), hand::Items (vector of int32), hand::Spot (metadata, volatile Point), hand::Chain (const hand::Spot).
struct Qualified
{
    int32 m_const = 0;
    int32 m_volatile = 0;
    int32 m_assignable = 0;
    int32 m_movable = 0;
    int32 m_number = 0;
    int32 m_fixed = 0;
    int32 m_flagged = 0; // behind one metadata item of every kind
    Point m_constPoint;
    Point m_spot;
    Point m_chain;
    xvector<int32> m_items;
    xvector<int32> m_constItems; // a vector of const int32
    xmap<int32, int32> m_map;    // a volatile map
};

// "hand::Named": model fields with names of many lengths, some of which begin others, and with some that are no names.
struct Named
{
    static constexpr const char* Names[] = {"a",
                                            "ab",
                                            "abcdefg",
                                            "abcdefgh",
                                            "abcdefghi",
                                            "abcdefghj",
                                            "abcdefghijklmnop",
                                            "abcdefghijklmnopq",
                                            "not a name",
                                            "1st",
                                            "a.b",
                                            "\xc3\xa9",
                                            "abcdefghijklmnopqrstuvwxyz"};
    int32 m_values[13] = {};
};

// "hand::Bare": no fields and no model. "hand::Abstract": cannot be created. "hand::NullMaker": its creation function
// makes nothing.
struct Bare
{
};

// "hand::Impossible": one model field for each type code that cannot be read, named after it.
struct Impossible
{
    alignas(16) char m_bytes[64] = {};
};

const ReflectedClass& _GetReflected(const Point*);
const ReflectedClass& _GetReflected(const Counted*);
const ReflectedClass& _GetReflected(const Scalars*);
const ReflectedClass& _GetReflected(const Containers*);
const ReflectedClass& _GetReflected(const Node*);
const ReflectedClass& _GetReflected(const Plain*);
const ReflectedClass& _GetReflected(const Tree*);
const ReflectedClass& _GetReflected(const Model*);
const ReflectedClass& _GetReflected(const Wrapper*);
const ReflectedClass& _GetReflected(const Outer*);
const ReflectedClass& _GetReflected(const Orphan*);
const ReflectedClass& _GetReflected(const Evolved*);
const ReflectedClass& _GetReflected(const Ordinary*);
const ReflectedClass& _GetReflected(const Qualified*);
const ReflectedClass& _GetReflected(const Named*);
const ReflectedClass& _GetReflected(const Bare*);
const ReflectedClass& _GetReflected(const Impossible*);

template <class T>
const ReflectedClass& ClassOf()
{
    return _GetReflected(static_cast<const T*>(nullptr));
}

const ReflectedVariant& GetExtentVariant();

// The first call registers everything.
void RegisterHandmadeClasses();

// A new object of T that the collector owns.
template <class T>
ptr<IObject> New()
{
    const ptr<IObject> object = CreateGcObject<T>();
    RegisterGcObject(object);
    return object;
}

template <class T>
T& As(ptr<IObject> object)
{
    return *static_cast<T*>(object.self());
}

} // namespace hand

// A test with the classes registered, that leaves no object behind.
class HandmadeTest : public ::testing::Test
{
protected:
    HandmadeTest() { hand::RegisterHandmadeClasses(); }
    ~HandmadeTest() override { EXPECT_EQ(CollectGarbage().m_live, m_liveBefore); }

private:
    const int64 m_liveBefore = CollectGarbage().m_live;
};

} // namespace kelm
