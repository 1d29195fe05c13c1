// Data sources to JSON and back.

#include "Convert.h"

#include "../evaluation/Attempt.h"
#include "../files/DataSources.h"
#include "../files/Files.h"
#include "../json/JsonText.h"
#include "../json/JsonVariable.h"
#include "../json/SourceOfJson.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"
#include "../reporting/Suggest.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/private/RuledReading.h>
#include <klObject/objects/Collector.h>
#include <klUtils/text/ExpressionParser.h>

#include <optional>

namespace kelm::tool
{

namespace
{

constexpr std::string_view s_toJson = "json";
constexpr std::string_view s_toDataSource = "kds";

// JSON begins with a bracket, of which no data source does.
bool IsJson(const NamedText& file)
{
    const std::string_view text = file.Source().m_text;
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    return file.m_name.ends_with(".json") ||
           (begin != std::string_view::npos && (text[begin] == '{' || text[begin] == '['));
}

// What is wrong with the JSON, at a place in it.
void ReportJson(const SourceText& json, const std::string& message, std::size_t place)
{
    Failure failure{"syntax", message, place, {}};
    if (const auto unknown = FindUnknownName(message))
    {
        std::string hint = unknown->m_isClass && unknown->m_existing.empty() ? s_noClasses : unknown->TellExisting();
        if (!hint.empty())
            failure.m_notes.push_back({std::move(hint), place});
    }
    Report(json, failure);
}

std::optional<SourceOfJson> TranslateJson(const SourceText& json, const std::string& className)
{
    language::JsonFault fault;
    const std::optional<language::JsonTape> tape = language::JsonTape::Read(json.m_text, fault);
    if (!tape)
    {
        ReportJson(json, fault.m_message, fault.m_place);
        return std::nullopt;
    }
    try
    {
        return MakeSourceOfJson(*tape, className);
    }
    catch (const JsonMismatch& e)
    {
        ReportJson(json, e.what(), e.GetPlace());
        return std::nullopt;
    }
}

// The object that the JSON describes: what it gives replaces what a new object holds.
bool ReadWhole(const SourceText& json, const SourceOfJson& source, GcRoot& object)
{
    const SourceText text{json.m_name, source.m_text};
    ExpressionParser parser;
    std::string path;
    std::optional<Failure> failure = Attempt(text, parser,
                                             [&]
                                             {
                                                 parser.Init(text.View());
                                                 object = ReadObjectByRules(parser, {}, path);
                                             });
    if (!failure)
        return true;
    failure->m_offset = source.InJson(failure->m_offset);
    for (Note& note : failure->m_notes)
        note.m_offset = source.InJson(note.m_offset);
    Report(json, *failure);
    return false;
}

// Whether those who read a data source to the letter, by which lists are appended to, find the same object in the text.
bool IsSameToTheLetter(const SourceOfJson& source, ptr<IObject> object)
{
    const SourceText text{"", source.m_text};
    ExpressionParser parser;
    GcRoot other;
    const std::optional<Failure> failure = Attempt(text, parser,
                                                   [&]
                                                   {
                                                       parser.Init(text.View());
                                                       other = ParseDataSource(parser);
                                                   });
    if (failure)
        return false;
    JsonText a(JSON_COMPACT);
    JsonText b(JSON_COMPACT);
    WriteJson(a, object);
    WriteJson(b, other.get());
    return a.GetText() == b.GetText();
}

bool PutDataSource(const SourceText& json, const std::string& className)
{
    const Progress progress("converting " + std::string(json.m_name));
    const std::optional<SourceOfJson> source = TranslateJson(json, className);
    GcRoot object;
    if (!source || !ReadWhole(json, *source, object))
        return false;
    bool isSame = false;
    if (!TryWrite([&] { isSame = IsSameToTheLetter(*source, object.get()); }))
        return false;
    if (!isSame)
        return PutObject(object.get(), FORM_INDENTED);
    PutLine(source->m_text);
    return true;
}

bool PutJson(const SourceText& text)
{
    GcRoot object;
    return LoadDataSource(text, TRAILING_WARNS, object) && PutObject(object.get(), FORM_JSON);
}

} // namespace

int RunConvert(const Options& options)
{
    if (!options.m_to.empty() && options.m_to != s_toJson && options.m_to != s_toDataSource)
        return ReportUsage("--to: " + options.m_to + " is neither kds nor json");
    const std::optional<NamedText> file = ReadFile(options.m_file);
    if (!file)
        return EXIT_FAILED;
    const bool isFromJson = options.m_to.empty() ? IsJson(*file) : options.m_to == s_toDataSource;
    const bool isDone = isFromJson ? PutDataSource(file->Source(), options.m_class) : PutJson(file->Source());
    return isDone ? EXIT_OK : EXIT_FAILED;
}

} // namespace kelm::tool
