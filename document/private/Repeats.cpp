#include <kelmDocument/private/Repeats.h>

#include <klUtils/StableSort.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/Space.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <utility>

namespace kelm
{

namespace
{

// The characters that a text is understood by, as far as its bodies go.
struct Marks
{
    static text::Lanes In(const text::Block& block)
    {
        return block.AreEqual('=') | block.AreEqual('{') | block.AreEqual('}') | block.AreEqual('"') |
               block.AreEqual('\'') | block.AreEqual('/') | block.AreEqual('#');
    }
    static bool In(char c) { return std::string_view("={}\"'/#").find(c) != std::string_view::npos; }
};

// Of a literal: what ends it, as the end of its line does, or an escape.
template <char Quote>
struct EndsOrEscapes
{
    static text::Lanes In(const text::Block& block)
    {
        return block.AreEqual(Quote) | block.AreEqual('\\') | block.AreEqual('\n');
    }
    static bool In(char c) { return c == Quote || c == '\\' || c == '\n'; }
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
    explicit Bodies(std::size_t most) : m_most(most) {}

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

    // Those that the text leaves open end with it.
    RepeatedMembers Take()
    {
        while (!m_begins.empty())
            Close();
        return std::move(m_repeats);
    }

private:
    using Iterator = std::vector<Name>::const_iterator;

    void CompareAll(Iterator begin)
    {
        for (Iterator i = begin; i != m_members.cend(); ++i)
            if (const Iterator former = std::find(begin, i, *i); former != i)
                Note(former->Get(), i->Get());
    }

    void SortAndCompare(Iterator begin)
    {
        std::vector<std::string_view> sorted;
        std::transform(begin, m_members.cend(), std::back_inserter(sorted),
                       [](const Name& name) { return name.Get(); });
        StableSort(sorted, std::less<>());
        std::vector<std::pair<std::string_view, std::string_view>> repeats;
        for (std::size_t i = 1, first = 0; i < sorted.size(); ++i)
            if (sorted[i] == sorted[first] && !sorted[i].empty())
                repeats.emplace_back(sorted[first], sorted[i]);
            else
                first = i;
        std::sort(repeats.begin(), repeats.end(),
                  [](const auto& a, const auto& b) { return a.second.data() < b.second.data(); });
        for (const auto& [former, member] : repeats)
            Note(former, member);
    }

    void Note(std::string_view former, std::string_view member)
    {
        if (m_repeats.m_members.size() < m_most)
            m_repeats.m_members.push_back({member, former});
        else
            ++m_repeats.m_numMore;
    }

    std::size_t m_most;
    RepeatedMembers m_repeats;
    std::vector<Name> m_members;
    std::vector<std::size_t> m_begins;
};

} // namespace

RepeatedMembers FindRepeatedMembers(std::string_view text, std::size_t most)
{
    Bodies bodies(most);
    const char* const begin = text.data();
    const char* const end = begin + text.size();
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
    return bodies.Take();
}

} // namespace kelm
