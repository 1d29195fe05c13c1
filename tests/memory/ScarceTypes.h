#pragma once

// Types whose values take memory in every part.

#include <kelm/kelm.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace scarce
{

struct Line
{
    std::string item = "an item whose name takes memory of its own";
    int quantity = 1;

    int Double() const { return 2 * quantity; }
};

struct Order
{
    std::string customer = "a customer whose name takes memory of its own";
    std::vector<Line> lines = {Line{}, Line{}};
    std::map<std::string, double> rates = {{"a key that takes memory of its own, too", 1.5}};
    std::optional<Line> gift;
    std::vector<bool> flags = {true, false};
    kelm::xstring note = "a note that takes memory of its own";
    kelm::xmap<kelm::xstring, kelm::xstring> notes;
};

inline bool IsKnown(const std::string& name)
{
    return !name.empty();
}

struct Checked
{
    std::string name = "a name that takes memory of its own";
};

// Holds others of the collector's.
struct Link
{
    kelm::xstring name = "a name that takes memory of its own";
    kelm::ptr<kelm::IObject> next;
};

} // namespace scarce

KELM_DESCRIBE(scarce::Line, item, quantity)
KELM_DESCRIBE(scarce::Order, customer, lines, rates, gift, flags, note, notes)
KELM_CLASS(scarce::Checked, KELM_MODEL(name).Check(scarce::IsKnown))
KELM_DESCRIBE(scarce::Link, name, next)
