#pragma once

#include <klUtils/text/ParserBase.h>

#include <cstddef>

namespace kelm::tool
{

// While a watch lives, a division that the processor refuses (-9223372036854775808 by -1, whose result int64 does not
// hold) does not end the process: the evaluation goes on to its end with 0 in place of the result, which the caller
// throws away when the watch tells of the fault. So nothing leaks and every stack segment is left as usual, which a
// jump out of the evaluation would not do.
//
// One watch at a time, for evaluations on the thread that made it. Any other SIGFPE kills the process as ever.
class DivisionWatch
{
public:
    explicit DivisionWatch(const ParserBase& parser);
    ~DivisionWatch();
    DivisionWatch(const DivisionWatch&) = delete;
    DivisionWatch& operator=(const DivisionWatch&) = delete;

    bool HasFaulted() const;

    // The last token that the parser had passed at the first fault.
    const LSToken& GetPlace() const;
};

} // namespace kelm::tool
