#pragma once

// Types of every kind that a description can have.

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace rich
{

enum class Colour : kelm::int32
{
    RED,
    GREEN = 5,
    BLUE = -3,
};

enum class Carrier : unsigned char
{
    mail,
    courier = 200,
};

struct Point
{
    double x = 0;
    double y = 0;

    bool operator<(const Point& other) const { return x != other.x ? x < other.x : y < other.y; }
};

using Extent = kelm::xvariant<std::monostate, double, Point, kelm::xvector<kelm::int32>>;

struct Metres; // a typedef

struct Shape
{
    kelm::xstring name = "unnamed";
    Point centre;
};

struct Circle : Shape
{
    double radius = 1.5;
};

struct Person
{
    kelm::xstring name;
    kelm::int32 age = 30;
};

struct Scalars
{
    bool truth = true;
    kelm::int8 tiny = -8;
    kelm::int16 small = -16;
    kelm::int32 medium = -32;
    kelm::int64 large = -64;
    kelm::uint8 utiny = 8;
    kelm::uint16 usmall = 16;
    kelm::uint32 umedium = 32;
    kelm::uint64 ularge = 18446744073709551615U;
    float single = 0.1F;
    double precise = 0.1;
    char letter = 'a';
    char16_t wide = u'b';
    kelm::xstring text = "it's \"quoted\"";
    kelm::xstring16 text16;
    Colour colour = Colour::GREEN;
};

struct Scene
{
    Scalars scalars;
    Extent extent;
    kelm::int32 corners[3] = {1, 2, 3};
    kelm::xvector<kelm::int32> sizes;
    kelm::xvector<Shape> shapes;
    kelm::xdynarray<double> samples;
    kelm::xmap<kelm::xstring, kelm::int32> marks;
    kelm::xmap<kelm::int32, kelm::xvector<kelm::xstring>> rows;
    kelm::xmap<Point, Colour> heights;
    kelm::ptr<kelm::IObject> next;
    double length = 2.5;
    const kelm::int32 format = 3;
    double area = 0;
};

// References and sets, which texts can give only in part.
struct Folder
{
    kelm::pref<Person> owner;
    kelm::xset<kelm::int32> numbers;
    kelm::int32 size = 0;
};

// The standard library's.
struct Line
{
    std::string item;
    int quantity = 1;
    std::vector<Line> parts;
};

struct Order
{
    std::vector<Line> lines;
    std::vector<bool> bits;
    std::optional<double> discount;
    std::unique_ptr<Line> gift;
    std::shared_ptr<Line> shared;
    std::map<std::string, Carrier> carriers;
    std::map<int, Point> points;
    std::map<Carrier, int> counts;
    std::set<std::string> tags;
    std::pair<int, std::string> place{1, "one"};
    std::variant<std::monostate, bool, double, std::string, Point> choice;
    std::chrono::milliseconds patience{100};
    std::filesystem::path file = "a/b";
    Carrier carrier = Carrier::courier;
    Colour colour = Colour::BLUE;
};

inline bool IsPort(kelm::int32 port)
{
    return port > 0;
}

class Server
{
public:
    kelm::xstring m_host = "localhost";
    kelm::int32 m_port = 80;
};

// No data source begins with it.
struct Sealed
{
    explicit Sealed(int) {}
    kelm::int32 value = 0;
};

} // namespace rich

KELM_ENUM(rich::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN).Doc("as grass"), KELM_VALUE(BLUE))
KELM_DESCRIBE_ENUM(rich::Carrier, mail, courier)
KELM_CLASS(rich::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(rich::Extent, "none", "radius", "rich::Point", "steps")
KELM_TYPEDEF(rich::Metres, double)
KELM_CLASS(rich::Shape, kelm::Doc("What is drawn."), KELM_MODEL(name).Doc("Shown beside it."), KELM_MODEL(centre))
KELM_CLASS(rich::Circle, KELM_BASE(rich::Shape), KELM_MODEL(name), KELM_MODEL(centre), KELM_MODEL(radius))
KELM_CLASS(rich::Person, kelm::Persistable(), KELM_MODEL(name), KELM_MODEL(age))
KELM_CLASS(rich::Scalars, KELM_MODEL(truth), KELM_MODEL(tiny), KELM_MODEL(small), KELM_MODEL(medium), KELM_MODEL(large),
           KELM_MODEL(utiny), KELM_MODEL(usmall), KELM_MODEL(umedium), KELM_MODEL(ularge), KELM_MODEL(single),
           KELM_MODEL(precise), KELM_MODEL(letter), KELM_MODEL(wide), KELM_MODEL(text), KELM_MODEL(text16),
           KELM_MODEL(colour))
KELM_CLASS(rich::Scene, KELM_MODEL(scalars), KELM_MODEL(extent), KELM_MODEL(corners), KELM_MODEL(sizes),
           KELM_MODEL(shapes), KELM_MODEL(samples), KELM_MODEL(marks), KELM_MODEL(rows), KELM_MODEL(heights),
           KELM_MODEL(next), KELM_MODEL(length).As<rich::Metres>(), KELM_MODEL(format),
           KELM_FIELD(area).Doc("In square metres."))
KELM_CLASS(rich::Folder, KELM_MODEL(owner), KELM_MODEL(numbers), KELM_MODEL(size))
KELM_DESCRIBE(rich::Line, item, quantity, parts)
KELM_DESCRIBE(rich::Order, lines, bits, discount, gift, shared, carriers, points, counts, tags, place, choice, patience,
              file, carrier, colour)
KELM_CLASS(rich::Server, KELM_MODEL(m_host).Named("host").Doc("By name\nor number."),
           KELM_MODEL(m_port).Named("port").Check(rich::IsPort).Required())
KELM_CLASS(rich::Sealed, KELM_MODEL(value))

namespace rich
{

// Once for the process.
inline void RegisterAll()
{
    static const bool s_isDone = []
    {
        kelm::RegisterTypes<Metres, Extent>(nullptr);
        kelm::EnsureRegistered<Scene>();
        kelm::EnsureRegistered<Circle>();
        kelm::EnsureRegistered<Folder>();
        kelm::EnsureRegistered<Order>();
        kelm::EnsureRegistered<Server>();
        kelm::EnsureRegistered<Sealed>();
        return true;
    }();
    static_cast<void>(s_isDone);
}

} // namespace rich
