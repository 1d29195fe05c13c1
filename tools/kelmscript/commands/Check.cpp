// Files are read plainly. One that fails, or is asked to be looked at whole, is diagnosed; in one of three forms.

#include "Check.h"

#include "../files/DataSources.h"
#include "../files/Files.h"
#include "../json/JsonText.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"
#include "../reporting/Suggest.h"

#include <kelm/private/errors/Suggest.h>
#include <kelmDocument/Diagnose.h>
#include <kelmLanguage/server/Uri.h>
#include <klObject/objects/Collector.h>
#include <klUtils/Version.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace kelm::tool
{

namespace
{

// What is wrong with a file.
struct Findings
{
    std::string m_name;
    std::vector<Diagnostic> m_diagnostics;
    bool m_isRight = true;
};

std::vector<Note> NotesOf(const Diagnostic& diagnostic)
{
    if (const auto unknown = FindUnknownName(diagnostic.m_message);
        unknown && unknown->m_isClass && unknown->m_existing.empty())
        return {{std::string(s_noClasses), diagnostic.m_notePlace}};
    if (diagnostic.m_note.empty())
        return {};
    return {{diagnostic.m_note, diagnostic.m_notePlace}};
}

bool IsError(const Diagnostic& diagnostic)
{
    return diagnostic.m_severity == Severity::Error;
}

// One more than are shown tells that there are more. Where a file turns out to be no text, however late, that is one
// error.
std::vector<Diagnostic> Diagnosed(const SourceText& source)
{
    std::vector<Diagnostic> diagnostics = Diagnose(source.m_text, s_mostDiagnostics + 1);
    if (std::any_of(diagnostics.begin(), diagnostics.end(), IsError) && IsBinary(source.m_text))
    {
        const std::size_t end = source.m_text.find('\0');
        std::erase_if(diagnostics, [&](const Diagnostic& d) { return d.m_place >= end; });
        diagnostics.push_back({Severity::Error, s_isNoText, end, {end, end + 1}, {}, 0});
    }
    return diagnostics;
}

// The diagnostics of a file, none where it need not be diagnosed; of one that is merely read, warnings are reported.
std::vector<Diagnostic> DiagnosticsOf(const SourceText& source, bool isWhole)
{
    const Progress progress("reading " + std::string(source.m_name));
    if (isWhole)
        return Diagnosed(source);
    GcRoot object;
    const std::optional<Failure> failure = TryLoadDataSource(source, TRAILING_WARNS, object);
    if (!failure)
        return {};
    CollectGarbage();
    std::vector<Diagnostic> diagnostics = Diagnosed(source);
    std::erase_if(diagnostics, [](const Diagnostic& d) { return !IsError(d); });
    if (diagnostics.empty()) // there was no memory for it
        diagnostics.push_back({Severity::Error, failure->m_message, failure->m_offset, {}, {}, 0});
    return diagnostics;
}

// --- Forms

class TextForm
{
public:
    void Add(const Findings& findings, const SourceText& source) const
    {
        for (const Diagnostic& diagnostic : findings.m_diagnostics)
        {
            Report(IsError(diagnostic) ? SEV_ERROR : SEV_WARNING, source, diagnostic.m_place, diagnostic.m_message);
            for (const Note& note : NotesOf(diagnostic))
                Report(SEV_NOTE, source, note.m_offset, note.m_message);
        }
        if (findings.m_isRight)
            PutLine(findings.m_name + ": ok");
    }
    void AddUnreadable(const std::string&, const std::string&) const {}
    void End() const {}
};

void PutSpan(JsonText& json, const SourceText& source, const Diagnostic& diagnostic, bool isSarif)
{
    const bool isAtEnd = diagnostic.m_token.IsEmpty();
    const Place begin = PlaceOf(source, isAtEnd ? diagnostic.m_place : diagnostic.m_token.m_begin);
    const Place end = isAtEnd ? begin : PlaceOf(source, diagnostic.m_token.m_end);
    json.Name(isSarif ? "startLine" : "line");
    json.Integer(begin.m_line);
    json.Name(isSarif ? "startColumn" : "column");
    json.Integer(begin.m_column);
    json.Name("endLine");
    json.Integer(end.m_line);
    json.Name("endColumn");
    json.Integer(end.m_column);
}

std::string_view LevelOf(const Diagnostic& diagnostic)
{
    return IsError(diagnostic) ? "error" : "warning";
}

// One object a line for each file.
class JsonForm
{
public:
    void Add(const Findings& findings, const SourceText& source) const
    {
        JsonText json(JSON_COMPACT);
        Begin(json, findings.m_name, findings.m_isRight);
        for (const Diagnostic& diagnostic : findings.m_diagnostics)
        {
            json.BeginObject();
            json.Name("severity");
            json.Text(LevelOf(diagnostic));
            json.Name("message");
            json.Text(diagnostic.m_message);
            PutSpan(json, source, diagnostic, false);
            for (const Note& note : NotesOf(diagnostic))
            {
                json.Name("note");
                json.Text(note.m_message);
            }
            json.EndObject();
        }
        End(json);
    }
    void AddUnreadable(const std::string& name, const std::string& message) const
    {
        JsonText json(JSON_COMPACT);
        Begin(json, name, false);
        json.BeginObject();
        json.Name("severity");
        json.Text("error");
        json.Name("message");
        json.Text(message);
        json.EndObject();
        End(json);
    }
    void End() const {}

private:
    static void Begin(JsonText& json, const std::string& name, bool isRight)
    {
        json.BeginObject();
        json.Name("file");
        json.Text(name);
        json.Name("ok");
        json.Bool(isRight);
        json.Name("diagnostics");
        json.BeginArray();
    }
    static void End(JsonText& json)
    {
        json.EndArray();
        json.EndObject();
        PutLine(json.GetText());
    }
};

// A log of SARIF 2.1.0, which code review shows beside the lines.
class SarifForm
{
public:
    SarifForm()
    {
        m_json.BeginObject();
        Put("$schema", "https://json.schemastore.org/sarif-2.1.0.json");
        Put("version", "2.1.0");
        m_json.Name("runs");
        m_json.BeginArray();
        m_json.BeginObject();
        m_json.Name("tool");
        m_json.BeginObject();
        m_json.Name("driver");
        m_json.BeginObject();
        Put("name", "kelmscript");
        Put("version", KELM_VERSION_TEXT);
        m_json.EndObject();
        m_json.EndObject();
        Put("columnKind", "unicodeCodePoints");
        m_json.Name("results");
        m_json.BeginArray();
    }

    void Add(const Findings& findings, const SourceText& source)
    {
        for (const Diagnostic& diagnostic : findings.m_diagnostics)
        {
            m_json.BeginObject();
            Put("level", LevelOf(diagnostic));
            std::string message = diagnostic.m_message;
            for (const Note& note : NotesOf(diagnostic))
                message += " (" + note.m_message + ")";
            m_json.Name("message");
            m_json.BeginObject();
            Put("text", message);
            m_json.EndObject();
            m_json.Name("locations");
            m_json.BeginArray();
            m_json.BeginObject();
            m_json.Name("physicalLocation");
            m_json.BeginObject();
            m_json.Name("artifactLocation");
            m_json.BeginObject();
            Put("uri", UriOf(findings.m_name));
            m_json.EndObject();
            m_json.Name("region");
            m_json.BeginObject();
            PutSpan(m_json, source, diagnostic, true);
            m_json.EndObject();
            m_json.EndObject();
            m_json.EndObject();
            m_json.EndArray();
            m_json.EndObject();
        }
    }
    void AddUnreadable(const std::string&, const std::string& message) { m_unreadable.push_back(message); }

    void End()
    {
        m_json.EndArray();
        m_json.Name("invocations");
        m_json.BeginArray();
        m_json.BeginObject();
        m_json.Name("executionSuccessful");
        m_json.Bool(m_unreadable.empty());
        if (!m_unreadable.empty())
            PutNotifications();
        m_json.EndObject();
        m_json.EndArray();
        m_json.EndObject();
        m_json.EndArray();
        m_json.EndObject();
        PutLine(m_json.GetText());
    }

private:
    void PutNotifications()
    {
        m_json.Name("toolExecutionNotifications");
        m_json.BeginArray();
        for (const std::string& message : m_unreadable)
        {
            m_json.BeginObject();
            Put("level", "error");
            m_json.Name("message");
            m_json.BeginObject();
            Put("text", message);
            m_json.EndObject();
            m_json.EndObject();
        }
        m_json.EndArray();
    }

    void Put(std::string_view name, std::string_view text)
    {
        m_json.Name(name);
        m_json.Text(text);
    }

    // A path as a reference relative to wherever the log is read, or a whole one.
    static std::string UriOf(const std::string& path)
    {
        return path.starts_with('/') ? language::UriOfPath(path) : language::PercentEncoded(path);
    }

    JsonText m_json{JSON_INDENTED};
    std::vector<std::string> m_unreadable; // why, one for each file
};

template <class Form>
int CheckAll(const Options& options, Form form)
{
    int exitCode = EXIT_OK;
    std::optional<Progress> progress;
    if (options.m_files.size() > 1)
        progress.emplace("checking");
    std::size_t numDone = 0;
    const bool isWhole = options.m_whole || options.m_json || options.m_sarif;
    for (const std::string& path : options.m_files)
    {
        Findings findings{NameOfFile(path), {}, true};
        std::string why;
        if (const std::optional<NamedText> file = TryReadFile(path, why))
        {
            findings.m_diagnostics = DiagnosticsOf(file->Source(), isWhole);
            const bool areThereMore = findings.m_diagnostics.size() > s_mostDiagnostics;
            if (areThereMore)
                findings.m_diagnostics.pop_back();
            for (const Diagnostic& diagnostic : findings.m_diagnostics)
                findings.m_isRight &= !IsError(diagnostic);
            form.Add(findings, file->Source());
            if (areThereMore)
                ReportNote("what else is wrong with " + findings.m_name + " is not shown");
        }
        else
        {
            findings.m_isRight = false;
            ReportUnreadable(findings.m_name, why);
            form.AddUnreadable(findings.m_name, UnreadableText(findings.m_name, why));
        }
        if (!findings.m_isRight)
            exitCode = EXIT_FAILED;
        if (progress)
            Progress::Tell(++numDone, options.m_files.size());
        CollectGarbage();
    }
    form.End();
    return exitCode;
}

} // namespace

int RunCheck(const Options& options)
{
    if (options.m_sarif)
        return CheckAll(options, SarifForm());
    return options.m_json ? CheckAll(options, JsonForm()) : CheckAll(options, TextForm());
}

} // namespace kelm::tool
