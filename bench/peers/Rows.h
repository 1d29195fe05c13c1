#pragma once

#include "../texts/TextRows.h"
#include "Contest.h"

#include <vector>

namespace kelm::bench
{

std::vector<Row> MakeExpressionRows();
std::vector<Row> MakeObjectRows();
std::vector<Row> MakePathRows();

// The row with the texts of five seeds, each with whoever can do it; what reading releases is in its time.
std::vector<Row> MakeTextRow(const TextRow& row);

} // namespace kelm::bench
