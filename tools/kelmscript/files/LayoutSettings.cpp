#include "LayoutSettings.h"

#include "../reporting/Diagnostics.h"
#include "Files.h"

#include <kelmLanguage/JsonTape.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string_view>
#include <system_error>

namespace kelm::tool
{

namespace
{

using Json = nlohmann::json;

constexpr char s_fileName[] = "kelm.json";

// What is wrong with a setting.
struct SettingsError
{
    std::string m_message;
};

void TakeOption(FormatOptions& options, const std::string& name, const Json& value)
{
    const auto* const option = std::find_if(std::begin(s_layoutOptions), std::end(s_layoutOptions),
                                            [&](const LayoutOption& row) { return row.m_name == name; });
    if (option == std::end(s_layoutOptions))
        throw SettingsError{"\"fmt\" has no \"" + name + "\", only \"width\" and \"indent\""};
    if (!value.is_number_unsigned() || !option->Allows(value.get<std::size_t>()))
        throw SettingsError{"\"" + name + "\" is " + option->Rule()};
    options.*option->m_member = value.get<std::size_t>();
}

FormatOptions OptionsOf(const Json& settings)
{
    FormatOptions options;
    if (!settings.is_object())
        throw SettingsError{"settings are an object, such as {\"fmt\": {\"width\": 100}}"};
    for (const auto& [section, values] : settings.items())
    {
        if (section != "fmt")
            throw SettingsError{"there is no setting \"" + section + "\", only \"fmt\""};
        if (!values.is_object())
            throw SettingsError{"\"fmt\" is an object, such as {\"width\": 100}"};
        for (const auto& [name, value] : values.items())
            TakeOption(options, name, value);
    }
    return options;
}

// The message without the library's own heading.
std::string WhatIsWrong(const Json::parse_error& error)
{
    const std::string_view message = error.what();
    constexpr std::string_view heading = "syntax error ";
    const std::size_t begin = std::min(message.find(heading), message.size());
    return begin == message.size() ? "no JSON" : "no JSON: " + std::string(message.substr(begin));
}

std::optional<FormatOptions> ReadSettings(const std::string& path)
{
    const std::optional<NamedText> file = ReadFile(path);
    if (!file)
        return std::nullopt;
    const SourceText source = file->Source();
    try
    {
        const Json settings = Json::parse(source.m_text, nullptr, true, true);
        language::JsonFault fault; // what is written twice, which the values do not tell
        if (language::JsonTape::Read(source.m_text, fault))
            return OptionsOf(settings);
        Report(source, {"syntax", fault.m_message, fault.m_place, {}});
    }
    catch (const Json::parse_error& e)
    {
        const std::size_t place = std::min(e.byte, source.m_text.size() + 1);
        Report(source, {"syntax", WhatIsWrong(e), place - std::min<std::size_t>(place, 1), {}});
    }
    catch (const SettingsError& e)
    {
        ReportError(path + ": " + e.m_message, "file");
    }
    return std::nullopt;
}

} // namespace

std::optional<FormatOptions> LayoutSettings::Find(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path == "-" ? s_fileName : path, error);
    return error ? FormatOptions() : FindIn(whole.lexically_normal().parent_path());
}

std::optional<FormatOptions> LayoutSettings::FindIn(const std::filesystem::path& folder)
{
    if (const auto found = m_found.find(folder); found != m_found.end())
        return found->second;
    std::error_code error;
    const std::filesystem::path file = folder / s_fileName;
    std::optional<FormatOptions> options;
    if (std::filesystem::exists(file, error))
        options = ReadSettings(file);
    else
        options = folder.has_relative_path() ? FindIn(folder.parent_path()) : FormatOptions();
    m_found.emplace(folder, options);
    return options;
}

} // namespace kelm::tool
