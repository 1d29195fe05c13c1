#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace kelm
{

// The path of a file: a std::filesystem::path, or a text, as it is. (The header of the former is heavier than all of
// ours; whoever has one has included it.)
class FilePath
{
public:
    FilePath(const char* path) : m_path(path) {}
    FilePath(std::string_view path) : m_path(path) {}
    FilePath(std::string path) : m_path(std::move(path)) {}
    template <class Path>
    requires requires(const Path& path)
    {
        path.lexically_normal();
        std::string(path.native());
    }
    FilePath(const Path& path) : m_path(path.native()) {}

    const std::string& GetText() const& { return m_path; }
    std::string GetText() && { return std::move(m_path); }

private:
    std::string m_path;
};

} // namespace kelm
