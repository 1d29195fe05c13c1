// Types that are used for the first time where memory ends: once for each allocation, in a process of its own.

#include <kelm/kelm.h>

#include <support/OutOfMemory.h>

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace firstUse
{

enum class Kind
{
    SMALL,
    LARGE
};

struct Part
{
    std::string name;
    Kind kind = Kind::SMALL;
};

struct Whole
{
    std::vector<Part> parts;
    std::map<std::string, std::optional<Part>> named;
    std::variant<int, Part> choice;
};

} // namespace firstUse

KELM_DESCRIBE_ENUM(firstUse::Kind, SMALL, LARGE)
KELM_DESCRIBE(firstUse::Part, name, kind)
KELM_DESCRIBE(firstUse::Whole, parts, named, choice)

namespace kelm
{

namespace
{

constexpr char s_text[] =
    "{ parts = [{ name = 'a' kind = LARGE }] named = ['b' -> { name = 'c' }] choice = Part { name = 'd' } }";

enum Outcome
{
    DONE,     // memory has not ended
    GONE_ON,  // it has ended, and the same succeeds afterwards
    MISTAKEN, // anything else
};

Outcome UseFirst(long allocations, bool failsOnce)
{
    try
    {
        try
        {
            const OutOfMemory outOfMemory(allocations, failsOnce);
            static_cast<void>(Read<firstUse::Whole>(s_text));
        }
        catch (const std::bad_alloc&)
        {
        }
        const bool hasFailed = OutOfMemory::HasFailed();
        const std::string written = Write(Read<firstUse::Whole>(s_text));
        if (written.find("kind = LARGE") == std::string::npos || Write(Read<firstUse::Whole>(written)) != written)
            return MISTAKEN;
        return hasFailed ? GONE_ON : DONE;
    }
    catch (...)
    {
        return MISTAKEN;
    }
}

// What a child of this process comes to, which knows no more types than this one; -1 where it is killed.
int OutcomeOfChild(long allocations, bool failsOnce)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(UseFirst(allocations, failsOnce));
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Memory, OfTypesThatAreUsedForTheFirstTime)
{
    for (const bool failsOnce : {false, true})
    {
        int outcome = GONE_ON;
        long allocations = 0;
        for (; outcome == GONE_ON; ++allocations)
            outcome = OutcomeOfChild(allocations, failsOnce);
        EXPECT_EQ(outcome, DONE) << "allocation " << allocations - 1 << (failsOnce ? ", once" : "");
        EXPECT_GT(allocations, 20);
    }
}

} // namespace

} // namespace kelm
