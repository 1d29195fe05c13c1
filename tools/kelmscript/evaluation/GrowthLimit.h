#pragma once

#include <klKelmScript/ParseFieldPath.h>

namespace kelm::tool
{

// While it lives, paths make dynamic arrays grow to no more than so many octets.
class GrowthLimit
{
public:
    explicit GrowthLimit(ssize_t numOctets) : m_before(SetPathGrowthLimit(numOctets)) {}
    ~GrowthLimit() { SetPathGrowthLimit(m_before); }
    GrowthLimit(const GrowthLimit&) = delete;
    GrowthLimit& operator=(const GrowthLimit&) = delete;

private:
    ssize_t m_before;
};

} // namespace kelm::tool
