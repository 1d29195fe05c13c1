#pragma once

// Classes with members of every kind, some of which creation fills.

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klPersistStore/Target.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace yard
{

enum class Berth : kelm::int32
{
    NONE = 0,
    NORTH = 1,
    SOUTH = 5,
};

struct Point
{
    double x = 0;
    double y = 0;

    friend bool operator==(const Point&, const Point&) = default;
    friend auto operator<=>(const Point&, const Point&) = default;
};

using Extent = kelm::xvariant<double, Point, kelm::xstring>;

struct Crate
{
    kelm::xstring label;
    kelm::int32 weight = 1;
    Point place;
    kelm::xvector<kelm::int32> seals;
    kelm::ptr<kelm::IObject> on;
};

struct Hold
{
    kelm::xvector<kelm::int32> grow;
    kelm::int32 depth = 0;
};

struct Ship
{
    Ship()
    {
        hold.grow.push_back(6);
        filled.push_back(7);
        filled.push_back(8);
        stock["rope"] = 3;
        origin.y = 2;
    }

    kelm::xstring title = "unnamed";
    Point origin;
    Berth berth = Berth::NONE;
    bool isOpen = false;
    kelm::int32 scores[3] = {};
    Point corners[2] = {};
    kelm::xvector<kelm::int32> tags;
    kelm::xvector<kelm::int32> filled;
    kelm::xvector<Crate> crates;
    kelm::xvector<kelm::xvector<kelm::int32>> rows;
    kelm::xdynarray<Point> samples;
    kelm::xmap<kelm::xstring, kelm::int32> counts;
    kelm::xmap<kelm::xstring, kelm::int32> stock;
    kelm::xmap<Point, kelm::xstring> marks;
    Extent extent;
    kelm::ptr<kelm::IObject> first;
    kelm::pref<Crate> note;
    std::vector<int> list;
    std::map<std::string, int> map = {{"made", 1}};
    std::set<std::string> set;
    std::optional<Point> maybe;
    std::array<int, 2> pair = {};
    kelm::xmap<kelm::xstring, kelm::xvector<kelm::int32>> groups;
    kelm::xmap<kelm::xstring, Crate> teams;
    kelm::xmap<Point, Point> lots;
    std::optional<std::vector<int>> maybeList;
    std::optional<kelm::xvector<kelm::int32>> maybeTags;
    Hold hold;
    double area = 0;
};

inline void Register()
{
    static const bool s_isDone = []
    {
        static constexpr kelm::dsTargetRelease0 s_releases[] = {{"first", {2021, 1, 1}}};
        static constexpr kelm::dsTarget s_target = {"Tests/Yard", 0, nullptr, 1, s_releases};
        kelm::RegisterTypes<Berth, Point, Extent, Crate, Hold, Ship>(kelm::RegisterTarget(s_target));
        return true;
    }();
    static_cast<void>(s_isDone);
}

} // namespace yard

KELM_ENUM(yard::Berth, KELM_VALUE(NONE), KELM_VALUE(NORTH), KELM_VALUE(SOUTH))
KELM_CLASS(yard::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(yard::Extent, "radius", "yard::Point", "label")
KELM_CLASS(yard::Crate, kelm::Persistable(), KELM_MODEL(label), KELM_MODEL(weight), KELM_MODEL(place),
           KELM_MODEL(seals), KELM_MODEL(on))
KELM_CLASS(yard::Hold, KELM_MODEL(grow), KELM_MODEL(depth))
KELM_CLASS(yard::Ship, KELM_MODEL(title), KELM_MODEL(origin), KELM_MODEL(berth), KELM_MODEL(isOpen), KELM_MODEL(scores),
           KELM_MODEL(corners), KELM_MODEL(tags), KELM_MODEL(filled), KELM_MODEL(crates), KELM_MODEL(rows),
           KELM_MODEL(samples), KELM_MODEL(counts), KELM_MODEL(stock), KELM_MODEL(marks), KELM_MODEL(extent),
           KELM_MODEL(first), KELM_MODEL(note), KELM_MODEL(list), KELM_MODEL(map), KELM_MODEL(set), KELM_MODEL(maybe),
           KELM_MODEL(pair), KELM_MODEL(groups), KELM_MODEL(teams), KELM_MODEL(lots), KELM_MODEL(maybeList),
           KELM_MODEL(maybeTags), KELM_MODEL(hold), KELM_FIELD(area))
