#pragma once

// Types of every describable kind, for the tests of describing and of writing. Registered by RegisterDescribedTypes.

#include <klObject/describe/Describe.h>

#include <array>
#include <variant>

namespace described
{

enum class Colour : kelm::int32
{
    RED,
    GREEN,
    BLUE
};

enum Weight : kelm::int32
{
    WEIGHT_LIGHT = -5,
    WEIGHT_NORMAL = 1,
    WEIGHT_HEAVY = 100
};

struct Point
{
    double x = 0;
    double y = 0;
};

struct Metres;

using Extent = kelm::xvariant<double, Point, std::monostate, kelm::xvector<Point>>;

struct Json : kelm::xvariant<std::monostate, bool, double, kelm::xstring, kelm::xvector<Json>>
{
    using xvariant::xvariant;
};

struct Scalars
{
    bool m_bool = false;
    char m_char = 'a';
    char16_t m_char16 = u'a';
    kelm::int8 m_int8 = 0;
    kelm::uint8 m_uint8 = 0;
    short m_short = 0;
    kelm::uint16 m_uint16 = 0;
    int m_int = 0;
    unsigned m_unsigned = 0;
    long m_long = 0;
    unsigned long m_unsignedLong = 0;
    long long m_longLong = 0;
    unsigned long long m_unsignedLongLong = 0;
    float m_float = 0;
    double m_double = 0;
    kelm::xstring m_string;
    kelm::xstring16 m_string16;
    Colour m_colour = Colour::RED;
    Weight m_weight = WEIGHT_NORMAL;
};

struct Containers
{
    int m_array[2][3] = {};
    std::array<Point, 2> m_points;
    kelm::xvector<kelm::xstring> m_strings;
    kelm::xvector<kelm::xvector<float>> m_nested;
    kelm::xdynarray<Point> m_dynarray;
    kelm::xmap<kelm::xstring, int> m_map;
    kelm::xmap<int, kelm::xvector<kelm::xmap<Colour, kelm::xset<int>>>> m_mapOfMaps;
    kelm::xset<kelm::xstring> m_set;
    Extent m_extent;
};

// A class that keeps its fields to itself and is not of standard layout.
class Person : public Point
{
public:
    Person() = default;
    explicit Person(const kelm::xstring& name) : m_name(name) {}

    void SetPartner(kelm::ptr<kelm::IObject> partner) { m_partner = partner; }
    kelm::pref<Person>& GetEmployer() { return m_employer; }

    kelm::xstring m_name;

private:
    friend struct kelm::Description<Person>;

    const int m_born = 1970;
    double m_height = 0;
    kelm::xvector<double> m_jumps;
    kelm::ptr<kelm::IObject> m_partner;
    kelm::pref<Person> m_employer;
    kelm::prefbase m_anything;
    int m_cache = 0;
};

struct Tree
{
    kelm::int32 m_value = 0;
    kelm::xvector<Tree> m_children;
    kelm::xmap<kelm::xstring, Tree> m_named;
};

// Has the model of its member.
struct Place
{
    int m_visits = 0;
    Point m_point;
};

struct Versioned
{
    int m_first = 0;
    int m_gone = 0;
    int m_late = 0;
};

struct NoDefault
{
    explicit NoDefault(int value) : m_value(value) {}
    int m_value;
};

struct Empty
{
};

void RegisterDescribedTypes();

} // namespace described

KELM_ENUM(described::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN), KELM_VALUE(BLUE))
KELM_ENUM(described::Weight, kelm::EnumValue{"LIGHT", described::WEIGHT_LIGHT}, KELM_VALUE(WEIGHT_NORMAL),
          KELM_VALUE(WEIGHT_HEAVY))
KELM_TYPEDEF(described::Metres, double)
KELM_VARIANT(described::Extent, "radius", "described::Point", "none", "outline")
KELM_VARIANT(described::Json, "null", "boolean", "number", "text", "list")
// Before the classes that it uses are described.
KELM_CLASS(described::Containers, KELM_MODEL(m_array), KELM_MODEL(m_points), KELM_MODEL(m_strings),
           KELM_MODEL(m_nested), KELM_MODEL(m_dynarray), KELM_MODEL(m_map), KELM_MODEL(m_mapOfMaps), KELM_MODEL(m_set),
           KELM_MODEL(m_extent))
KELM_CLASS(described::Scalars, KELM_MODEL(m_bool), KELM_MODEL(m_char), KELM_MODEL(m_char16), KELM_MODEL(m_int8),
           KELM_MODEL(m_uint8), KELM_MODEL(m_short), KELM_MODEL(m_uint16), KELM_MODEL(m_int), KELM_MODEL(m_unsigned),
           KELM_MODEL(m_long), KELM_MODEL(m_unsignedLong), KELM_MODEL(m_longLong), KELM_MODEL(m_unsignedLongLong),
           KELM_MODEL(m_float), KELM_MODEL(m_double), KELM_MODEL(m_string), KELM_MODEL(m_string16),
           KELM_MODEL(m_colour), KELM_MODEL(m_weight))
KELM_CLASS(described::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_CLASS(described::Person, kelm::Persistable(), KELM_MODEL(m_name), KELM_MODEL(x), KELM_MODEL(m_born),
           KELM_MODEL(m_height).As<described::Metres>(), KELM_MODEL(m_jumps).As<kelm::xvector<described::Metres>>(),
           KELM_MODEL(m_partner), KELM_MODEL(m_employer), KELM_MODEL(m_anything), KELM_FIELD(m_cache))
KELM_CLASS(described::Tree, KELM_MODEL(m_value), KELM_MODEL(m_children), KELM_MODEL(m_named))
KELM_CLASS(described::Place, KELM_FIELD(m_visits), KELM_MODEL_OF(m_point))
KELM_CLASS(described::Versioned, KELM_MODEL(m_first), KELM_MODEL(m_gone).AddedIn(1).DroppedIn(3),
           KELM_MODEL(m_late).AddedIn(2), kelm::NotCreatable())
KELM_CLASS(described::NoDefault, KELM_MODEL(m_value))
KELM_CLASS(described::Empty, kelm::NotCreatable())

inline void described::RegisterDescribedTypes()
{
    static const bool s_once = []
    {
        kelm::RegisterTypes<Colour, Weight, Metres, Extent, Json, Scalars, Containers, Point, Person, Tree, Place,
                            Versioned, NoDefault, Empty>(nullptr);
        return true;
    }();
    static_cast<void>(s_once);
}
