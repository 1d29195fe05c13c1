// The front door: expressions with a program's names, from a text that is new each time and kept, with values that
// change; fields by their paths; and structs of the standard's types. Beside each who does the same. Like bench_calls,
// it does the work of one row so many times, for counting instructions.
//
//     bench_door                                 lists the rows: the units of one call, what a unit is, and the name
//     bench_door contenders                      lists who does them, or some of them
//     bench_door ROW CONTENDER CALLS

#include "door/DoorPeer.h"
#include "support/CallsMain.h"

#include <kelm/kelm.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <cmath>
#include <cstdio>
#include <dlfcn.h>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace door
{

struct Line
{
    double price = 2;
    double quantity = 3;
};

struct Order
{
    double price = 2;
    double quantity = 3;
    std::vector<Line> lines{4};
};

// The same data in the standard's types and in our own.
struct Record
{
    std::string name;
    int number = 0;
    double price = 0;
    bool isOpen = false;
    std::vector<int> codes;
};
struct Records
{
    std::vector<Record> records;
};

struct OwnRecord
{
    kelm::xstring name;
    kelm::int32 number = 0;
    double price = 0;
    bool isOpen = false;
    kelm::xvector<kelm::int32> codes;
};
struct OwnRecords
{
    kelm::xvector<OwnRecord> records;
};

} // namespace door

KELM_DESCRIBE(door::Line, price, quantity)
KELM_DESCRIBE(door::Order, price, quantity, lines)
KELM_DESCRIBE(door::Record, name, number, price, isOpen, codes)
KELM_DESCRIBE(door::Records, records)
KELM_DESCRIBE(door::OwnRecord, name, number, price, isOpen, codes)
KELM_DESCRIBE(door::OwnRecords, records)

