#pragma once

// Classes with every kind of field that a text can fill, for the fuzz targets.

#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>

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
};

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
    kelm::xvector<Node> children;
    kelm::ptr<kelm::IObject> next;
};

} // namespace sample

KELM_ENUM(sample::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_CLASS(sample::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_CLASS(sample::Node, KELM_MODEL(name), KELM_MODEL(wide), KELM_MODEL(flag), KELM_MODEL(letter), KELM_MODEL(small),
           KELM_MODEL(large), KELM_MODEL(colour), KELM_MODEL(point), KELM_MODEL(fixed), KELM_MODEL(points),
           KELM_MODEL(numbers), KELM_MODEL(grown), KELM_MODEL(map), KELM_MODEL(children), KELM_MODEL(next))

namespace sample
{

inline void RegisterOnce()
{
    static const bool s_isRegistered = []
    {
        Register_Project_klKelmScript();
        kelm::RegisterTypes<Colour, Point, Node>(nullptr);
        return true;
    }();
    static_cast<void>(s_isRegistered);
}

} // namespace sample
