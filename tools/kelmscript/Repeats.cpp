#include "Repeats.h"

#include "Diagnostics.h"

#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/Space.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace kelm::tool
{

namespace
{

// The characters that a text which has been read is understood by, as far as its bodies go.
struct Marks
{
    static text::Lanes In(const text::Block& block)
    {
        return block.AreEqual('=') | block.AreEqual('{') | block.AreEqual('}') | block.AreEqual('"') |
               block.AreEqual('\'') | block.AreEqual('/') | block.AreEqual('#');
    }
    static bool In(char c) { return std::string_view("={}\"'/#").find(c) != std::string_view::npos; }
};

// Of a literal that is complete: what ends it, or an escape.
template <char Quote>
struct EndsOrEscapes
{
    static text::Lanes In(const text::Block& block) { return block.AreEqual(Quote) | block.AreEqual('\\'); }
    static bool In(char c) { return c == Quote || c == '\\'; }
};

template <char Quote>
const char* PastQuotesOf(const char* p, const char* end)
{
    for (++p; (p = text::FindFirst<EndsOrEscapes<Quote>>(p, end)) != end && *p == '\\';)
        p = end - p < 2 ? end : p + 2;
    return p != end ? p + 1 : end;
}

const char* PastQuotes(const char* p, const char* end)
{
    return *p == '"' ? PastQuotesOf<'"'>(p, end) : PastQuotesOf<'\''>(p, end);
}

// A slash begins a comment; anywhere else it could not be read.
const char* PastComment(const char* p, const char* end)
{
    const char* const past = p + 1 < end && p[1] == '*' ? text::SkipBlockComment(p, end) : text::SkipLine(p, end);
    return past != nullptr ? past : end;
}

// A member's name, known by where it ends: most are told apart by their last letters.
struct Name
{
    // The identifier before an equals sign, white space aside; comments there hide it.
    Name(const char* begin, const char* equal) : m_begin(begin), m_past(equal)
    {
        while (m_past != begin && text::Spaces::In(m_past[-1]))
            --m_past;
    }

    // Of the text in which it is.
    bool HasBefore(std::ptrdiff_t i) const { return m_past - m_begin > i && IsIdentifierCharacter(m_past[-1 - i]); }

    std::string_view Get() const
    {
        std::ptrdiff_t size = 0;
        while (HasBefore(size))
            ++size;
        return {m_past - size, static_cast<std::size_t>(size)};
    }

    friend bool operator==(const Name& a, const Name& b)
    {
        if (a.m_past[-1] != b.m_past[-1]) // a bracket stands before every member
            return false;
        std::ptrdiff_t i = 0;
        while (a.HasBefore(i) && b.HasBefore(i))
        {
            if (a.m_past[-1 - i] != b.m_past[-1 - i])
                return false;
            ++i;
        }
        return i > 0 && a.HasBefore(i) == b.HasBefore(i);
    }

    const char* m_begin; // of the text
    const char* m_past;
};

// The members of the bodies that are open, the innermost last.
class Bodies
{
public:
    explicit Bodies(const SourceText& source) : m_source(source) {}

    void Open() { m_begins.push_back(m_members.size()); }

    void Add(const Name& member)
    {
        if (!m_begins.empty())
            m_members.push_back(member);
    }

    void Close()
    {
        if (m_begins.empty())
            return;
        const Iterator begin = m_members.begin() + static_cast<std::ptrdiff_t>(m_begins.back());
        constexpr std::ptrdiff_t few = 12;
        if (m_members.cend() - begin <= few)
            CompareAll(begin);
        else
            SortAndCompare(begin);
        m_members.erase(begin, m_members.end());
        m_begins.pop_back();
    }

    // What was too much to show.
    void TellOfTheRest() const
    {
        if (m_numRepeats > s_mostShown)
            ReportNote(std::string(m_source.m_name) + ": " + std::to_string(m_numRepeats - s_mostShown) +
                       " more members are written twice");
    }

private:
    using Iterator = std::vector<Name>::const_iterator;

    void CompareAll(Iterator begin)
    {
        for (Iterator i = begin; i != m_members.cend(); ++i)
            if (const Iterator former = std::find(begin, i, *i); former != i)
                Warn(former->Get(), i->Get());
    }

    void SortAndCompare(Iterator begin)
    {
        std::vector<std::string_view> sorted;
        std::transform(begin, m_members.cend(), std::back_inserter(sorted),
                       [](const Name& name) { return name.Get(); });
        std::stable_sort(sorted.begin(), sorted.end());
        std::vector<std::pair<std::string_view, std::string_view>> repeats;
        for (std::size_t i = 1, first = 0; i < sorted.size(); ++i)
            if (sorted[i] == sorted[first] && !sorted[i].empty())
                repeats.emplace_back(sorted[first], sorted[i]);
            else
                first = i;
        std::sort(repeats.begin(), repeats.end(),
                  [](const auto& a, const auto& b) { return a.second.data() < b.second.data(); });
        for (const auto& [former, member] : repeats)
            Warn(former, member);
    }

    std::size_t OffsetOf(std::string_view member) const
    {
        return static_cast<std::size_t>(member.data() - m_source.m_text.data());
    }

    void Warn(std::string_view former, std::string_view member)
    {
        if (++m_numRepeats > s_mostShown)
            return;
        Report(SEV_WARNING, m_source, OffsetOf(member), "member '" + std::string(member) + "' is written twice");
        Report(SEV_NOTE, m_source, OffsetOf(former), "it is written here already");
    }

    static constexpr std::size_t s_mostShown = 10;

    const SourceText& m_source;
    std::size_t m_numRepeats = 0;
    std::vector<Name> m_members;
    std::vector<std::size_t> m_begins;
};

} // namespace

void WarnOfRepeats(const SourceText& source, std::size_t size)
{
    Bodies bodies(source);
    const char* const begin = source.m_text.data();
    const char* const end = begin + size;
    for (const char* p = begin; (p = text::FindFirst<Marks>(p, end)) != end;)
        switch (*p)
        {
        case '=': bodies.Add(Name(begin, p++)); break;
        case '{':
            bodies.Open();
            ++p;
            break;
        case '}':
            bodies.Close();
            ++p;
            break;
        case '#': p = text::SkipLine(p, end); break;
        case '/': p = PastComment(p, end); break;
        default: p = PastQuotes(p, end); break;
        }
    bodies.TellOfTheRest();
}

} // namespace kelm::tool
