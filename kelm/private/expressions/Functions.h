#pragma once

// The functions that come with the library: names that a scope can hide.

#include <kelm/Slot.h>
#include <kelm/private/expressions/Program.h>
#include <klUtils/types.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace kelm::evaluation
{

struct OwnFunction
{
    enum class Form : uint8
    {
        Values, // of its arguments
        Has,    // of a path
        List,   // of a list, a name and an expression
    };

    enum class Result : uint8
    {
        Any,
        Float,
        Bool,
        AsArguments, // an integer where all of them are, else a float
    };

    std::string_view m_name;
    Form m_form;
    Result m_result;
    ListFunction m_list;
    int32 m_min; // arguments
    int32 m_max; // -1 for any number
    // The arguments have been loaded; where one is refused, `failed` is its index.
    bool (*m_apply)(const Slot* arguments, std::size_t count, Slot& result, std::size_t& failed, Failure& failure);
    ConstStringZ m_parameters; // for help, and so the summary
    ConstStringZ m_summary;
    bool m_isExtreme = false;
    double (*m_function)(double) = nullptr; // the same of one float, in its domain
    Domain m_domain = Domain::Any;
};

// All of them, in an order for readers.
KELM_API std::span<const OwnFunction> GetOwnFunctions();

const OwnFunction* FindOwnFunction(std::string_view name);
uint32 IndexOfOwnFunction(const OwnFunction& function);
const OwnFunction& GetOwnFunction(uint32 index);

} // namespace kelm::evaluation
