#include "Each.h"

#include "../evaluation/Values.h"
#include "../evaluation/Workspace.h"
#include "../repl/Completion.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Progress.h"

#include <klObject/types/ForeignType.h>

#include <iterator>
#include <map>
#include <set>

namespace kelm::tool
{

namespace
{

// What an element and its number are called in expressions.
constexpr std::string_view s_parameters[] = {"it", "index"};

// Whether a value is an array, a vector or a dynamic array, of ours or of the standard library.
bool IsList(const Value& value)
{
    if (value.GetKind() != Value::Kind::Object)
        return false;
    ReflectionByteCode type = ValueAccess::Of(value).GetType();
    type.AdvanceToUnderlyingType2();
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_ARRAY:
    case FT_VECTOR:
    case FT_DYNARRAY: return true;
    case FT_FOREIGN: return type.GetForeignType().GetForm() == FF_LIST;
    default: return false;
    }
}

std::string Listed(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

// The class whose members an element has, itself or behind its handle; null where it is nothing of the kind.
const ReflectedClass* ClassOf(const Value& element)
{
    if (element.GetKind() != Value::Kind::Object)
        return nullptr;
    const evaluation::Slot& slot = ValueAccess::Of(element);
    ReflectionByteCode type = slot.GetType();
    type.AdvanceToUnderlyingType2();
    return ClassOfField(type, slot.m_address);
}

// An expression that is evaluated for every element: for those of each class with the names of their members.
class ElementExpression
{
public:
    ElementExpression(std::string_view name, const std::string& text) : m_name(name), m_text(text) {}

    // False, after it was reported, where the text is no expression, whatever its names stand for.
    bool CheckSyntax() const
    {
        const SourceText source{m_name, m_text};
        const Outcome outcome = OutcomeOf(source,
                                          [&]
                                          {
                                              static_cast<void>(Expression(m_text, Language::Natural));
                                              return Value();
                                          });
        if (outcome.m_failure)
            Report(source, *outcome.m_failure);
        return !outcome.m_failure;
    }

    // Takes the names as elements of a class have them. False where no element so far has them all, which is reported
    // once.
    bool Choose(const Workspace& workspace, const Scope& scope, const ReflectedClass* elementClass)
    {
        const auto [form, isNew] = m_forms.try_emplace(elementClass);
        m_current = &form->second;
        if (isNew)
            Compile(workspace, scope);
        return m_isKnown;
    }

    template <class T>
    Outcome Evaluate(const SourceText& source, const Value& element, int64 index) const
    {
        if (m_current->m_failure)
            return {{}, m_current->m_failure, false};
        return OutcomeOf(source,
                         [&]() -> Result<Value>
                         {
                             Result<T> result = m_current->m_expression->TryEvaluate<T>(element, index);
                             return result ? Result<Value>(Value(*std::move(result))) : result.GetError();
                         });
    }

    const std::string& GetText() const { return m_text; }

private:
    // For the elements of one class.
    struct Form
    {
        std::optional<Expression> m_expression;
        std::optional<Failure> m_failure;
    };

    void Compile(const Workspace& workspace, const Scope& scope)
    {
        const SourceText source{m_name, m_text};
        Outcome outcome = OutcomeOf(source,
                                    [&]
                                    {
                                        m_current->m_expression.emplace(workspace.Compile(m_text, scope, s_parameters));
                                        return Value();
                                    });
        m_isKnown |= !outcome.m_failure;
        if (!m_isKnown && m_reported.insert(outcome.m_failure->m_message).second)
            Report(source, *outcome.m_failure);
        m_current->m_failure = std::move(outcome.m_failure);
    }

    std::string m_name;
    std::string m_text;
    std::map<const ReflectedClass*, Form> m_forms;
    Form* m_current = nullptr;
    bool m_isKnown = false; // in one form at least
    std::set<std::string> m_reported;
};

class Each
{
public:
    explicit Each(const Options& options)
        : m_options(options)
        , m_workspace(options)
        , m_form(ValueFormOf(options))
        , m_result("<expression>", options.m_expression)
        , m_where("<where>", options.m_where)
    {
    }

    int Run()
    {
        UseJsonErrors(m_options.m_json);
        if (const int exitCode = m_workspace.Open(); exitCode != EXIT_OK)
            return exitCode;
        Value list;
        if (!m_result.CheckSyntax() || (!m_options.m_where.empty() && !m_where.CheckSyntax()) || !FindList(list))
            return EXIT_FAILED;
        Scope lists;
        lists.Set("list", list);
        const auto length = Evaluate<int64>("len(list)", lists);
        const Expression element("list[i]", lists, {"i"});
        Progress progress("each element");
        for (int64 i = 0; i < length; ++i)
        {
            Progress::Tell(static_cast<std::size_t>(i), static_cast<std::size_t>(length));
            if (!EvaluateElement(element.Evaluate(i), i))
                m_hasFailed = true;
        }
        return m_hasFailed ? EXIT_FAILED : EXIT_OK;
    }

private:
    // The list that is named, or else the only one.
    bool FindList(Value& list) const
    {
        if (m_options.m_list.empty())
            return FindOnlyList(list);
        std::string text = m_options.m_list;
        if (text.starts_with('.'))
            text[0] = ' '; // as paths are written
        const SourceText source{"<in>", text};
        Outcome outcome = m_workspace.Evaluate(source);
        if (outcome.m_failure)
        {
            Report({"<in>", m_options.m_list}, *outcome.m_failure);
            return false;
        }
        list = std::move(outcome.m_value);
        if (IsList(list))
            return true;
        ReportError(m_options.m_list + " is no list but " + KindOf(list), "type");
        return false;
    }

    bool FindOnlyList(Value& list) const
    {
        std::vector<std::string> lists;
        for (const std::string& name : m_workspace.GetMemberNames())
            if (Outcome outcome = m_workspace.Evaluate({"<in>", name}); !outcome.m_failure && IsList(outcome.m_value))
            {
                lists.push_back(name);
                list = std::move(outcome.m_value);
            }
        if (lists.size() == 1)
            return true;
        ReportError(lists.empty() ? "the data source has no list"
                                  : "the data source has several lists: " + Listed(lists),
                    "name");
        ReportNote("--in names the list");
        return false;
    }

    bool EvaluateElement(const Value& element, int64 index)
    {
        const ReflectedClass* const elementClass = ClassOf(element);
        Scope& scope = m_scopes.try_emplace(elementClass, m_workspace.GetScope()).first->second;
        scope.BindMembers(element);
        const bool isWanted = !m_options.m_where.empty();
        if (!m_result.Choose(m_workspace, scope, elementClass) ||
            (isWanted && !m_where.Choose(m_workspace, scope, elementClass)))
            return false;
        const std::string number = std::to_string(index);
        if (isWanted)
        {
            const std::string name = "<where, element " + number + ">";
            const SourceText source{name, m_where.GetText()};
            const Outcome outcome = m_where.Evaluate<bool>(source, element, index);
            if (outcome.m_failure)
                return PutOutcome(source, outcome, m_form, index);
            if (!outcome.m_value.As<bool>())
                return true;
        }
        const std::string name = "<element " + number + ">";
        const SourceText source{name, m_result.GetText()};
        return PutOutcome(source, m_result.Evaluate<Value>(source, element, index), m_form, index);
    }

    const Options& m_options;
    Workspace m_workspace;
    const EValueForm m_form;
    ElementExpression m_result;
    ElementExpression m_where;
    std::map<const ReflectedClass*, Scope>
        m_scopes; // of the members of each class's elements, within those of the data
    bool m_hasFailed = false;
};

} // namespace

int RunEach(const Options& options)
{
    Options withFile = options;
    const bool isLikeName = options.m_file.find('=') != std::string::npos && !options.m_file.starts_with('/');
    withFile.m_data.insert(withFile.m_data.begin(), (isLikeName ? "./" : "") + options.m_file);
    return Each(withFile).Run();
}

} // namespace kelm::tool
