#pragma once

// Garden plans: shapes of some material, planted or not, on layers. The other half of the example module.
//
// What there is to see here, beyond People.h: a typedef, fixed and dynamic arrays, a map of maps, objects of several
// classes in one vector, a class that has the model of its member (Pond), an ordinary field, and what became of a class
// over two releases (Plan).

#include "People.h"

#include <klObject/containers/xdynarray.h>

#include <array>

namespace garden
{

enum class Season : kelm::int32
{
    SPRING,
    SUMMER,
    AUTUMN,
    WINTER,
};

// How high a thing stands, by the height in centimetres that such things reach.
enum class Level : kelm::int32
{
    GROUND = 0,
    BED = 50,
    SHRUB = 300,
    CANOPY = 3000,
};

struct Metres; // the name of a typedef, and no more

struct Point
{
    double x = 0;
    double y = 0;
};

struct Colour
{
    kelm::uint8 red = 0;
    kelm::uint8 green = 0;
    kelm::uint8 blue = 0;
};

struct Material
{
    Colour colour;
    char symbol = '.'; // where the plan is printed as text
    bool isPermeable = false;
    float price = 0; // of a square metre
};

struct Plant
{
    kelm::xstring species;
    kelm::int8 hardiness = 0; // the lowest temperature that it survives, in degrees Celsius
    kelm::uint16 spacing = 0; // in centimetres
    std::array<Season, 2> flowers = {Season::SPRING, Season::SUMMER}; // from, to
};

struct Circle
{
    double radius = 1;
};

struct Rectangle
{
    double width = 1;
    double height = 1;
};

// Around a shape's position: a circle, a rectangle, or the corners of a polygon.
using Outline = kelm::xvariant<Circle, Rectangle, kelm::xvector<Point>>;

struct Shape
{
    kelm::xstring name;
    Level level = Level::GROUND;
    Point position;
    Outline outline;
    float rotation = 0;                            // in degrees
    kelm::xstring material;                        // one of the plan's
    kelm::xmap<kelm::xstring, kelm::int32> plants; // how many of each of the plan's plants
};

// A shape with more to it. The shape's fields are reached as the pond's own: .name, not .shape.name.
struct Pond
{
    Shape shape;
    double depth = 1;
    bool hasFish = false;
};

struct Layer
{
    kelm::xstring name;
    kelm::xvector<Level> levels;
    double opacity = 1;
    bool isVisible = true;
};

// What a garden's data source describes.
struct Plan
{
    kelm::xstring title;
    const kelm::int32 format = 2;
    kelm::int64 revision = 0;
    kelm::uint64 parcel = 0;  // its number in the land register
    double dotsPerMetre = 20; // dropped: plans are no longer drawn to a fixed scale
    kelm::pref<people::Person> owner;
    kelm::ptr<kelm::IObject> gardener;
    float margins[4] = {}; // around the plan on paper, in centimetres: left, top, right, bottom
    kelm::xvector<Layer> layers;
    kelm::xmap<kelm::xstring, Material> materials;
    kelm::xmap<kelm::xstring, Plant> plants;
    kelm::xvector<kelm::ptr<kelm::IObject>> shapes; // Shape and Pond
    kelm::xdynarray<float> rainfall;                // in millimetres, a number for each week; grows with the year
    kelm::xmap<kelm::int32, kelm::xmap<Season, kelm::xvector<kelm::xstring>>> diary; // by year and season
    double zoom = 1; // of the view on the screen, which is no part of the plan
};

} // namespace garden

KELM_ENUM(garden::Season, KELM_VALUE(SPRING), KELM_VALUE(SUMMER), KELM_VALUE(AUTUMN), KELM_VALUE(WINTER))
KELM_ENUM(garden::Level, KELM_VALUE(GROUND), KELM_VALUE(BED), KELM_VALUE(SHRUB), KELM_VALUE(CANOPY))
KELM_TYPEDEF(garden::Metres, double)
KELM_CLASS(garden::Point, KELM_MODEL(x).As<garden::Metres>(), KELM_MODEL(y).As<garden::Metres>())
KELM_CLASS(garden::Colour, KELM_MODEL(red), KELM_MODEL(green), KELM_MODEL(blue))
KELM_CLASS(garden::Material, KELM_MODEL(colour), KELM_MODEL(symbol), KELM_MODEL(isPermeable), KELM_MODEL(price))
KELM_CLASS(garden::Plant, KELM_MODEL(species), KELM_MODEL(hardiness), KELM_MODEL(spacing), KELM_MODEL(flowers))
KELM_CLASS(garden::Circle, KELM_MODEL(radius).As<garden::Metres>())
KELM_CLASS(garden::Rectangle, KELM_MODEL(width).As<garden::Metres>(), KELM_MODEL(height).As<garden::Metres>())
KELM_VARIANT(garden::Outline, "garden::Circle", "garden::Rectangle", "polygon")
KELM_CLASS(garden::Shape, KELM_MODEL(name), KELM_MODEL(level), KELM_MODEL(position), KELM_MODEL(outline),
           KELM_MODEL(rotation), KELM_MODEL(material), KELM_MODEL(plants))
KELM_CLASS(garden::Pond, KELM_MODEL_OF(shape), KELM_FIELD(depth).As<garden::Metres>(), KELM_FIELD(hasFish))
KELM_CLASS(garden::Layer, KELM_MODEL(name), KELM_MODEL(levels), KELM_MODEL(opacity), KELM_MODEL(isVisible))
KELM_CLASS(garden::Plan, KELM_MODEL(title), KELM_MODEL(format), KELM_MODEL(revision), KELM_MODEL(parcel),
           KELM_MODEL(dotsPerMetre).DroppedIn(1), KELM_MODEL(owner), KELM_MODEL(gardener), KELM_MODEL(margins),
           KELM_MODEL(layers), KELM_MODEL(materials), KELM_MODEL(plants), KELM_MODEL(shapes),
           KELM_MODEL(rainfall).AddedIn(1), KELM_MODEL(diary).AddedIn(1), KELM_FIELD(zoom))
