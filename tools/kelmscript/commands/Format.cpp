#include "Format.h"

#include "../files/Files.h"
#include "../files/LayoutSettings.h"
#include "../files/UnifiedDiff.h"
#include "../json/JsonText.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

namespace
{

// Numbers of the command line, which win.
struct GivenOptions
{
    std::optional<std::size_t> m_values[std::size(s_layoutOptions)];

    FormatOptions Over(FormatOptions options) const
    {
        for (std::size_t i = 0; i < std::size(s_layoutOptions); ++i)
            options.*s_layoutOptions[i].m_member = m_values[i].value_or(options.*s_layoutOptions[i].m_member);
        return options;
    }
};

std::optional<std::size_t> NumberOf(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// False where one is wrong, which is reported.
bool TakeOptions(const Options& options, GivenOptions& given)
{
    const std::string* const texts[] = {&options.m_width, &options.m_indent};
    static_assert(std::size(texts) == std::size(s_layoutOptions));
    for (std::size_t i = 0; i < std::size(texts); ++i)
    {
        if (texts[i]->empty())
            continue;
        given.m_values[i] = NumberOf(*texts[i]);
        if (given.m_values[i] && s_layoutOptions[i].Allows(*given.m_values[i]))
            continue;
        ReportUsage("--" + std::string(s_layoutOptions[i].m_name) + ": " + *texts[i] + " is not " +
                    s_layoutOptions[i].Rule());
        return false;
    }
    return true;
}

class Formatter
{
public:
    Formatter(const Options& options, const GivenOptions& given) : m_options(options), m_given(given) {}

    // The exit code.
    int Format(const std::string& path)
    {
        const std::optional<FormatOptions> settings = m_settings.Find(path);
        const std::optional<NamedText> file = settings ? ReadFile(path) : std::nullopt;
        if (!file)
            return EXIT_FAILED;
        const Progress progress("formatting " + file->m_name);
        const std::string_view text = file->m_text.View();
        const FormatOptions options = m_given.Over(*settings);
        const Result<std::string> formatted = kelm::Format(text, options);
        if (!formatted)
            return ReportFailure(*file);
        const bool isChanged = *formatted != text;
        if (m_options.m_diff && isChanged)
            Put(UnifiedDiff(file->m_name, text, *FormatLines(text, {0, text.size()}, options)));
        if (m_options.m_check || m_options.m_diff)
            return Tell(*file, isChanged);
        if (m_options.m_toOutput || path == "-")
        {
            Put(*formatted);
            return EXIT_OK;
        }
        if (isChanged && !ReplaceFile(path, *formatted))
            return EXIT_FAILED;
        return Tell(*file, isChanged);
    }

private:
    template <class F>
    static void PutJson(const NamedText& file, ConstStringZ what, const F& putValue)
    {
        JsonText json(JSON_COMPACT);
        json.BeginObject();
        json.Name("file");
        json.Text(file.m_name);
        json.Name(what);
        putValue(json);
        json.EndObject();
        PutLine(json.GetText());
    }

    int ReportFailure(const NamedText& file) const
    {
        const SourceText source = file.Source();
        const std::optional<Diagnostic> error = FindSyntaxError(source.m_text);
        const Failure failure{"syntax", error->m_message, error->m_place, {}};
        if (m_options.m_json)
            PutJson(file, "error", [&](JsonText& json) { WriteJson(json, failure, source); });
        else
            Report(source, failure);
        return EXIT_FAILED;
    }

    // Of a file that has its layout now, or would have another one.
    int Tell(const NamedText& file, bool isChanged) const
    {
        if (m_options.m_json)
            PutJson(file, "changed", [&](JsonText& json) { json.Bool(isChanged); });
        else if (m_options.m_check && !m_options.m_diff && isChanged)
            PutLine(file.m_name);
        return m_options.m_check && isChanged ? EXIT_FAILED : EXIT_OK;
    }

    const Options& m_options;
    const GivenOptions& m_given;
    LayoutSettings m_settings;
};

} // namespace

int RunFormat(const Options& options)
{
    GivenOptions given;
    if (!TakeOptions(options, given))
        return EXIT_USAGE;
    UseJsonErrors(options.m_json);
    Formatter formatter(options, given);
    int exitCode = EXIT_OK;
    for (const std::string& path : options.m_files.empty() ? std::vector<std::string>{"-"} : options.m_files)
        exitCode = std::max(exitCode, formatter.Format(path));
    return exitCode;
}

} // namespace kelm::tool
