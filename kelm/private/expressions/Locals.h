#pragma once

// The names that sum, any, all and count give to elements, while their bodies are recorded: the innermost of a name is
// meant. The first are looked through; those that nest deeper are found by a table.

#include <kelm/private/expressions/KnownTypes.h>
#include <kelm/private/expressions/SmallArray.h>
#include <klUtils/types.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelm::evaluation
{

struct Local
{
    std::string_view m_name;
    uint32 m_slot; // from the stack's bottom
    bool m_isKnown;
    KnownVariable m_variable; // where it is known
    uint64 m_calls;           // before it
};

class Locals
{
public:
    bool empty() const { return m_all.empty(); }

    // Null where there is none.
    const Local* Find(std::string_view name) const
    {
        if (m_deep != nullptr) [[unlikely]]
            if (const auto found = m_deep->find(name); found != m_deep->end() && !found->second.empty())
                return &m_all[found->second.back()];
        for (std::size_t i = m_all.size() < s_numNear ? m_all.size() : s_numNear; i-- > 0;)
            if (m_all[i].m_name == name)
                return &m_all[i];
        return nullptr;
    }

    void Push(const Local& local)
    {
        if (m_all.size() >= s_numNear) [[unlikely]]
        {
            if (m_deep == nullptr)
                m_deep = std::make_unique<Deep>();
            (*m_deep)[local.m_name].push_back(m_all.size());
        }
        m_all.Add(local);
    }

    void Pop()
    {
        if (m_all.size() > s_numNear) [[unlikely]]
            (*m_deep)[m_all.back().m_name].pop_back();
        m_all.Shrink(m_all.size() - 1);
    }

private:
    using Deep = std::unordered_map<std::string_view, std::vector<std::size_t>>;
    static constexpr std::size_t s_numNear = 8;

    SmallArray<Local, 4> m_all;
    std::unique_ptr<Deep> m_deep; // of those behind the first
};

} // namespace kelm::evaluation
