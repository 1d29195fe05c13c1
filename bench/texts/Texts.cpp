#include "Texts.h"

#include "../support/Random.h"
#include "Digest.h"
#include "PlainClasses.h"
#include "TextWriter.h"

#include <stdexcept>

namespace kelm::bench
{

namespace
{

// --- Values

class Filler
{
public:
    Filler(const TextKind& kind, std::uint64_t seed, double scale)
        : m_kind(kind)
        , m_random(seed)
        , m_elements(static_cast<long>(static_cast<double>(kind.m_elements) * scale *
                                       static_cast<double>(Between(m_random, 80, 120)) / 100.0))
    {
    }

    void Fill(plain::Tree& tree)
    {
        plain::Tree* at = &tree;
        for (m_units = 0; m_units < m_elements; ++m_units)
        {
            Fill(at->value);
            at = &at->inner.emplace_back();
        }
    }

    template <class T>
    void Fill(T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            value = m_random() % 2 == 0;
        else if constexpr (std::is_same_v<T, std::int64_t>)
            value = RandomInteger(19);
        else if constexpr (std::is_integral_v<T>)
            value = static_cast<T>(RandomInteger(5));
        else if constexpr (std::is_floating_point_v<T>)
            value = m_kind.m_areDoublesLong ? RandomLongDouble() : RandomPrice();
        else if constexpr (std::is_enum_v<T>)
            value = static_cast<T>(m_random() % NamesOf(T()).size());
        else if constexpr (std::is_same_v<T, plain::String>)
            value = RandomString();
        else if constexpr (std::is_same_v<T, plain::Counts>)
        {
            const std::string shared(m_kind.m_sharedCharacters, 'k');
            while (static_cast<long>(value.size()) < m_elements)
                value.emplace(shared + RandomWord(m_random, 8, 16), RandomInteger(7));
            m_units += m_elements;
            return;
        }
        else if constexpr (requires { value.emplace_back(); })
        {
            // The outermost list is as long as the kind says, inner ones are short.
            const std::int64_t count = m_depth++ == 0 ? m_elements : CountInside<typename T::value_type>();
            for (std::int64_t i = 0; i < count; ++i)
                Fill(value.emplace_back());
            --m_depth;
            return;
        }
        else
        {
            ForEachMember(value, [this](const char*, auto& member) { Fill(member); });
            return;
        }
        ++m_units;
    }

    long GetUnits() const { return m_units; }

private:
    template <class Element>
    std::int64_t CountInside()
    {
        if constexpr (std::is_floating_point_v<Element>)
            return 3; // a point, a colour
        else
            return Between(m_random, std::is_arithmetic_v<Element> ? 1 : 0, 5);
    }

    // Every number of digits is as likely as any other, and one in four is negative.
    std::int64_t RandomInteger(int mostDigits)
    {
        std::int64_t bound = 10;
        for (std::int64_t digits = Between(m_random, 1, mostDigits); digits > 1 && bound <= INT64_MAX / 10; --digits)
            bound *= 10;
        const std::int64_t value = Between(m_random, bound == 10 ? 0 : bound / 10, bound - 1);
        return m_random() % 4 == 0 ? -value : value;
    }

    // As many of each power of ten from a ten-thousandth to a million.
    double RandomLongDouble()
    {
        double value = static_cast<double>(m_random() >> 11) / 9007199254740992.0; // 53 random bits
        for (std::int64_t power = Between(m_random, -4, 6); power != 0; power += power < 0 ? 1 : -1)
            value = power < 0 ? value / 10 : value * 10;
        return m_random() % 4 == 0 ? -value : value;
    }

