#include "Diagnostics.h"

#include "FileDescriptor.h"
#include "Output.h"

#include <klUtils/types.h>

#include <clocale>
#include <cstdlib>
#include <cwchar>
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
        static_cast<void>(WriteAll(STDERR_FILENO, m_text)); // there is nobody else to tell
    }

private:
    std::string m_text;
};

constexpr std::string_view s_replacement = "\xEF\xBF\xBD"; // U+FFFD

bool IsControl(int32 codePoint)
{
    return codePoint < 0x20 || (0x7F <= codePoint && codePoint < 0xA0);
}

// A text as a terminal may have it: control characters, tabs excepted, and octets that are no character become U+FFFD.
std::string Shown(std::string_view text)
{
    std::string shown;
    while (!text.empty())
    {
        const Character c = FirstCharacter(text);
        const bool isHarmless = c.m_codePoint == '\t' || (c.m_codePoint != -1 && !IsControl(c.m_codePoint));
        shown += isHarmless ? c.m_octets : s_replacement;
        text.remove_prefix(c.m_octets.size());
    }
    return shown;
}

// Texts are UTF-8 wherever the tool runs.
int WidthOf(int32 codePoint)
{
    static const char* const s_locale = std::setlocale(LC_CTYPE, "C.UTF-8");
    static_cast<void>(s_locale);
    return wcwidth(static_cast<wchar_t>(codePoint));
}

// White space as wide as the text is on a terminal: a tab stays one, a wide character takes two columns.
std::string Blanks(std::string_view text)
{
    std::string blanks;
    while (!text.empty())
    {
        const Character c = FirstCharacter(text);
        const int width = c.m_codePoint < 0x80 ? 1 : WidthOf(c.m_codePoint);
        if (c.m_codePoint == '\t')
            blanks += '\t';
        else
            blanks.append(static_cast<std::size_t>(width < 0 ? 1 : width), ' ');
        text.remove_prefix(c.m_octets.size());
    }
    return blanks;
}

// Of a very long line only what lies around the place is shown.
constexpr std::size_t s_maxShownBefore = 120;
constexpr std::size_t s_maxShownBehind = 80;
constexpr std::string_view s_cut = "...";

bool IsInsideCharacter(std::string_view text, std::size_t i)
{
    return i < text.size() && (text[i] & 0xC0) == 0x80;
}

void PutLineWithCaret(Message& text, const SourceLine& line)
{
    std::string_view before = line.m_text.substr(0, line.m_offset);
    std::string_view behind = line.m_text.substr(line.m_offset);
    std::string_view cutBefore;
    std::string_view cutBehind;
    if (before.size() > s_maxShownBefore)
    {
        std::size_t cut = before.size() - s_maxShownBefore;
        while (IsInsideCharacter(before, cut))
            ++cut;
        before.remove_prefix(cut);
        cutBefore = s_cut;
    }
    if (behind.size() > s_maxShownBehind)
    {
        std::size_t cut = s_maxShownBehind;
        while (IsInsideCharacter(behind, cut))
            --cut;
        behind = behind.substr(0, cut);
        cutBehind = s_cut;
    }
    text.Put(cutBefore);
    text.Put(Shown(before));
    text.Put(Shown(behind));
    text.Put(cutBehind);
    text.Put("\n");
    text.Put(Blanks(cutBefore));
    text.Put(Blanks(before));
    text.PutColoured(s_green, "^");
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

void Report(ESeverity severity, const SourceText& source, std::size_t offset, std::string_view message)
{
    const Place place = PlaceOf(source, offset);
    Message text;
    PutHeading(text, severity,
               Shown(source.m_name) + ":" + std::to_string(place.m_line) + ":" + std::to_string(place.m_column) + ": ",
               message);
    PutLineWithCaret(text, LineAt(source, offset));
    text.Write();
}

void Report(const SourceText& source, const Failure& failure)
{
    Report(SEV_ERROR, source, failure.m_offset, failure.m_message);
    for (const Note& note : failure.m_notes)
        Report(SEV_NOTE, source, note.m_offset, note.m_message);
}

void ReportError(std::string_view message)
{
    ReportAboutNoText(SEV_ERROR, message);
}

void ReportNote(std::string_view message)
{
    ReportAboutNoText(SEV_NOTE, message);
}

} // namespace kelm::tool
