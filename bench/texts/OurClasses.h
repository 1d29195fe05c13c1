#pragma once

// The classes as ours reads them, of our own types, described.

#include "ClassLists.h"

#include <klObject/containers/xmap.h>
#include <klObject/describe/Describe.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <concepts>
#include <cstdint>
#include <span>
#include <type_traits>

namespace ours
{

using String = kelm::xstring;
template <class T>
using List = kelm::xvector<T>;
using Counts = kelm::xmap<kelm::xstring, std::int64_t>;

#include "DefineClasses.inc"

} // namespace ours

#define BENCH_DESCRIBED_VALUE(NAME)        , KELM_VALUE(NAME)
#define BENCH_DESCRIBED_MEMBER(TYPE, NAME) , KELM_MODEL(NAME)
#define BENCH_DESCRIBE(KIND, ...)          KIND(__VA_ARGS__)
#define BENCH_DESCRIBE_ENUM(NAME)          BENCH_DESCRIBE(KELM_ENUM, ours::NAME BENCH_##NAME(BENCH_DESCRIBED_VALUE))
#define BENCH_DESCRIBE_CLASS(NAME)         BENCH_DESCRIBE(KELM_CLASS, ours::NAME BENCH_##NAME(BENCH_DESCRIBED_MEMBER))

BENCH_ENUMS(BENCH_DESCRIBE_ENUM)
BENCH_INNER_CLASSES(BENCH_DESCRIBE_CLASS)
BENCH_ROOT_CLASSES(BENCH_DESCRIBE_CLASS)

#undef BENCH_DESCRIBE_CLASS
#undef BENCH_DESCRIBE_ENUM
#undef BENCH_DESCRIBE
#undef BENCH_DESCRIBED_MEMBER
#undef BENCH_DESCRIBED_VALUE

namespace ours
{

inline void RegisterOurClasses()
{
#define BENCH_REGISTER(NAME) kelm::RegisterTypes<NAME>(nullptr);
    BENCH_ENUMS(BENCH_REGISTER)
    BENCH_INNER_CLASSES(BENCH_REGISTER)
    BENCH_ROOT_CLASSES(BENCH_REGISTER)
#undef BENCH_REGISTER
}

} // namespace ours
