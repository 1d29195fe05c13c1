#include <kelm/private/errors/Excerpt.h>

#include <klUtils/types.h>

#include <algorithm>
#include <clocale>
#include <cwchar>

#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is not of the standard library

namespace kelm
{

namespace
{

constexpr std::string_view s_replacement = "\xEF\xBF\xBD"; // U+FFFD

bool IsControl(int32 codePoint)
{
    return codePoint < 0x20 || (0x7F <= codePoint && codePoint < 0xA0);
}

// While it lives, this thread asks about characters of UTF-8, whatever the program's locale is.
class Utf8Locale
{
public:
    Utf8Locale() : m_before(GetLocale() != locale_t() ? uselocale(GetLocale()) : locale_t()) {}
    ~Utf8Locale()
    {
        if (m_before != locale_t())
            uselocale(m_before);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    static locale_t GetLocale()
    {
        static const locale_t s_locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t());
        return s_locale;
    }

    locale_t m_before;
};

std::size_t WidthOf(int32 codePoint)
{
    if (codePoint < 0x80)
        return 1;
    const Utf8Locale locale;
    const int width = wcwidth(static_cast<wchar_t>(codePoint));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

// White space as wide as the text is on a terminal: a tab stays one, a wide character takes two columns.
std::string Blanks(std::string_view text)
{
    std::string blanks;
    while (!text.empty())
    {
        const Character c = FirstCharacter(text);
        if (c.m_codePoint == '\t')
            blanks += '\t';
        else
            blanks.append(WidthOf(c.m_codePoint), ' ');
        text.remove_prefix(c.m_octets.size());
    }
    return blanks;
}

std::string CaretUnder(std::string_view marked)
{
    std::string caret = Blanks(marked);
    std::replace_if(
        caret.begin(), caret.end(), [](char) { return true; }, '~');
    caret.resize(std::max<std::size_t>(caret.size(), 1));
    caret[0] = '^';
    return caret;
}

// Of a very long line only what lies around the place is shown.
constexpr std::size_t s_maxShownBefore = 120;
constexpr std::size_t s_maxShownBehind = 80;
constexpr std::string_view s_cut = "...";

bool IsInsideCharacter(std::string_view text, std::size_t i)
{
    return i < text.size() && (text[i] & 0xC0) == 0x80;
}

} // namespace

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

Excerpt ExcerptAt(const SourceText& source, std::size_t offset, std::size_t numMarked)
{
    const SourceLine line = LineAt(source, offset);
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
    Excerpt excerpt;
    excerpt.m_line.append(cutBefore).append(Shown(before)).append(Shown(behind)).append(cutBehind);
    excerpt.m_blanks.append(Blanks(cutBefore)).append(Blanks(before));
    excerpt.m_caret = CaretUnder(behind.substr(0, numMarked));
    return excerpt;
}

} // namespace kelm
