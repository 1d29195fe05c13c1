#pragma once

#include "Contest.h"

#include <vector>

namespace kelm::bench
{

std::vector<Row> MakeExpressionRows();
std::vector<Row> MakeObjectRows();
std::vector<Row> MakePathRows();

} // namespace kelm::bench
