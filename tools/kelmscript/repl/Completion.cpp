#include "Completion.h"

#include "../evaluation/GrowthLimit.h"
#include "../evaluation/Workspace.h"

#include <kelm/private/expressions/Functions.h>
#include <kelm/private/types/Names.h>
#include <kelmDocument/Document.h>
#include <kelmLanguage/Completion.h>
#include <kelmLanguage/Types.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <cstring>

namespace kelm::tool
{

namespace
{

struct Field
{
    ReflectionByteCode m_type; // underlying
    const void* m_data;        // null where the path leads nowhere
};

Field FindField(ptr<IObject> object, const std::string& path)
{
    Field field{{}, nullptr};
    xstring error;
    try
    {
        // As if for writing: completion is no reason to bring data in, nor to change any.
        const GrowthLimit limit(0);
        field.m_data = NavigatePathToField(object, path.c_str(), field.m_type, true, error);
    }
    catch (const KelmAssertionError&)
    {
        return {{}, nullptr};
    }
    if (field.m_data != nullptr && field.m_type.m_bc != nullptr)
        field.m_type.AdvanceToUnderlyingType2();
    return field;
}

const ReflectedClass* ClassOf(ptr<IObject> object)
{
    return object ? object.GetReflectedClass() : nullptr;
}

const ReflectedClass* ClassAt(ptr<IObject> object, const Field& field)
{
    return field.m_type.m_bc == nullptr ? ClassOf(object) : ClassOfField(field.m_type, field.m_data);
}

} // namespace

const ReflectedClass* ClassOfField(const ReflectionByteCode& type, const void* data)
{
    switch (type.GetCode())
    {
    case FT_CLASS: return type.GetReflectedClass();
    case FT_PREF:
    case FT_CREF: return ClassOf(static_cast<const prefbase*>(data)->GetLoaded());
    case FT_INTERFACE_POINTER:
    {
        ptr<IObject> target;
        std::memcpy(static_cast<void*>(&target), data, sizeof target);
        return ClassOf(target);
    }
    default: return nullptr;
    }
}

std::vector<std::string> StartingWith(const std::string& beginning, const std::vector<std::string>& names)
{
    std::vector<std::string> matches;
    for (const std::string& name : names)
        if (name.starts_with(beginning))
            matches.push_back(name);
    return matches;
}

namespace
{

// Of a text that ends with a dot the path before that, such as "order.lines[0]"; empty where there is none that can be
// followed without evaluating anything else.
std::string_view PathAtEnd(std::string_view text)
{
    text.remove_suffix(1);
    std::size_t begin = text.size();
    while (begin > 0)
    {
        const char c = text[begin - 1];
        if (c == ']')
        {
            const std::size_t open = text.rfind('[', begin - 1);
            const bool isIndex = open != std::string_view::npos &&
                                 text.substr(open, begin - open).find_first_of("=()") == std::string_view::npos;
            if (!isIndex)
                break;
            begin = open;
        }
        else if (IsIdentifierCharacter(c) || c == '.')
            --begin;
        else
            break;
    }
    return text.substr(begin);
}

} // namespace

std::vector<std::string> CompleteInExpression(const Workspace& workspace, std::string_view before,
                                              const std::string& beginning)
{
    if (before.ends_with('.'))
        return StartingWith(beginning, workspace.MemberNamesAt(PathAtEnd(before)));
    std::vector<std::string> names = workspace.GetNames();
    for (const BuiltIn& builtIn : GetBuiltIns())
        names.push_back(std::string(builtIn.m_name.begin(), builtIn.m_name.end()) +
                        (builtIn.m_argument != Argument::None ? "(" : ""));
    if (workspace.GetScope() != nullptr)
        for (const evaluation::OwnFunction& function : evaluation::GetOwnFunctions())
            names.push_back(std::string(function.m_name) + "(");
    return StartingWith(beginning, names);
}

std::vector<std::string> CompleteTypeName(const std::string& beginning)
{
    const std::vector<std::string> names = AllTypeNames();
    std::vector<std::string> matches = StartingWith(beginning, names);
    if (!matches.empty())
        return matches;
    std::vector<std::string> lastParts;
    lastParts.reserve(names.size());
    for (const std::string& name : names)
        lastParts.emplace_back(LastPart(name));
    return StartingWith(beginning, lastParts);
}

namespace
{

const language::Types& AllTypes()
{
    static const language::Types s_types(CatalogueOfRegisteredTypes({}, Defaults::Untold)); // no more are loaded
    return s_types;
}

// A data source up to where the value of a field begins: "garden::Plan { layers = [". Empty where that is not known.
std::string TextBeforeValue(ptr<IObject> object, std::string_view path)
{
    const std::size_t dot = path.rfind('.');
    if (!object || dot == std::string_view::npos)
        return {};
    const Field parent = FindField(object, std::string(path.substr(0, dot)));
    const ReflectedClass* const rc = parent.m_data != nullptr ? ClassAt(object, parent) : nullptr;
    const CatalogueClass* const entry = rc != nullptr ? AllTypes().FindClass(rc->m_name) : nullptr;
    const std::string_view step = path.substr(dot + 1);
    const std::string_view name = step.substr(0, step.find('['));
    const CatalogueMember* const member = entry != nullptr ? language::Types::FindMember(*entry, name) : nullptr;
    if (member == nullptr)
        return {};
    std::string text = entry->m_name + " { " + std::string(name) + " = ";
    const TypeNode* type = &AllTypes().UnderlyingOf(member->m_type);
    for (const char c : step)
    {
        if (c != '[')
            continue;
        text += type->m_kind == TypeKind::Map ? "[ 0 -> " : "[ ";
        if (type->m_parts.empty())
            return {};
        type = &AllTypes().UnderlyingOf(type->m_parts.back());
    }
    return text;
}

} // namespace

std::vector<std::string> CompleteValue(ptr<IObject> object, std::string_view path, std::string_view value,
                                       std::size_t word)
{
    const std::string before = TextBeforeValue(object, path);
    if (before.empty())
        return {};
    const Document document = Document::Parse(before + std::string(value));
    const language::Completions completions = language::Complete(document, AllTypes(), document.GetText().size());
    const std::string_view written = value.substr(word);
    // What is replaced may begin before the word, and be the same there.
    const std::size_t begin = before.size() + word;
    std::vector<std::string> words;
    for (const language::Completion& choice : completions.m_choices)
    {
        const bool isBeginning = choice.m_kind == language::CompletionKind::Value;
        std::string text = isBeginning ? choice.m_text.substr(0, choice.m_text.find("$0")) : choice.m_label;
        if (choice.m_kind == language::CompletionKind::Member)
            text += " = ";
        if (completions.m_replaced.m_begin < begin)
            text.erase(0, begin - completions.m_replaced.m_begin);
        if (text.starts_with(written) && !text.empty() && std::find(words.begin(), words.end(), text) == words.end())
            words.push_back(std::move(text));
    }
    return words;
}

std::vector<std::string> FieldNamesAt(ptr<IObject> object, const std::string& path)
{
    if (!object || !path.ends_with('.'))
        return {};
    const std::string parent = path.substr(0, path.size() - 1);
    const Field field = FindField(object, parent);
    const ReflectedClass* const rc = field.m_data != nullptr ? ClassAt(object, field) : nullptr;
    return rc != nullptr ? ModelFieldNames(*rc) : std::vector<std::string>();
}

} // namespace kelm::tool
