#pragma once

// What bench_door asks of whoever evaluates expressions with a program's names, and what each module of a peer exports.
// Peers have symbols in common, so that each is a module of its own, whose symbols stay with it.

#include <memory>

namespace kelm::bench
{

// An expression as each writes it. An empty text: cannot do it.
struct DoorRow
{
    const char* m_name;
    const char* m_ours;
    const char* m_muParser;
    const char* m_lua;
    const char* m_exprTk;
    const char* m_tinyExpr;
};

enum class DoorMode
{
    Text, // new each time
    Kept,
    Parameter, // kept, and what changes is a parameter
};

// One row, ready.
class DoorWork
{
public:
    virtual ~DoorWork() = default;
    virtual double Evaluate(double quantity) = 0;
    // With so many quantities: count, count - 1, ... 1.
    virtual void Repeat(long count)
    {
        for (long i = count; i > 0; --i)
            Evaluate(static_cast<double>(i));
    }
};

struct DoorPeer
{
    const char* m_name;
    std::unique_ptr<DoorWork> (*m_make)(const DoorRow& row, DoorMode mode); // null where it cannot do it
};

// What the names of all rows stand for.
inline constexpr double s_price = 9.5;
inline constexpr double s_vat = 0.19;
inline double Half(double x)
{
    return x * 0.5;
}
inline double Mix(double x, double y)
{
    return x + y;
}

// A module's peers, the last of which has no name.
inline constexpr const char* s_doorPeersSymbol = "KelmBenchDoorPeers";
#define KELM_BENCH_DOOR_PEERS                                                                                          \
    extern "C" __attribute__((visibility("default"))) const kelm::bench::DoorPeer KelmBenchDoorPeers[]

} // namespace kelm::bench
