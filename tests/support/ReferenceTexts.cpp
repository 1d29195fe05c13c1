#include <support/InCLocale.h>
#include <support/ReferenceTexts.h>

#include <cmath>
#include <cstdio>

namespace kelm::reference
{

namespace
{

constexpr std::size_t s_maxDamagedSize = 4000; // what is written twice shall not grow for ever

std::string AnyOf(Random& random, const std::string& characters, std::size_t length)
{
    std::string text;
    while (text.size() < length)
        text += characters[random.Below(characters.size())];
    return text;
}

std::string AnyComment(Random& random)
{
    static const std::string s_characters = " ab/*'\"\\#\r{}[]=,0123456789\xc3\xa9";
    static const std::string s_inBlock = s_characters + "\n\n";
    switch (random.Below(4))
    {
    case 0: return "//" + AnyOf(random, s_characters, AnyLength(random)) + "\n";
    case 1: return "\n#" + AnyOf(random, s_characters, AnyLength(random)) + "\n";
    case 2: return "/**/";
    }
    std::string text = AnyOf(random, s_inBlock, AnyLength(random));
    for (std::size_t at = text.find("*/"); at != std::string::npos; at = text.find("*/"))
        text[at + 1] = '*';
    if (!text.empty() && text[0] == '/')
        text[0] = 'a';
    return "/*" + text + "*/";
}

// Contents of a quoted text.
std::string AnyContents(Random& random)
{
    static const char* const s_parts[] = {
        "\\n",  "\\\\", "\\'", "\\\"", "\\0", "\\x41", "\\xfF", "\\u00e9", "\\u20ac", "\\U0001F600",     "\xc3\xa9",
        "\x80", "\t",   "\r",  "a",    " ",   "//",    "/*",    "#",       "{",       "\xf0\x9f\x98\x80"};
    static const char* const s_wrong[] = {"\\q",         "\\x4",       "\\xg1",      "\\u12", "\\ud800",
                                          "\\U00110000", "\\U1234567", "\\\xc3\xa9", "\\ ",   "\\1"};
    static const std::string s_plain = "abcdefghijklmnopqrstuvwxyz ABC.,-_0123456789";
    std::string text = AnyOf(random, s_plain, AnyLength(random));
    if (random.OneIn(3))
        for (std::size_t n = 1 + random.Below(random.OneIn(4) ? 40 : 4); n > 0; --n)
            text += random.Of(s_parts) + AnyOf(random, s_plain, random.Below(random.OneIn(2) ? 3 : 30));
    if (random.OneIn(100))
        text.insert(random.Below(text.size() + 1), random.Of(s_wrong));
    if (random.OneIn(100))
        text.insert(random.Below(text.size() + 1), 1, '\0');
    return text;
}

} // namespace

uint64 Random::Next()
{
    uint64 z = m_state += 0x9e3779b97f4a7c15u;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9u;
    z = (z ^ z >> 27) * 0x94d049bb133111ebu;
    return z ^ z >> 31;
}

std::size_t AnyLength(Random& random)
{
    static constexpr std::size_t s_blocks[] = {8, 16, 24, 32, 48, 64, 96, 128};
    switch (random.Below(16))
    {
    case 0:
    case 1:
    case 2: return random.Of(s_blocks) + random.Below(5) - 2;
    case 3: return random.Below(random.OneIn(16) ? 600 : 80);
    }
    return random.Below(10);
}

std::string AnySpace(Random& random)
{
    static const char* const s_spaces[] = {"",   "",   "",     "",     " ",      " ",  " ",   " ",
                                           "\n", "\t", "\r\n", "\n  ", "\n    ", "  ", "\v\f"};
    if (random.OneIn(12))
        return std::string(random.Of(s_spaces)) + AnyComment(random) + random.Of(s_spaces);
    if (random.OneIn(12))
        return AnyOf(random, " \n\t\r", AnyLength(random));
    return random.Of(s_spaces);
}

std::string AnyBreak(Random& random)
{
    const std::string space = AnySpace(random);
    return space.empty() ? " " : space;
}

std::string AnyName(Random& random)
{
    static const std::string s_starts = "abcdefghijklmnopqrstuvwxyzABCXYZ_";
    static const std::string s_parts = s_starts + "0123456789";
    return AnyOf(random, s_starts, 1) + AnyOf(random, s_parts, AnyLength(random));
}

std::string AnyDigits(Random& random)
{
    std::string digits = std::to_string(random.Next() >> random.Below(64));
    if (random.OneIn(16))
        digits.insert(0, AnyLength(random), '0');
    if (random.OneIn(16))
        digits += AnyOf(random, "0123456789", AnyLength(random));
    return digits;
}

std::string AnyNumberNearLimits(Random& random)
{
    const std::size_t bits = std::size_t{8} << random.Below(4);
    const uint64 limit = (uint64{1} << (bits - 1)) - 1;
    const uint64 value = (random.OneIn(2) ? limit : 2 * limit + 1) + random.Below(4) - 1;
    if (random.OneIn(4))
    {
        char text[32];
        std::snprintf(text, sizeof text, random.OneIn(2) ? "0x%llx" : "0X%llX", static_cast<unsigned long long>(value));
        return text;
    }
    static const char* const s_beyond[] = {"18446744073709551616", "18446744073709551615", "9223372036854775808",
                                           "0x10000000000000000",  "0xffffffffffffffff",   "99999999999999999999"};
    return random.OneIn(8) ? random.Of(s_beyond) : std::to_string(value);
}

namespace
{

// In the middle between two neighbours of the type, or the least bit beside it, where each rounds to another.
template <class Float>
std::string NearMiddle(Random& random)
{
    const auto lower = static_cast<Float>(static_cast<double>(1 + random.Below(1000)) +
                                          static_cast<double>(random.Next() >> 11) * 0x1p-53);
    const Float upper = std::nextafter(lower, Float(2000));
    char text[128];
    std::snprintf(text, sizeof text, "%.60Lf", (static_cast<long double>(lower) + static_cast<long double>(upper)) / 2);
    std::string number = text;
    number.erase(number.find_last_not_of('0') + 1);
    switch (random.Below(3))
    {
    case 0: number.back() = static_cast<char>(number.back() - 1); return number + "99999999999";
    case 1: return number + std::string(random.Below(20), '0') + "1";
    }
    return number;
}

} // namespace

std::string AnyFloat(Random& random)
{
    static const char* const s_edges[] = {"0.0",
                                          "1.",
                                          ".5",
                                          "0.1",
                                          "1e0",
                                          "1E+5",
                                          "1.5e-7",
                                          "1e22",
                                          "1e23",
                                          "9007199254740993.0",
                                          "9007199254740992.5",
                                          "4.9e-324",
                                          "2.4703282292062327e-324",
                                          "2.4703282292062328e-324",
                                          "2.2250738585072011e-308",
                                          "2.2250738585072014e-308",
                                          "1.7976931348623157e308",
                                          "1.7976931348623158e308",
                                          "1.7976931348623159e308",
                                          "1e308",
                                          "1e309",
                                          "1e400",
                                          "1e-400",
                                          "1e999999999999",
                                          "1e-999999999999",
                                          "0e999999999999",
                                          "3.4028234e38",
                                          "3.4028235e38",
                                          "3.4028236e38",
                                          "1e39",
                                          "16777217.0",
                                          "1.00000005960464477539062",
                                          "7.0064923216240854e-46",
                                          "7.006492321624085e-46",
                                          "123456789012345678901234567890.0",
                                          "0.000000000000000000000000000000000001"};
    switch (random.Below(7))
    {
    case 5: return random.OneIn(2) ? NearMiddle<float>(random) : NearMiddle<double>(random);
    case 0: return random.Of(s_edges);
    case 1:
    {
        const InCLocale here;
        char text[64];
        const double value = static_cast<double>(random.Next()) * 5e-20 - 0.4;
        std::snprintf(text, sizeof text, random.OneIn(2) ? "%.17g" : "%.6f", value < 0 ? -value : value);
        return text;
    }
    case 2: return AnyDigits(random) + "e" + std::to_string(random.Below(80));
    case 3: return AnyDigits(random) + "." + AnyDigits(random) + "e-" + std::to_string(random.Below(330));
    case 4: return AnyDigits(random) + ".";
    }
    return AnyDigits(random) + "." + AnyDigits(random);
}

std::string AnyNumber(Random& random)
{
    static const char* const s_wrong[] = {
        "12abc", "0x",    "1.x",  "1e",   "1e+",   "1.5.2", "1..2", "0xg", "1_000", "1u", "00012345678901234567890",
        "0x1.5", "1e5e5", "1.e5", ".5e1", "1e+5x", "0b1",   "0x_"};
    switch (random.Below(12))
    {
    case 0:
    case 1:
    case 2: return AnyFloat(random);
    case 3: return AnyNumberNearLimits(random);
    case 4:
        return random.OneIn(3) ? random.Of(s_wrong)
                               : "0x" + AnyOf(random, "0123456789abcdefABCDEF", 1 + AnyLength(random));
    }
    return random.OneIn(2) ? std::to_string(random.Below(1000)) : AnyDigits(random);
}

std::string AnyQuoted(Random& random)
{
    const char quote = random.OneIn(2) ? '\'' : '"';
    std::string contents = AnyContents(random);
    for (std::size_t at = 0; at < contents.size(); ++at)
        if (contents[at] == '\\')
            ++at;
        else if (contents[at] == quote)
            contents[at] = quote == '"' ? '\'' : '"';
    return quote + contents + quote;
}

std::string AnyOperator(Random& random)
{
    static const char* const s_operators[] = {
        "<",   ">",   "&",   "|",   "^",   "<=", ">=", "&=", "|=", "^=", "<<", ">>", "&&", "||", "^^",
        "<<=", ">>=", "&&=", "||=", "^^=", "+",  "-",  "*",  "/",  "%",  "!",  "=",  "?",  "++", "--",
        "+=",  "-=",  "*=",  "/=",  "%=",  "!=", "==", "?=", "->", ":",  "::", "$",  "$$", ".",  ",",
        ";",   "(",   ")",   "{",   "}",   "[",  "]",  "~",  "@",  "\\", "`",  "#"};
    return random.Of(s_operators);
}

std::string AnyBytes(Random& random)
{
    static constexpr char s_telling[] =
        "'\"\\\n\r\t */#0.eE+-x_[]{}()=,:\x7f\x80\xff\xc3\xa9"; // and the zero behind it
    std::string text;
    for (std::size_t n = 1 + random.Below(4); n > 0; --n)
        text += random.OneIn(3) ? static_cast<char>(random.Below(256)) : random.Of(s_telling);
    return text;
}

std::string AnyToken(Random& random)
{
    switch (random.Below(9))
    {
    case 0:
    case 1: return AnyName(random);
    case 2:
    case 3: return AnyNumber(random);
    case 4:
    case 5: return AnyQuoted(random);
    case 6: return random.OneIn(20) ? AnyBytes(random) : AnyOperator(random);
    }
    return AnyOperator(random);
}

void Damage(Random& random, std::string& text)
{
    for (std::size_t n = 1 + random.Below(random.OneIn(4) ? 6 : 2); n > 0; --n)
    {
        const std::size_t at = random.Below(text.size() + 1);
        const std::size_t size = random.OneIn(3) ? AnyLength(random) : 1;
        switch (random.Below(7))
        {
        case 0:
        case 1: text.erase(at, size); break;
        case 2:
            if (text.size() < s_maxDamagedSize)
                text.insert(at, text.substr(at, size));
            break;
        case 3:
            if (at < text.size())
                text[at] = AnyBytes(random)[0];
            break;
        case 4: text.insert(at, AnyBytes(random)); break;
        case 5: text.insert(at, random.OneIn(2) ? AnySpace(random) : AnyToken(random)); break;
        case 6: text.erase(random.OneIn(4) ? at : text.size()); break;
        }
    }
}

} // namespace kelm::reference
