#pragma once

// How the places on a machine's stack have been reached. A function that is called, and an assignment, may move or
// destroy what a place lies in that waits on the stack for its turn, such as an element of a list that grows: it is
// found again then, from its root, by the same members, indices and keys. Only programs in which a place may wait so
// are traced (Program::m_isTraced): their steps keep the trail; the others have nothing of it.

#include <kelm/Value.h>
#include <kelm/private/expressions/Program.h>

#include <cstddef>
#include <span>
#include <vector>

namespace kelm::evaluation
{

class Trail
{
public:
    // The operation that has done a step, what it needs to be done again (a root that stays, an index), and how much
    // had been called then.
    struct Step
    {
        std::size_t m_slot; // whose place it has led to
        const Op* m_op;
        Value m_value;
        uint32 m_runs;
    };

    // Something else comes to stand in that slot and those above it.
    void Cut(std::size_t slot)
    {
        while (!m_steps.empty() && m_steps.back().m_slot >= slot)
            m_steps.pop_back();
    }
    void Add(std::size_t slot, const Op* op, Value value) { m_steps.push_back({slot, op, std::move(value), m_runs}); }
    // What one slot above the lowest had goes to that; the others' is gone.
    void Choose(std::size_t lowest, std::size_t chosen);

    std::span<Step> StepsOf(std::size_t slot);

    uint32 GetRuns() const { return m_runs; }
    void Run() { ++m_runs; }

private:
    std::vector<Step> m_steps; // in the order of slots
    uint32 m_runs = 0;         // of what may move things
};

// Puts the steps into a program that keep its trail.
void Trace(Program& program);

// A step of typed programs: the element of a list, m_index, to where it is now.
Step ElementAgainStep();

} // namespace kelm::evaluation