    double RandomPrice()
    {
        static constexpr double s_fractions[] = {1, 10, 100, 100, 1000};
        const double value =
            static_cast<double>(Between(m_random, 0, 999'999)) / s_fractions[m_random() % std::size(s_fractions)];
        return m_random() % 8 == 0 ? -value : value;
    }

    std::string RandomString()
    {
        const bool isList = m_kind.m_unit[0] == 's'; // a list of strings has longer ones than a record
        std::string text = isList ? RandomSentence(m_random) : RandomWord(m_random, 2, 16);
        if (m_random() % 4 == 0)
            text += ' ' + RandomSentence(m_random);
        switch (m_kind.m_characters)
        {
        case Characters::Plain: break;
        case Characters::SomeEscaped:
            if (m_random() % 20 == 0)
                EscapeOne(text[m_random() % text.size()]);
            break;
        case Characters::ManyEscaped:
            for (char& c : text)
                if (m_random() % 20 == 0)
                    EscapeOne(c);
            break;
        case Characters::NonAscii: text = WithNonAscii(text); break;
        }
        return text;
    }

    void EscapeOne(char& c) { c = "\n\n\t\"\"\\"[m_random() % 6]; }

    std::string WithNonAscii(const std::string& text)
    {
        static constexpr std::string_view s_characters[] = {"ä", "é", "ß", "ж", "λ", "中", "文", "€", "😀"};
        std::string made;
        for (const char c : text)
            if (m_random() % 3 == 0)
                made += s_characters[m_random() % std::size(s_characters)];
            else
                made += c;
        return made;
    }

    const TextKind& m_kind;
    Random m_random;
    long m_elements;
    int m_depth = 0;
    long m_units = 0;
};

template <class Class>
Text MakeTextOf(Root root, const char* className, const TextKind& kind, std::uint64_t seed, double scale)
{
    Class object;
    Filler filler(kind, seed, scale);
    filler.Fill(object);

    // What programs write as JSON is compact where nobody is to read it.
    Layout jsonLayout = kind.m_layout;
    jsonLayout.m_hasComments = false;
    if (jsonLayout.m_spacing == Spacing::Spaced)
        jsonLayout.m_spacing = Spacing::Compact;
    return {root,
            TextWriter(s_dataSource, kind.m_layout, kind.m_areDoublesLong, seed)
                .Write(std::string("ours::") + className, object),
            TextWriter(s_json, jsonLayout, kind.m_areDoublesLong, seed).Write("", object), DigestOf(object),
            filler.GetUnits()};
}

} // namespace

const std::vector<TextKind>& GetTextKinds()
{
    static const std::vector<Root> integers = {Root::Integers, Root::Samples, Root::Histogram};
    static const std::vector<Root> doubles = {Root::Doubles, Root::Signal};
    static const std::vector<Root> records = {Root::Readings, Root::Trades, Root::People, Root::Mesh, Root::Flights};
    static const std::vector<Root> configurations = {Root::Configuration, Root::Pipeline, Root::Scene};
    static const std::vector<Root> strings = {Root::Strings, Root::Lines};
    static const std::vector<Root> maps = {Root::Tally, Root::Index};

    constexpr Layout compact;
    constexpr Layout spaced = {Spacing::Spaced};
    constexpr Layout pretty = {Spacing::Pretty};
    constexpr Layout withReturns = {Spacing::Pretty, false, "\r\n"};
    constexpr Layout commented = {Spacing::Pretty, true};

    static const std::vector<TextKind> kinds = {
        {"integers", "value", integers, 20'000},
        {"integers, pretty-printed", "value", integers, 20'000, pretty},
        {"lists of integers", "value", {Root::Matrix}, 5'000, compact},
        {"doubles of 17 digits", "value", doubles, 20'000, compact, Characters::Plain, true},
        {"doubles of 17 digits, spaced", "value", doubles, 20'000, spaced, Characters::Plain, true},
        {"prices", "value", doubles, 20'000},
        {"records", "value", records, 2'000},
        {"records, spaced", "value", records, 2'000, spaced},
        {"records, pretty-printed", "value", records, 2'000, pretty},
        {"records, pretty-printed with CRLF", "value", records, 2'000, withReturns},
        {"records with comments", "value", records, 2'000, commented},
        {"configuration, compact", "value", configurations, 300},
        {"configuration", "value", configurations, 300, pretty},
        {"configuration with comments", "value", configurations, 300, commented},
        {"strings", "string", strings, 5'000},
        {"strings, one in twenty with an escape", "string", strings, 5'000, compact, Characters::SomeEscaped},
        {"strings, one character in twenty escaped", "string", strings, 5'000, compact, Characters::ManyEscaped},
        {"strings, non-ASCII", "string", strings, 5'000, compact, Characters::NonAscii},
        {"ordered map of random strings", "entry", maps, 20'000},
        {"ordered map, keys share 8 characters", "entry", maps, 20'000, compact, Characters::Plain, false, 8},
        {"ordered map, keys share 16 characters", "entry", maps, 20'000, compact, Characters::Plain, false, 16},
        {"ordered map, keys share 40 characters", "entry", maps, 20'000, compact, Characters::Plain, false, 40},
        {"levels of classes", "level", {Root::Tree}, 10'000},
    };
    return kinds;
}

Text MakeText(const TextKind& kind, std::uint64_t seed, double scale)
{
    const Root root = kind.m_roots[(seed - 1) % kind.m_roots.size()];
    switch (root)
    {
#define BENCH_MAKE_TEXT(NAME)                                                                                          \
    case Root::NAME: return MakeTextOf<plain::NAME>(root, #NAME, kind, seed, scale);
        BENCH_ROOT_CLASSES(BENCH_MAKE_TEXT)
#undef BENCH_MAKE_TEXT
    }
    throw std::logic_error("no such class");
}

} // namespace kelm::bench
