#include "Each.h"

#include "Diagnostics.h"
#include "Progress.h"
#include "Values.h"
#include "Workspace.h"

#include <klObject/types/ForeignType.h>

#include <iterator>

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

// An expression that is evaluated for every element. Which names an element's members have is known with the first
// element that has members; what is wrong with it is reported once.
class ElementExpression
{
public:
    ElementExpression(std::string_view name, const std::string& text) : m_name(name), m_text(text) {}

    // False where there is something wrong with the text.
    bool Compile(const Workspace& workspace, const Scope& scope)
    {
        if (m_expression)
            return true;
        const SourceText source{m_name, m_text};
        const Outcome outcome = OutcomeOf(source,
                                          [&]
                                          {
                                              m_expression.emplace(workspace.Compile(m_text, scope, s_parameters));
                                              return Value();
                                          });
        if (outcome.m_failure &&
            outcome.m_failure->m_message != std::exchange(m_reported, outcome.m_failure->m_message))
            Report(source, *outcome.m_failure);
        return !outcome.m_failure;
    }

    template <class T>
    Outcome Evaluate(const SourceText& source, const Value& element, int64 index) const
    {
        return OutcomeOf(source,
                         [&]() -> Result<Value>
                         {
                             Result<T> result = m_expression->TryEvaluate<T>(element, index);
                             return result ? Result<Value>(Value(*std::move(result))) : result.GetError();
                         });
    }

    const std::string& GetText() const { return m_text; }

private:
    std::string m_name;
    std::string m_text;
    std::optional<Expression> m_expression;
    std::string m_reported;
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
        if (const int exitCode = m_workspace.Open(); exitCode != EXIT_OK)
            return exitCode;
        Value list;
        if (!FindList(list))
            return EXIT_FAILED;
        Scope lists;
        lists.Set("list", list);
        const auto length = Evaluate<int64>("len(list)", lists);
        const Expression element("list[i]", lists, {"i"});
        m_scope = std::make_unique<Scope>(m_workspace.GetScope());
        Progress progress("each element");
        for (int64 i = 0; i < length; ++i)
        {
            progress.Tell(static_cast<std::size_t>(i), static_cast<std::size_t>(length));
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
        ReportError(m_options.m_list + " is no list but " + KindOf(list));
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
                                  : "the data source has several lists: " + Listed(lists));
        ReportNote("--in names the list");
        return false;
    }

    bool EvaluateElement(const Value& element, int64 index)
    {
        m_scope->BindMembers(element);
        const bool isWanted = !m_options.m_where.empty();
        if (!m_result.Compile(m_workspace, *m_scope) || (isWanted && !m_where.Compile(m_workspace, *m_scope)))
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
    std::unique_ptr<Scope> m_scope; // of the element's members, within those of the data
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
