// From a typed program, whose scope a function has changed, into the general form of the same text.

#include <kelm/private/expressions/Machine.h>

#include <algorithm>
#include <memory>

namespace kelm::evaluation
{

namespace
{

bool IsCall(const Op& op)
{
    return op.GetCode() == Code::CallName || op.GetCode() == Code::CallMember;
}

bool IsPath(const Op& op)
{
    return op.GetCode() == Code::HasBegin;
}

// The same of the general form: what is looked for stands in both in the same order.
template <class Is>
const Op& FindSame(const Program& general, const Op* first, const Op* op, const Is& is)
{
    const Op* same = std::find_if(general.m_ops.begin(), general.m_ops.end(), is);
    for (auto i = std::count_if(first, op, is); i > 0; --i)
        same = std::find_if(same + 1, general.m_ops.end(), is);
    return *same;
}

} // namespace

const Op* Machine::GoOnGenerally(const Op* call)
{
    const Op* const first = GetOp(0);
    for (auto path = static_cast<std::size_t>(m_rest != nullptr ? m_rest->m_path : 0); path != 0;
         path = static_cast<std::size_t>(m_base[path - 1].m_integer))
    {
        std::size_t& end = m_base[path - 1].m_size;
        const Op* const begin =
            std::find_if(first, call, [&](const Op& op) { return IsPath(op) && op.m_target == end; });
        end = FindSame(*m_program->m_general, first, begin, IsPath).m_target;
    }
    m_program = m_program->m_general;
    m_records = m_program->m_records.data(); // as they were found, as a text that is evaluated once has them
    GetRest().m_trail.Run();
    return BackTo(&FindSame(*m_program, first, call, IsCall) + 1);
}

} // namespace kelm::evaluation
