#include <kelm/private/types/JsonText.h>

#include <kelm/private/errors/Source.h>
#include <klUtils/ToString.h>

#include <algorithm>
#include <cmath>

namespace kelm
{

namespace
{

constexpr std::size_t s_indent = 2;
constexpr int s_maxIndentedDepth = 16; // as of data sources that are written

std::string_view ViewOf(SubString text)
{
    return {text.begin(), static_cast<std::size_t>(text.size())};
}

// --- Texts

constexpr std::string_view s_replacement = "\xEF\xBF\xBD"; // U+FFFD

// How many of the octets that are no character could have begun one: together they become one U+FFFD.
std::size_t LengthOfNoCharacter(std::string_view text)
{
    const auto at = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
    const int lead = at(0);
    const int least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const int most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (lead < 0xE0 || lead > 0xF4 || at(1) < least || at(1) > most)
        return 1;
    return lead >= 0xF0 && (at(2) & 0xC0) == 0x80 ? 3 : 2;
}

bool IsPlain(char c)
{
    return ' ' <= c && c <= '~' && c != '"' && c != '\\';
}

// What an octet of ASCII is within quotes.
void PutAscii(std::string& out, char c)
{
    struct Escape
    {
        char m_character;
        char m_letter;
    };
    constexpr Escape escapes[] = {{'"', '"'},  {'\\', '\\'}, {'\b', 'b'}, {'\f', 'f'},
                                  {'\n', 'n'}, {'\r', 'r'},  {'\t', 't'}};
    for (const Escape& escape : escapes)
        if (escape.m_character == c)
        {
            out += '\\';
            out += escape.m_letter;
            return;
        }
    if (static_cast<unsigned char>(c) < ' ')
    {
        constexpr char digits[] = "0123456789abcdef";
        out += "\\u00";
        out += digits[c >> 4];
        out += digits[c & 15];
        return;
    }
    out += c;
}

} // namespace

// --- Layout

void JsonText::BreakLine()
{
    if (m_layout == JSON_COMPACT)
        return;
    m_text += '\n';
    m_text.append(s_indent * static_cast<std::size_t>(std::min(m_depth, s_maxIndentedDepth)), ' ');
}

// What stands between a value, or its name, and what is before it.
void JsonText::BeginValue()
{
    if (!m_isBehindName && m_depth > 0)
    {
        if (m_hasElements)
            m_text += ',';
        BreakLine();
    }
    m_isBehindName = false;
    m_hasElements = true;
}

void JsonText::Begin(char bracket)
{
    BeginValue();
    m_text += bracket;
    ++m_depth;
    m_hasElements = false;
}

void JsonText::End(char bracket)
{
    --m_depth;
    if (m_hasElements)
        BreakLine();
    m_text += bracket;
    m_hasElements = true; // of what is around: this one
}

void JsonText::Name(std::string_view name)
{
    BeginValue();
    Quoted(name);
    m_text += m_layout == JSON_COMPACT ? ":" : ": ";
    m_isBehindName = true;
}

// --- Scalars

void JsonText::Scalar(std::string_view text)
{
    BeginValue();
    m_text += text;
}

void JsonText::Integer(int64 value)
{
    Scalar(ViewOf(NumberText(static_cast<long>(value))));
}

void JsonText::Integer(uint64 value)
{
    Scalar(ViewOf(NumberText(static_cast<unsigned long>(value))));
}

template <class T>
void JsonText::AnyFloat(T value)
{
    const NumberText text(value);
    std::isfinite(value) ? Scalar(ViewOf(text)) : Text(ViewOf(text));
}

void JsonText::Float(float64 value)
{
    AnyFloat(value);
}

void JsonText::Float(float32 value)
{
    AnyFloat(value);
}

void JsonText::Text(std::string_view text)
{
    BeginValue();
    Quoted(text);
}

void JsonText::Quoted(std::string_view text)
{
    m_text += '"';
    while (!text.empty())
    {
        const auto plain = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        m_text += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const Character c = FirstCharacter(text);
        if (0 <= c.m_codePoint && c.m_codePoint < 0x80)
            PutAscii(m_text, text[0]);
        else
            m_text += c.m_codePoint < 0 ? s_replacement : c.m_octets;
        text.remove_prefix(c.m_codePoint < 0 ? LengthOfNoCharacter(text) : c.m_octets.size());
    }
    m_text += '"';
}

} // namespace kelm
