#pragma once

// Classes with a field of every kind, for the commands that read data sources.

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

namespace tool
{

enum class Colour : kelm::int32
{
    RED = 1,
    GREEN = 2,
    DEEP_BLUE = 7,
};

struct Point
{
    double x = 0;
    double y = 0;
};

using Extent = kelm::xvariant<double, Point, kelm::xstring>;

struct Note
{
    kelm::xstring text;
    kelm::ptr<kelm::IObject> next;
};

struct Scene
{
    kelm::xstring title = "untitled";
    Point origin;
    Colour colour = Colour::RED;
    bool isOpen = false;
    kelm::int8 tiny = 0;
    kelm::uint64 big = 0;
    float ratio = 0;
    char letter = 'a';
    kelm::xstring16 wide;
    kelm::int32 scores[3] = {};
    kelm::xvector<kelm::xstring> tags;
    kelm::xdynarray<Point> samples;
    kelm::xmap<kelm::xstring, kelm::int32> counts;
    kelm::xmap<kelm::int32, Point> marks;
    Extent extent;
    kelm::ptr<kelm::IObject> first;
    kelm::pref<Note> note;
    kelm::xvector<kelm::ptr<kelm::IObject>> notes;
    const kelm::int32 version = 3;
    kelm::int32 late = 0;
    kelm::int32 old = 0;
    double area = 0;
};

// Known, but not to data sources.
struct Sealed
{
    kelm::int32 value = 0;
};

// Divides by zero when it is created, where the processor refuses that.
struct Faulty
{
    Faulty()
    {
#if defined(__x86_64__)
        asm volatile("cqo\n\tidivq %1" : "+a"(value) : "r"(kelm::int64{0}) : "rdx");
#endif
    }

    kelm::int64 value = 1;
};

// Has the model of its member.
struct Frame
{
    double width = 0;
    Point corner;
};

} // namespace tool

KELM_ENUM(tool::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN), KELM_VALUE(DEEP_BLUE))
KELM_CLASS(tool::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(tool::Extent, "radius", "tool::Point", "label")
KELM_CLASS(tool::Note, kelm::Persistable(), KELM_MODEL(text), KELM_MODEL(next))
KELM_CLASS(tool::Scene, KELM_MODEL(title), KELM_MODEL(origin), KELM_MODEL(colour), KELM_MODEL(isOpen), KELM_MODEL(tiny),
           KELM_MODEL(big), KELM_MODEL(ratio), KELM_MODEL(letter), KELM_MODEL(wide), KELM_MODEL(scores),
           KELM_MODEL(tags), KELM_MODEL(samples), KELM_MODEL(counts), KELM_MODEL(marks), KELM_MODEL(extent),
           KELM_MODEL(first), KELM_MODEL(note), KELM_MODEL(notes), KELM_MODEL(version), KELM_MODEL(late).AddedIn(1),
           KELM_MODEL(old).DroppedIn(1), KELM_FIELD(area))
KELM_CLASS(tool::Sealed, kelm::NotCreatable(), KELM_MODEL(value))
KELM_CLASS(tool::Faulty, KELM_MODEL(value))
KELM_CLASS(tool::Frame, KELM_MODEL_OF(corner), KELM_FIELD(width))
