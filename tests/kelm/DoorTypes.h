#pragma once

// The types that the tests of the front door read, write and walk.

#include <kelm/kelm.h>

#include <klObject/containers/xmap.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

namespace door
{

enum class Colour : kelm::int32
{
    RED,
    DEEP_BLUE = 7,
};

struct Line
{
    kelm::xstring item;
    kelm::int32 quantity = 1;
    double price = 0;
};

struct Order
{
    kelm::xstring customer;
    kelm::xvector<Line> lines;
    kelm::xvector<kelm::int32> codes = {1, 2};
    kelm::xmap<kelm::xstring, double> rates;
    Colour colour = Colour::RED;
    kelm::int8 tiny = 3;
    kelm::uint64 big = 0;
    bool isOpen = false;
    char letter = 'a';
    float ratio = 0.5F;
    kelm::int32 matrix[2] = {};
};

// With a handle to another object.
struct Shape
{
    kelm::xstring name;
    kelm::ptr<kelm::IObject> next;
};

struct Circle
{
    double radius = 1;
};

} // namespace door

KELM_ENUM(door::Colour, KELM_VALUE(RED), KELM_VALUE(DEEP_BLUE))
KELM_CLASS(door::Line, KELM_MODEL(item), KELM_MODEL(quantity), KELM_MODEL(price))
KELM_CLASS(door::Order, KELM_MODEL(customer), KELM_MODEL(lines), KELM_MODEL(codes), KELM_MODEL(rates),
           KELM_MODEL(colour), KELM_MODEL(tiny), KELM_MODEL(big), KELM_MODEL(isOpen), KELM_MODEL(letter),
           KELM_MODEL(ratio), KELM_MODEL(matrix))
KELM_CLASS(door::Shape, KELM_MODEL(name), KELM_MODEL(next))
KELM_CLASS(door::Circle, KELM_MODEL(radius))
