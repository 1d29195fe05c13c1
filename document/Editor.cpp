#include <kelmDocument/Editor.h>

#include <kelmDocument/private/Additions.h>
#include <kelmDocument/private/Assignments.h>
#include <kelmDocument/private/Edit.h>
#include <kelmDocument/private/Removals.h>

#include <kelm/Error.h>
#include <kelm/private/errors/ErrorOf.h>

#include <optional>
#include <utility>

namespace kelm
{

namespace
{

template <class F>
Result<bool> Change(Document& document, const DocumentPolicy& policy, std::string_view path, std::string_view value,
                    const F& change)
{
    return Attempt({s_textName, {}}, {},
                   [&]
                   {
                       editing::Edit edit(document, editing::Reading(policy), value);
                       change(edit);
                       Document changed = edit.Take(path);
                       const bool isChanged = changed.GetText() != document.GetText();
                       if (isChanged)
                           document = std::move(changed);
                       return isChanged;
                   });
}

// As many as can be made together, from the first on.
template <class Together, class T, class Add>
std::size_t MakeSome(Document& document, const DocumentPolicy& policy, std::span<const T> edits, const Add& add)
{
    try
    {
        Together together(document, editing::Reading(policy));
        std::size_t count = 0;
        while (count < edits.size() && add(together, edits[count]))
            ++count;
        std::optional<Document> changed = count > 0 ? together.TryTake() : std::nullopt;
        if (!changed)
            return 0;
        document = std::move(*changed);
        return count;
    }
    catch (const Error&) // which one of them tells, made alone
    {
        return 0;
    }
}

constexpr auto AddPair = [](auto& together, const Assignment& pair)
{ return together.TryAdd(pair.m_path, pair.m_value); };

} // namespace

Result<bool> DocumentEditor::Set(std::string_view path, std::string_view value)
{
    return Change(m_document, m_policy, path, value, [&](editing::Edit& edit) { edit.Set(path, value); });
}

Result<bool> DocumentEditor::Add(std::string_view path, std::string_view value)
{
    return Change(m_document, m_policy, path, value, [&](editing::Edit& edit) { edit.Add(path, value); });
}

std::size_t DocumentEditor::SetSome(std::span<const Assignment> assignments)
{
    return MakeSome<editing::Assignments>(m_document, m_policy, assignments, AddPair);
}

Result<bool> DocumentEditor::Remove(std::string_view path)
{
    return Change(m_document, m_policy, path, {}, [&](editing::Edit& edit) { edit.Remove(path); });
}

std::size_t DocumentEditor::RemoveSome(std::span<const std::string_view> paths)
{
    return MakeSome<editing::Removals>(m_document, m_policy, paths,
                                       [](editing::Removals& removals, std::string_view path)
                                       { return removals.TryAdd(path); });
}

Result<bool> DocumentEditor::Insert(std::string_view path, std::string_view value)
{
    return Change(m_document, m_policy, path, value, [&](editing::Edit& edit) { edit.Insert(path, value); });
}

std::size_t DocumentEditor::InsertSome(std::span<const Assignment> additions)
{
    return MakeSome<editing::Additions>(m_document, m_policy, additions, AddPair);
}

Result<bool> DocumentEditor::Rename(std::string_view path, std::string_view name)
{
    return Change(m_document, m_policy, path, {}, [&](editing::Edit& edit) { edit.Rename(path, name); });
}

Result<bool> DocumentEditor::Move(std::string_view from, std::string_view to)
{
    return Change(m_document, m_policy, from, {}, [&](editing::Edit& edit) { edit.Move(from, to); });
}

} // namespace kelm
