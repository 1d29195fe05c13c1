#include <kelmLanguage/server/Session.h>

#include <kelmLanguage/server/Uri.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>

namespace kelm::language
{

namespace
{

// Of the files of a workspace that are looked through for one request: what keeps the answer within its time.
constexpr std::size_t s_mostOctets = std::size_t{16} << 20;
constexpr std::size_t s_mostFiles = 2000;
constexpr std::size_t s_mostEntries = 50000; // of folders
constexpr std::string_view s_extension = ".kds";

Json JsonOf(LinePlace place)
{
    return {{"line", place.m_line}, {"character", place.m_unit}};
}

// A number of a position; what is below zero is no place.
std::size_t CountOf(const Json& position, const char* name)
{
    const long long count = GetInteger(position, name);
    if (count < 0)
        throw RequestError{ERROR_INVALID_PARAMS, std::string("'") + name + "' is negative"};
    return static_cast<std::size_t>(count);
}

} // namespace

OpenText& Session::GetOpen(const Json& params)
{
    const auto text = m_texts.find(GetText(Get(params, "textDocument"), "uri"));
    if (text == m_texts.end())
        throw RequestError{ERROR_INVALID_PARAMS, "the document is not open"};
    return text->second;
}

Json Session::JsonOf(const LinedText& text, Span span) const
{
    return {{"start", language::JsonOf(text.m_lines.PlaceOf(text.GetText(), span.m_begin, m_units))},
            {"end", language::JsonOf(text.m_lines.PlaceOf(text.GetText(), span.m_end, m_units))}};
}

std::size_t Session::OffsetOf(const LinedText& text, const Json& position) const
{
    return text.m_lines.OffsetOf(text.GetText(), {CountOf(position, "line"), CountOf(position, "character")}, m_units);
}

Span Session::SpanOf(const LinedText& text, const Json& range) const
{
    const std::size_t begin = OffsetOf(text, Get(range, "start"));
    return {begin, std::max(begin, OffsetOf(text, Get(range, "end")))};
}

std::size_t Session::LengthOf(std::string_view text) const
{
    if (m_units == Units::Utf8)
        return text.size();
    std::size_t length = 0;
    for (const char c : text)
    {
        const auto octet = static_cast<unsigned char>(c);
        length += (octet & 0xC0) == 0x80 ? 0 : octet >= 0xF0 ? 2 : 1;
    }
    return length;
}

void Session::ForEachText(const std::function<void(const std::string&, const LinedText&)>& call) const
{
    namespace fs = std::filesystem;
    std::set<std::string> open; // as paths
    for (const auto& [uri, text] : m_texts)
    {
        if (const auto path = PathOfUri(uri))
            open.insert(*path);
        if (!text.IsHuge())
            call(uri, text);
    }
    std::size_t octets = 0;
    std::size_t files = 0;
    std::size_t entries = 0;
    std::error_code error;
    for (const std::string& root : m_roots)
    {
        fs::recursive_directory_iterator walk(root, fs::directory_options::skip_permission_denied, error);
        for (const fs::recursive_directory_iterator end; !error && walk != end; walk.increment(error))
        {
            if (++entries > s_mostEntries)
                return;
            const std::string name = walk->path().filename().string();
            std::error_code ignored;
            if (walk->is_directory(ignored))
            {
                if (name.starts_with('.'))
                    walk.disable_recursion_pending();
                continue;
            }
            if (!name.ends_with(s_extension) || !walk->is_regular_file(ignored) || open.contains(walk->path().string()))
                continue;
            octets += walk->file_size(ignored);
            if (ignored || octets > s_mostOctets || ++files > s_mostFiles)
                return;
            std::ifstream file(walk->path(), std::ios::binary);
            call(UriOfPath(walk->path().string()),
                 LinedText(std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())));
        }
    }
}

} // namespace kelm::language
