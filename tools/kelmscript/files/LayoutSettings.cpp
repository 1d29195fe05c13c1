#include "LayoutSettings.h"

#include "../reporting/Diagnostics.h"
#include "Files.h"

#include <kelmLanguage/JsonTape.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace kelm::tool
{

namespace
{

using language::JsonKind;
using language::JsonTape;
using language::JsonValue;

constexpr char s_fileName[] = "kelm.json";

// What is wrong with a setting.
struct SettingsError
{
    std::string m_message;
};

// Nothing where it is no whole number from 0 on.
std::optional<std::size_t> NumberOf(const JsonValue& value)
{
    std::size_t number = 0;
    const char* const end = value.m_text.data() + value.m_text.size();
    const auto [behind, error] = std::from_chars(value.m_text.data(), end, number);
    if (value.m_kind != JsonKind::Number || behind != end || error != std::errc())
        return std::nullopt;
    return number;
}

void TakeOption(FormatOptions& options, std::string_view name, const JsonValue& value)
{
    const auto* const option = std::find_if(std::begin(s_layoutOptions), std::end(s_layoutOptions),
                                            [&](const LayoutOption& row) { return row.m_name == name; });
    if (option == std::end(s_layoutOptions))
        throw SettingsError{"\"fmt\" has no \"" + std::string(name) + "\", only \"width\" and \"indent\""};
    const std::optional<std::size_t> number = NumberOf(value);
    if (!number || !option->Allows(*number))
        throw SettingsError{"\"" + std::string(name) + "\" is " + option->Rule()};
    options.*option->m_member = *number;
}

// take(name, value) for each member of the object at the i-th place of the tape.
template <class Take>
void ForEachMember(const JsonTape& tape, std::size_t object, const char* otherwise, Take&& take)
{
    if (tape[object].m_kind != JsonKind::Object)
        throw SettingsError{otherwise};
    for (std::size_t name = object + 1; name < tape[object].m_next; name = tape[name + 1].m_next)
        take(tape[name].m_text, name + 1);
}

FormatOptions OptionsOf(const JsonTape& tape, FormatOptions options)
{
    const auto takeSection = [&](std::string_view section, std::size_t values)
    {
        if (section != "fmt")
            throw SettingsError{"there is no setting \"" + std::string(section) + "\", only \"fmt\""};
        ForEachMember(tape, values, "\"fmt\" is an object, such as {\"width\": 100}",
                      [&](std::string_view name, std::size_t value) { TakeOption(options, name, tape[value]); });
    };
    ForEachMember(tape, 0, "settings are an object, such as {\"fmt\": {\"width\": 100}}", takeSection);
    return options;
}

} // namespace

void LayoutSettings::Report(const std::string& message, const SourceText* text, std::size_t place)
{
    if (text != nullptr)
        tool::Report(*text, {"syntax", message, place, {}});
    else
        ReportError(message, "file");
}

std::optional<FormatOptions> LayoutSettings::Read(const std::string& path) const
{
    std::string why;
    const std::optional<NamedText> file = TryReadFile(path, why);
    if (!file)
    {
        m_complain(UnreadableText(path, why), nullptr, 0);
        return std::nullopt;
    }
    const SourceText source = file->Source();
    language::JsonFault fault;
    const std::optional<JsonTape> tape = JsonTape::Read(source.m_text, fault);
    if (!tape)
    {
        m_complain(fault.m_message, &source, fault.m_place);
        return std::nullopt;
    }
    try
    {
        return OptionsOf(*tape, m_otherwise);
    }
    catch (const SettingsError& e)
    {
        m_complain(path + ": " + e.m_message, nullptr, 0);
        return std::nullopt;
    }
}

std::optional<FormatOptions> LayoutSettings::Find(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path == "-" ? s_fileName : path, error);
    return error ? m_otherwise : FindIn(whole.lexically_normal().parent_path());
}

std::optional<FormatOptions> LayoutSettings::FindIn(const std::filesystem::path& folder)
{
    if (const auto found = m_found.find(folder); found != m_found.end())
        return found->second;
    std::error_code error;
    const std::filesystem::path file = folder / s_fileName;
    std::optional<FormatOptions> options;
    if (std::filesystem::exists(file, error))
        options = Read(file);
    else
        options = folder.has_relative_path() ? FindIn(folder.parent_path()) : m_otherwise;
    m_found.emplace(folder, options);
    return options;
}

} // namespace kelm::tool