namespace
{

using namespace kelm::bench;

// --- Expressions

constexpr DoorRow s_rows[] = {
    {"three names, five operators, one function", "price * quantity * (1.0 + vat) - half(price) / 2.0",
     "price * quantity * (1.0 + vat) - half(price) / 2.0", "price * quantity * (1.0 + vat) - half(price) / 2.0",
     "price * quantity * (1.0 + vat) - half(price) / 2.0", "price * quantity * (1.0 + vat) - half(price) / 2.0"},
    {"polynomial", "price * quantity * quantity + vat * quantity + 3.0",
     "price * quantity * quantity + vat * quantity + 3.0", "price * quantity * quantity + vat * quantity + 3.0",
     "price * quantity * quantity + vat * quantity + 3.0", "price * quantity * quantity + vat * quantity + 3.0"},
    {"condition", "quantity < price ? price - quantity : quantity - price",
     "quantity < price ? price - quantity : quantity - price",
     "quantity < price and price - quantity or quantity - price",
     "quantity < price ? price - quantity : quantity - price", ""},
    {"logic", "quantity > 0.0 && quantity < 1000.0 || price == 3.0 ? 1.0 : 2.0",
     "quantity > 0.0 && quantity < 1000.0 || price == 3.0 ? 1.0 : 2.0",
     "(quantity > 0.0 and quantity < 1000.0 or price == 3.0) and 1.0 or 2.0",
     "(((quantity > 0.0) and (quantity < 1000.0)) or (price == 3.0)) ? 1.0 : 2.0", ""},
    {"a name", "quantity", "quantity", "quantity", "quantity", "quantity"},
    {"a function of two floats", "mix(price, quantity)", "mix(price, quantity)", "mix(price, quantity)",
     "mix(price, quantity)", "mix(price, quantity)"},
    {"functions of the library", "sin(quantity) + sqrt(price)", "sin(quantity) + sqrt(price)",
     "sin(quantity) + sqrt(price)", "sin(quantity) + sqrt(price)", "sin(quantity) + sqrt(price)"},
    {"least and greatest", "min(quantity, price) * max(vat, 2.0)", "min(quantity, price) * max(vat, 2.0)",
     "min(quantity, price) * max(vat, 2.0)", "min(quantity, price) * max(vat, 2.0)", ""},
    {"members", "order.price * order.quantity + vat", "", "order.price * order.quantity + vat", "", ""},
    {"elements", "order.lines[2].price * order.lines[2].quantity", "", "order.lines[3].price * order.lines[3].quantity",
     "", ""},
    {"texts", "name == 'abc' ? quantity : price", "", "name == 'abc' and quantity or price",
     "name == 'abc' ? quantity : price", ""},
};

constexpr const char* s_modes[] = {"text: ", "kept: ", "kept, parameter: "};

class OurWork : public DoorWork
{
public:
    OurWork(const DoorRow& row, DoorMode mode) : m_text(row.m_ours), m_mode(mode)
    {
        m_scope.Bind("price", m_price).Bind("quantity", m_quantity).Bind("vat", m_vat);
        m_scope.Bind("name", m_name).Bind("order", m_order).Define("half", Half).Define("mix", Mix);
        const auto parameters =
            mode == DoorMode::Parameter ? std::vector<std::string_view>{"quantity"} : std::vector<std::string_view>();
        m_kept = std::make_unique<kelm::Expression>(m_text, m_scope, parameters);
    }
    double Evaluate(double quantity) override
    {
        if (m_mode == DoorMode::Parameter)
            return m_kept->Evaluate<double>(quantity);
        m_quantity = quantity;
        return m_mode == DoorMode::Kept ? m_kept->Evaluate<double>() : kelm::Evaluate<double>(m_text, m_scope);
    }

private:
    const std::string m_text;
    const DoorMode m_mode;
    double m_price = s_price;
    double m_quantity = 3;
    double m_vat = s_vat;
    std::string m_name = "abc";
    door::Order m_order;
    kelm::Scope m_scope;
    std::unique_ptr<kelm::Expression> m_kept;
};

std::unique_ptr<DoorWork> MakeOurs(const DoorRow& row, DoorMode mode)
{
    return std::make_unique<OurWork>(row, mode);
}

// --- Fields and structs

// Work that is a function, whose result must not depend on the number it is given.
template <class F>
std::unique_ptr<DoorWork> MakeWork(F function)
{
    class Work : public DoorWork
    {
    public:
        explicit Work(F f) : m_function(std::move(f)) {}
        double Evaluate(double x) override { return m_function(x); }

    private:
        F m_function;
    };
    return std::make_unique<Work>(std::move(function));
}

constexpr long s_numRecords = 100;

std::string RecordsText()
{
    std::string text = "{records = [";
    for (long i = 0; i < s_numRecords; ++i)
        text += (i == 0 ? "{name = \"record number " : ", {name = \"record number ") + std::to_string(i) +
                "\" number = " + std::to_string(i * 7919) + " price = " + std::to_string(i) +
                ".25 isOpen = true codes = [1, 20, 300]}";
    return text + "]}";
}

template <class All>
std::unique_ptr<DoorWork> MakeReader()
{
    return MakeWork(
        [text = RecordsText()](double)
        {
            const All all = kelm::Read<All>(text);
            return all.records[s_numRecords - 1].price + static_cast<double>(all.records[s_numRecords - 1].codes[2]);
        });
}

template <class All>
std::unique_ptr<DoorWork> MakeWriter()
{
    return MakeWork([all = kelm::Read<All>(RecordsText())](double)
                    { return kelm::Read<All>(kelm::Write(all)).records.size() == s_numRecords ? 1.0 : 0.0; });
}

constexpr const char* s_path = ".lines[2].price";

std::unique_ptr<DoorWork> MakeGet()
{
    return MakeWork([order = door::Order()](double) { return kelm::Get<double>(order, s_path); });
}
std::unique_ptr<DoorWork> MakeSet()
{
    return MakeWork(
        [order = door::Order()](double) mutable
        {
            kelm::Set(order, s_path, 2.0);
            return order.lines[2].price;
        });
}
std::unique_ptr<DoorWork> MakeWalk()
{
    return MakeWork(
        [order = kelm::Root<door::Order>(), path = kelm::xstring(s_path)](double)
        {
            kelm::ReflectionByteCode type;
            kelm::xstring error;
            return *static_cast<double*>(kelm::NavigatePathToField(order.GetHandle(), path, type, false, error));
        });
}

// What only we do, against another way of doing it, which is a row too: the walk that lies below, our own types.
struct Row
{
    const char* m_name;
    long m_units;
    const char* m_unit;
    std::unique_ptr<DoorWork> (*m_make)();
    std::unique_ptr<DoorWork> (*m_makeOther)(); // with the same results
};

constexpr Row s_otherRows[] = {
    {"get: a number, 3 steps", 1, "call", MakeGet, MakeWalk},
    {"set: a number, 3 steps", 1, "call", MakeSet, MakeWalk},
    {"the walk: a number, 3 steps", 1, "call", MakeWalk, MakeGet},
    {"read: records of std types", s_numRecords, "record", MakeReader<door::Records>, MakeReader<door::OwnRecords>},
    {"read: records of our own types", s_numRecords, "record", MakeReader<door::OwnRecords>, MakeReader<door::Records>},
    {"write and read: records of std types", s_numRecords, "record", MakeWriter<door::Records>,
     MakeWriter<door::OwnRecords>},
    {"write and read: records of our own types", s_numRecords, "record", MakeWriter<door::OwnRecords>,
     MakeWriter<door::Records>},
};

// --- All of them

std::vector<DoorPeer> FindPeers()
{
    std::vector<DoorPeer> peers{{"KelmScript", MakeOurs}};
    for (const char* module : std::initializer_list<const char*>{KELM_BENCH_DOOR_PEER_FILES})
    {
        void* const library = dlopen(module, RTLD_NOW | RTLD_LOCAL);
        const auto* peer =
            library != nullptr ? static_cast<const DoorPeer*>(dlsym(library, s_doorPeersSymbol)) : nullptr;
        if (peer == nullptr)
            throw std::runtime_error(dlerror());
        for (; peer->m_name != nullptr; ++peer)
            peers.push_back(*peer);
    }
    return peers;
}

void Do(std::unique_ptr<DoorWork> work, std::unique_ptr<DoorWork> ours, const std::string& calls)
{
    if (work == nullptr)
        throw std::runtime_error("cannot do this row");
    for (const double x : {1.0, 7.5, 2000.0})
        if (std::abs(work->Evaluate(x) - ours->Evaluate(x)) > 1e-9)
            throw std::runtime_error("the result is wrong");
    work->Repeat(std::stol(calls));
}

void Run(const std::vector<std::string>& arguments)
{
    const std::vector<DoorPeer> peers = FindPeers();
    if (arguments.size() == 1 && arguments[0] == "contenders")
    {
        for (const DoorPeer& peer : peers)
            std::puts(peer.m_name);
    }
    bool isFound = arguments.size() < 3;
    const auto visit = [&](const std::string& name, long units, const char* unit, const auto& run)
    {
        if (arguments.empty())
            std::printf("%ld\t%s\t%s\n", units, unit, name.c_str());
        if (arguments.size() != 3 || arguments[0] != name)
            return;
        isFound = true;
        run(arguments[1]);
    };
    for (const DoorMode mode : {DoorMode::Text, DoorMode::Kept, DoorMode::Parameter})
        for (const DoorRow& row : s_rows)
            visit(std::string(s_modes[static_cast<int>(mode)]) + row.m_name, 1, "call",
                  [&](const std::string& contender)
                  {
                      for (const DoorPeer& peer : peers)
                          if (contender == peer.m_name)
                              return Do(peer.m_make(row, mode), MakeOurs(row, DoorMode::Kept), arguments[2]);
                      throw std::runtime_error("cannot do this row");
                  });
    for (const Row& row : s_otherRows)
        visit(row.m_name, row.m_units, row.m_unit,
              [&](const std::string& contender)
              {
                  if (contender != peers[0].m_name)
                      throw std::runtime_error("cannot do this row");
                  Do(row.m_make(), row.m_makeOther(), arguments[2]);
              });
    if (!isFound)
        throw std::runtime_error("no such row: " + arguments[0]);
}

} // namespace

int main(int argc, char** argv)
{
    return RunCalls("bench_door", argc, argv, Run);
}
