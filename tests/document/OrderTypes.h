#pragma once

// A program's own types, for the front door's policy.

#include <kelm/kelm.h>
#include <klObject/containers/xmap.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace orders
{

struct Line
{
    std::string item;
    int quantity = 1;
    double price = 0;
};

struct Place
{
    double x = 0;
    double y = 0;
};

inline bool IsNumber(int number)
{
    return number >= 0;
}

struct Order
{
    Order() { place.y = 2; }

    std::string customer;
    int number = 0;
    std::vector<Line> lines;
    kelm::xvector<kelm::int32> codes = {1, 2};
    std::map<std::string, int> rates;
    kelm::xmap<kelm::xstring, double> prices;
    std::set<std::string> tags;
    std::optional<Line> gift;
    std::variant<int, std::string, Line> extra;
    Place place;
    Place corners[2] = {};
    std::vector<bool> flags;
    std::vector<std::vector<int>> rows;
    bool isOpen = false;
    std::map<std::string, Line> items;
};

inline bool operator<(const Place& a, const Place& b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

// With keys in brackets.
struct Map
{
    std::map<Place, Line> lines;
};

// With handles.
struct Shelf
{
    std::string name;
    kelm::ptr<kelm::IObject> next;
    kelm::xvector<kelm::ptr<kelm::IObject>> books;
};

struct Book
{
    std::string title;
    int pages = 0;
};

} // namespace orders

KELM_DESCRIBE(orders::Line, item, quantity, price)
KELM_DESCRIBE(orders::Place, x, y)
KELM_CLASS(orders::Order, KELM_MODEL(customer).Required(), KELM_MODEL(number).Check(orders::IsNumber),
           KELM_MODEL(lines), KELM_MODEL(codes), KELM_MODEL(rates), KELM_MODEL(prices), KELM_MODEL(tags),
           KELM_MODEL(gift), KELM_MODEL(extra), KELM_MODEL(place), KELM_MODEL(corners), KELM_MODEL(flags),
           KELM_MODEL(rows), KELM_MODEL(isOpen), KELM_MODEL(items))
KELM_DESCRIBE(orders::Map, lines)
KELM_DESCRIBE(orders::Shelf, name, next, books)
KELM_DESCRIBE(orders::Book, title, pages)
