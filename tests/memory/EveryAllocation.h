#pragma once

// Every allocation of every operation fails, once and from then on.

#include <klObject/objects/Collector.h>
#include <support/OutOfMemory.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace kelm
{

// On a world of its own; gives what is seen of it besides the world.
template <class World>
struct Operation
{
    const char* m_name;
    std::string (*m_do)(World& world);
};

// It ends in std::bad_alloc, with the world as it was, or does the same as with memory; and it succeeds afterwards.
template <class World>
void ExpectWholeWhereItFails(const Operation<World>& operation, bool failsOnce)
{
    World unscathed;
    const std::string before = unscathed.Written();
    const std::string expected = operation.m_do(unscathed);
    const std::string after = unscathed.Written();
    bool hasFailed = true;
    for (long allocations = 0; hasFailed; ++allocations)
    {
        SCOPED_TRACE(std::string(operation.m_name) + ", allocation " + std::to_string(allocations) +
                     (failsOnce ? ", once" : ""));
        World world;
        std::string outcome;
        bool hasThrown = false;
        try
        {
            const OutOfMemory outOfMemory(allocations, failsOnce);
            outcome = operation.m_do(world);
        }
        catch (const std::bad_alloc&)
        {
            hasThrown = true;
        }
        hasFailed = OutOfMemory::HasFailed();
        ASSERT_LE(hasThrown, hasFailed);
        ASSERT_EQ(world.Written(), hasThrown ? before : after);
        if (hasThrown)
            outcome = operation.m_do(world);
        ASSERT_EQ(outcome, expected);
        ASSERT_EQ(world.Written(), after);
    }
    CollectGarbage();
}

template <class World, std::size_t count>
void ExpectAllWhole(const Operation<World> (&operations)[count])
{
    for (const Operation<World>& operation : operations)
        for (const bool failsOnce : {false, true})
            ExpectWholeWhereItFails(operation, failsOnce);
}

} // namespace kelm
