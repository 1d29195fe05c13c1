#pragma once

// Classes with every kind of field that a text can fill, for the fuzz targets.

#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace sample
{

enum class Colour : kelm::int32
{
    RED = 1,
    GREEN = 5,
};

struct Point
{
    double x = 0;
    float y = 0;

    friend auto operator<=>(const Point&, const Point&) = default;
};

// Alternatives own nothing, since those that are replaced leak, as documented.
using Choice = kelm::xvariant<kelm::int64, Point, Colour, kelm::ptr<kelm::IObject>>;

struct Node
{
    kelm::xstring name;
    kelm::xstring16 wide;
    bool flag = false;
    char letter = 'a';
    kelm::int8 small = 0;
    kelm::uint64 large = 0;
    Colour colour = Colour::RED;
    Point point;
    kelm::int32 fixed[3] = {};
    kelm::xvector<Point> points;
    kelm::xvector<kelm::int64> numbers;
    kelm::xdynarray<kelm::int32> grown;
    kelm::xmap<kelm::int32, kelm::xvector<kelm::int32>> map; // a text as key would leak, as documented
    kelm::xmap<kelm::int32, kelm::xmap<Point, kelm::xstring>> maps;
    kelm::xvector<Node> children;
    Choice choice;
    kelm::xvector<Choice> choices;
    kelm::ptr<kelm::IObject> next;
};

// Types of the standard library's, which our containers cannot hold.
struct Standard
{
    std::vector<Point> list;
    std::map<std::string, std::vector<int>> lists;
    std::optional<Point> perhaps;
    std::variant<int, std::string, Point> either;
    std::vector<Node> nodes;
    std::unique_ptr<Point> part;
};

} // namespace sample

KELM_ENUM(sample::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_CLASS(sample::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(sample::Choice, "number", "point", "colour", "object")
KELM_CLASS(sample::Node, KELM_MODEL(name), KELM_MODEL(wide), KELM_MODEL(flag), KELM_MODEL(letter), KELM_MODEL(small),
           KELM_MODEL(large), KELM_MODEL(colour), KELM_MODEL(point), KELM_MODEL(fixed), KELM_MODEL(points),
           KELM_MODEL(numbers), KELM_MODEL(grown), KELM_MODEL(map), KELM_MODEL(maps), KELM_MODEL(children),
           KELM_MODEL(choice), KELM_MODEL(choices), KELM_MODEL(next))
KELM_CLASS(sample::Standard, KELM_MODEL(list), KELM_MODEL(lists), KELM_MODEL(perhaps), KELM_MODEL(either),
           KELM_MODEL(nodes), KELM_MODEL(part))

namespace sample
{

inline void RegisterOnce()
{
    static const bool s_isRegistered = []
    {
        Register_Project_klKelmScript();
        kelm::RegisterTypes<Colour, Point, Choice, Node, Standard>(nullptr);
        return true;
    }();
    static_cast<void>(s_isRegistered);
}

} // namespace sample
