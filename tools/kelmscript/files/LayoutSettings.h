#pragma once

#include "../reporting/Diagnostics.h"

#include <kelmDocument/Format.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kelm::tool
{

// What a project says of the layout of its files, in the nearest kelm.json: in a file's folder, or in one around it.
//
//     {"fmt": {"width": 100, "indent": 4}}
class LayoutSettings
{
public:
    // Is told what is wrong, with its place where that is in a text.
    using Complain = std::function<void(const std::string& message, const SourceText* text, std::size_t place)>;
    static void Report(const std::string& message, const SourceText* text, std::size_t place);

    // With what holds where settings say nothing.
    explicit LayoutSettings(const FormatOptions& otherwise = {}, Complain complain = Report)
        : m_otherwise(otherwise), m_complain(std::move(complain))
    {
    }

    // Of a file; of standard input those of the current folder. Nothing, after the complaint, where the settings are
    // wrong.
    std::optional<FormatOptions> Find(const std::string& path);

private:
    std::optional<FormatOptions> FindIn(const std::filesystem::path& folder);
    std::optional<FormatOptions> Read(const std::string& path) const;

    FormatOptions m_otherwise;
    Complain m_complain;
    std::map<std::filesystem::path, std::optional<FormatOptions>> m_found; // by folder
};

// What an option of a layout may be.
struct LayoutOption
{
    std::string_view m_name;
    std::size_t FormatOptions::*m_member;
    std::size_t m_least;
    std::size_t m_most;

    bool Allows(std::size_t value) const { return m_least <= value && value <= m_most; }
    std::string Rule() const { return "a number from " + std::to_string(m_least) + " to " + std::to_string(m_most); }
};
inline constexpr LayoutOption s_layoutOptions[] = {
    {"width", &FormatOptions::m_width, 20, 1000},
    {"indent", &FormatOptions::m_indent, 1, 16},
};

} // namespace kelm::tool
