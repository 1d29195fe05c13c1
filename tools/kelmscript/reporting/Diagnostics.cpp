#include "Diagnostics.h"

#include "../commandline/Options.h"
#include "../json/JsonText.h"
#include "Output.h"
#include "Progress.h"

#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/files/FileDescriptor.h>
#include <klUtils/types.h>

#include <cstdlib>
#include <iterator>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

constexpr std::string_view s_bold = "\033[1m";
constexpr std::string_view s_green = "\033[1;32m";
constexpr std::string_view s_reset = "\033[0m";

struct SeverityStyle
{
    std::string_view m_name;
    std::string_view m_colour;
};

// Indexed by ESeverity.
constexpr SeverityStyle s_severities[] = {
    {"error: ", "\033[1;31m"}, {"warning: ", "\033[1;35m"}, {"note: ", "\033[1;36m"}};
static_assert(std::size(s_severities) == SEV_NOTE + 1);

// Empty where it is not set.
std::string_view EnvironmentVariable(ConstStringZ name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : std::string_view();
}

EColour s_colour = COLOUR_AUTO;
bool s_areErrorsJson = false;

bool UsesColour()
{
    static const bool s_isForColour = []
    {
        const std::string_view terminal = EnvironmentVariable("TERM");
        return isatty(STDERR_FILENO) != 0 && EnvironmentVariable("NO_COLOR").empty() && !terminal.empty() &&
               terminal != "dumb";
    }();
    return s_colour == COLOUR_ALWAYS || (s_colour == COLOUR_AUTO && s_isForColour);
}

// A message, which is written as one.
class Message
{
public:
    void Put(std::string_view text) { m_text += text; }

    void PutColoured(std::string_view colour, std::string_view text)
    {
        if (!UsesColour())
            return Put(text);
        Put(colour);
        Put(text);
        Put(s_reset);
    }

    void Write() const
    {
        FlushOutput();
        const Progress::Pause pause;
        static_cast<void>(WriteAll(STDERR_FILENO, m_text)); // there is nobody else to tell
    }

private:
    std::string m_text;
};

void PutLineWithCaret(Message& text, const Excerpt& excerpt)
{
    text.Put(excerpt.m_line);
    text.Put("\n");
    text.Put(excerpt.m_blanks);
    text.PutColoured(s_green, excerpt.m_caret);
    text.Put("\n");
}

// One that is made already: a line, and below it blanks and carets.
void PutExcerpt(Message& text, std::string_view excerpt)
{
    const std::size_t caret = excerpt.rfind('^');
    text.Put(excerpt.substr(0, caret));
    text.PutColoured(s_green, excerpt.substr(caret));
    text.Put("\n");
}

// The first line of every message.
void PutHeading(Message& text, ESeverity severity, const std::string& where, std::string_view message)
{
    text.PutColoured(s_bold, where);
    text.PutColoured(s_severities[severity].m_colour, s_severities[severity].m_name);
    text.PutColoured(s_bold, Shown(message));
    text.Put("\n");
}

void ReportAboutNoText(ESeverity severity, std::string_view message)
{
    Message text;
    PutHeading(text, severity, "kelmscript: ", message);
    text.Write();
}

} // namespace

void SetColour(EColour colour)
{
    s_colour = colour;
}

void UseJsonErrors(bool isJson)
{
    s_areErrorsJson = isJson;
}

namespace
{

void ReportWith(std::string_view excerpt, ESeverity severity, const SourceText& source, std::size_t offset,
                std::string_view message)
{
    const Place place = PlaceOf(source, offset);
    Message text;
    PutHeading(text, severity,
               Shown(source.m_name) + ":" + std::to_string(place.m_line) + ":" + std::to_string(place.m_column) + ": ",
               message);
    if (excerpt.empty())
        PutLineWithCaret(text, ExcerptAt(source, offset));
    else
        PutExcerpt(text, excerpt);
    text.Write();
}

} // namespace

void Report(ESeverity severity, const SourceText& source, std::size_t offset, std::string_view message)
{
    ReportWith({}, severity, source, offset, message);
}

void Report(const SourceText& source, const Failure& failure)
{
    if (s_areErrorsJson)
    {
        JsonText json(JSON_COMPACT);
        json.BeginObject();
        json.Name("error");
        WriteJson(json, failure, source);
        json.EndObject();
        return PutLine(json.GetText());
    }
    ReportWith(failure.m_excerpt, SEV_ERROR, source, failure.m_offset, failure.m_message);
    for (const Note& note : failure.m_notes)
        ReportWith(note.m_offset == failure.m_offset ? failure.m_excerpt : std::string(), SEV_NOTE, source,
                   note.m_offset, note.m_message);
}

void ReportError(std::string_view message, ConstStringZ kind)
{
    if (!s_areErrorsJson)
        return ReportAboutNoText(SEV_ERROR, message);
    JsonText json(JSON_COMPACT);
    json.BeginObject();
    json.Name("error");
    json.BeginObject();
    json.Name("kind");
    json.Text(kind);
    json.Name("message");
    json.Text(message);
    json.EndObject();
    json.EndObject();
    PutLine(json.GetText());
}

int ReportUsage(std::string_view message)
{
    ReportAboutNoText(SEV_ERROR, message);
    return EXIT_USAGE;
}

void ReportNote(std::string_view message)
{
    ReportAboutNoText(SEV_NOTE, message);
}

} // namespace kelm::tool
