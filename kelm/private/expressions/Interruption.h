#pragma once

#include <kelm/api.h>

#include <csignal>

namespace kelm::evaluation
{

// While it is not 0, which a signal's handler may make it, evaluations end at the next element of a list with the error
// "Interrupted". It is one for the process, and whoever sets it takes it back.
extern KELM_API volatile std::sig_atomic_t s_isInterrupted;

} // namespace kelm::evaluation
