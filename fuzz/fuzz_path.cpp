// Any path ends at an address inside the object or in a described failure, and where it is taken step by step, it leads
// to the same address.

#include "Sample.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/private/PathSteps.h>

#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace kelm;

namespace
{

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

// Requires that the steps of a path that has led to the address lead there, too, as far as there are any: what follows
// a value is not part of a walk, which an optional and its like have been left for already where a bracket or a dot
// follows. Of paths that are written plainly.
void TakeSteps(const ptr<IObject>& root, std::string_view path, PathSteps::Access access, const void* address)
{
    PathSteps steps(root, access);
    while (!path.empty())
    {
        const void* const before = steps.GetAddress();
        const bool isField = path.front() == '.';
        if (!isField && path.front() != '[')
            return;
        path.remove_prefix(path.starts_with("[[") ? 2 : 1);
        std::size_t size = 0;
        while (size < path.size() && (std::isalnum(static_cast<unsigned char>(path[size])) != 0 || path[size] == '_'))
            ++size;
        const std::string_view name = path.substr(0, size);
        path.remove_prefix(size);
        if (isField)
        {
            if (name.empty() || std::isdigit(static_cast<unsigned char>(name.front())) != 0)
                return;
            if (!steps.TryStepToField({name.data(), name.data() + name.size()}))
                return Require(before == address || steps.GetAddress() == address);
            continue;
        }
        const bool isPlain = !name.empty() && name.size() < 10 && path.starts_with(']') &&
                             name.find_first_not_of("0123456789") == std::string_view::npos;
        if (!isPlain)
            return;
        path.remove_prefix(1);
        if (!steps.TryStepToElement(std::stoll(std::string(name))))
            return Require(before == address || steps.GetAddress() == address);
    }
    Require(steps.GetAddress() == address);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    SetPathGrowthLimit(4096);
    CollectGarbage(); // what the last input left
    const xstring path(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    xstring error;
    const GcRoot root(ParseDataSourceFromString(
        "sample.Node { children = [{ points = [(1, 2)] }] numbers = [1, 2] choice = colour RED "
        "next = sample.Node { name = 'end' next = sample.Standard { list = [(1, 2), {}] "
        "lists = ['a' -> [1, 2]] perhaps = (3, 4) either = string 'text' nodes = [{}] part = {} } } }",
        error));
    Require(static_cast<bool>(root.get()));
    ReflectionByteCode type;
    const bool writes = (size & 1) != 0;
    try
    {
        if (const void* const address = NavigatePathToField(root.get(), path, type, writes, error))
            TakeSteps(root.get(), path.view(), writes ? PathSteps::Access::Write : PathSteps::Access::Read, address);
        else
            Require(error.size() != 0);
    }
    catch (const KelmAssertionError& e)
    {
        if (!(e.m_condition == "0")) // a map on the path
            throw;
    }
    return 0;
}
