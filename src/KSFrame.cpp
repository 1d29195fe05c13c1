#include <klKelmScript/KSFrame.h>

namespace kelm
{

KSFrame::KSFrame(KSFrame* parent) : m_parent(parent) {}

KSFrame::Var* KSFrame::FindLocal(Varname name)
{
    const auto found = m_locals.find(name);
    return found != m_locals.end() ? &*found : nullptr;
}

KSFrame::Var* KSFrame::FindLocalOrNonlocal(Varname name)
{
    for (KSFrame* frame = this; frame != nullptr; frame = frame->m_parent)
        if (Var* const var = frame->FindLocal(name))
            return var;
    return nullptr;
}

KSFrame::Var* KSFrame::Insert(Varname name, const KSValue& value)
{
    return &*m_locals.emplace(name, value).first;
}

} // namespace kelm
