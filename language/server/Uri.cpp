#include <kelmLanguage/server/Uri.h>

namespace kelm::language
{

namespace
{

constexpr std::string_view s_digits = "0123456789ABCDEF";

int DigitOf(char c)
{
    const std::size_t digit = s_digits.find('a' <= c && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c);
    return digit != std::string_view::npos ? static_cast<int>(digit) : -1;
}

} // namespace

std::string PercentEncoded(std::string_view path)
{
    constexpr std::string_view plain = "-._~/";
    std::string uri;
    for (const char c : path)
    {
        const auto octet = static_cast<unsigned char>(c);
        const bool isLetter = ('a' <= (c | 0x20) && (c | 0x20) <= 'z') || ('0' <= c && c <= '9');
        if (isLetter || plain.find(c) != std::string_view::npos)
            uri += c;
        else
            uri += {'%', s_digits[octet >> 4], s_digits[octet & 15]};
    }
    return uri;
}

std::string UriOfPath(std::string_view path)
{
    return "file://" + PercentEncoded(path);
}

std::optional<std::string> PathOfUri(std::string_view uri)
{
    constexpr std::string_view scheme = "file://";
    if (!uri.starts_with(scheme))
        return std::nullopt;
    uri.remove_prefix(scheme.size());
    const std::size_t slash = uri.find('/');
    if (slash == std::string_view::npos || (slash > 0 && uri.substr(0, slash) != "localhost"))
        return std::nullopt;
    std::string path;
    for (std::size_t i = slash; i < uri.size(); ++i)
    {
        if (uri[i] != '%')
        {
            path += uri[i];
            continue;
        }
        const int high = i + 2 < uri.size() ? DigitOf(uri[i + 1]) : -1;
        const int low = high >= 0 ? DigitOf(uri[i + 2]) : -1;
        if (low < 0 || high * 16 + low == 0)
            return std::nullopt;
        path += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return path;
}

} // namespace kelm::language
