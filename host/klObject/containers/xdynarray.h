#pragma once

#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

// A vector that grows to whatever index is reached: by C++ code through Reach, and by field paths. Laid out and
// written as an xvector, described as a type of its own.
//
// A path that reaches beyond the end adds elements whose bytes are zero and that nothing constructs, so bytes of zero
// must be a valid T: they are for numbers, enumerations, strings, containers and handles, and for classes of these.
template <class T>
class xdynarray : public xvector<T>
{
public:
    using xvector<T>::xvector;

    // The element of that index, which must not be negative. Elements added on the way are value-initialised.
    T& Reach(ssize_t i)
    {
        if (i >= this->size())
            this->resize(i + 1);
        return (*this)[i];
    }
};

static_assert(sizeof(xdynarray<int>) == sizeof(xvector<int>));

} // namespace kelm
