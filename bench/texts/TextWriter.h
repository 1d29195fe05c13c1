#pragma once

// Writes an object of the plain classes as text, as a data source or as JSON.

#include "../support/Random.h"
#include "PlainClasses.h"
#include "Texts.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>

namespace kelm::bench
{

// What the two formats write differently.
struct Format
{
    const char* m_nameQuote;
    char m_behindName;
    const char* m_betweenMembers;
    const char* m_betweenKeyAndValue; // of a map
    char m_mapBegin;
    char m_mapEnd;
    char m_enumeratorQuote; // or a null
};
inline constexpr Format s_dataSource = {"", '=', "", "->", '[', ']', '\0'};
inline constexpr Format s_json = {"\"", ':', ",", ":", '{', '}', '"'};

class TextWriter
{
public:
    // The indent and the comments come from the seed, of which both formats make the same.
    TextWriter(const Format& format, const Layout& layout, bool areDoublesLong, std::uint64_t seed)
        : m_format(format), m_layout(layout), m_areDoublesLong(areDoublesLong), m_random(seed)
    {
        static constexpr const char* s_indents[] = {"  ", "    ", "\t"};
        m_indent = s_indents[seed % std::size(s_indents)];
        m_areShortListsInLine = seed % 2 == 1;
    }

    template <class T>
    std::string Write(std::string_view className, const T& object)
    {
        WriteHead(className);
        WriteValue(object);
        m_out += IsPretty() ? m_layout.m_lineEnd : "";
        return std::move(m_out);
    }

private:
    bool IsPretty() const { return m_layout.m_spacing == Spacing::Pretty; }

    // Between two tokens of a line: in a pretty text behind the sign, a comma or a name alone.
    void WriteSpace() { m_out += m_layout.m_spacing == Spacing::Compact ? "" : " "; }
    void WriteSpaceOfSpaced() { m_out += m_layout.m_spacing == Spacing::Spaced ? " " : ""; }

    void BeginLine()
    {
        m_out += m_layout.m_lineEnd;
        for (int i = 0; i < m_depth; ++i)
            m_out += m_indent;
    }

    void WriteHead(std::string_view className)
    {
        if (m_layout.m_hasComments)
        {
            m_out += "/*";
            for (int i = 0; i < 4; ++i)
                m_out += m_layout.m_lineEnd + std::string(" * ") + RandomSentence(m_random);
            m_out += m_layout.m_lineEnd + std::string(" */") + m_layout.m_lineEnd;
        }
        m_out += className;
        if (!className.empty())
            WriteSpace();
    }

    // --- Comments where people put them: above a member or an element, behind a member's value

    void WriteCommentAbove(bool isWanted)
    {
        if (!isWanted)
            return;
        m_out += m_random() % 4 == 0 ? "/* " + RandomSentence(m_random) + " */" : "// " + RandomSentence(m_random);
        BeginLine();
    }

    void WriteCommentBehind()
    {
        if (m_layout.m_hasComments && m_random() % 5 == 0)
            m_out += "  // " + RandomSentence(m_random);
    }

    // --- Values

    template <class T>
    void WriteValue(const T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            m_out += value ? "true" : "false";
        else if constexpr (std::is_integral_v<T>)
            m_out += std::to_string(value);
        else if constexpr (std::is_floating_point_v<T>)
            WriteDouble(value);
        else if constexpr (std::is_enum_v<T>)
        {
            const std::string name = NamesOf(value)[static_cast<std::size_t>(value)];
            const std::string quote(m_format.m_enumeratorQuote == '\0' ? 0 : 1, m_format.m_enumeratorQuote);
            m_out += quote + name + quote;
        }
        else if constexpr (std::is_same_v<T, plain::String>)
            WriteString(value);
        else if constexpr (std::is_same_v<T, plain::Counts>)
            WriteElements(value, m_format.m_mapBegin, m_format.m_mapEnd, false,
                          [this](const auto& entry)
                          {
                              WriteString(entry.first);
                              const bool isSpacedBefore = m_format.m_betweenKeyAndValue[0] == '-';
                              isSpacedBefore ? WriteSpace() : WriteSpaceOfSpaced();
                              m_out += m_format.m_betweenKeyAndValue;
                              WriteSpace();
                              WriteValue(entry.second);
                          });
        else if constexpr (requires { value.begin(); })
        {
            using Element = typename T::value_type;
            WriteElements(value, '[', ']', std::is_arithmetic_v<Element>,
                          [this](const Element& element) { WriteValue(element); });
        }
        else
            WriteObject(value);
    }

    void WriteDouble(double value)
    {
        char text[40];
        if (m_areDoublesLong)
        {
            std::snprintf(text, sizeof text, "%.17g", value);
            m_out += text;
        }
        else
            m_out.append(text, std::to_chars(text, text + sizeof text, value).ptr);
    }

    void WriteString(const std::string& value)
    {
        m_out += '"';
        for (const char c : value)
        {
            static constexpr std::string_view s_escaped = "\n\t\r\"\\";
            static constexpr std::string_view s_letters = "ntr\"\\";
            const std::size_t i = s_escaped.find(c);
            if (i == std::string_view::npos)
                m_out += c;
            else
                m_out += {'\\', s_letters[i]};
        }
        m_out += '"';
    }

    static constexpr std::size_t s_shortList = 8;

    // Short lists of numbers stand in a line, or each in one of its own, as the seed has it.
    template <class Elements, class WriteOne>
    void WriteElements(const Elements& elements, char begin, char end, bool areScalars, WriteOne writeOne)
    {
        const bool areInLines =
            IsPretty() && !elements.empty() && !(areScalars && m_areShortListsInLine && elements.size() <= s_shortList);
        m_out += begin;
        WriteSpaceOfSpaced();
        ++m_depth;
        const char* between = "";
        for (const auto& element : elements)
        {
            m_out += between;
            if (areInLines)
                BeginLine();
            else if (*between != '\0')
                WriteSpace();
            WriteCommentAbove(m_layout.m_hasComments && areInLines && m_random() % 16 == 0);
            writeOne(element);
            WriteSpaceOfSpaced();
            between = ",";
        }
        --m_depth;
        if (areInLines)
            BeginLine();
        m_out += end;
    }

    template <class T>
    void WriteObject(const T& object)
    {
        m_out += '{';
        ++m_depth;
        const char* between = "";
        ForEachMember(object,
                      [&](std::string_view name, const auto& member)
                      {
                          m_out += between;
                          if (IsPretty())
                              BeginLine();
                          else if (m_layout.m_spacing == Spacing::Spaced ||
                                   (*m_format.m_betweenMembers == '\0' && m_out.back() != '{'))
                              m_out += ' ';
                          WriteCommentAbove(m_layout.m_hasComments && m_random() % 8 == 0);
                          m_out.append(m_format.m_nameQuote).append(name).append(m_format.m_nameQuote);
                          m_format.m_behindName == '=' ? WriteSpace() : WriteSpaceOfSpaced();
                          m_out += m_format.m_behindName;
                          WriteSpace();
                          WriteValue(member);
                          WriteCommentBehind();
                          between = m_format.m_betweenMembers;
                      });
        --m_depth;
        if (IsPretty())
            BeginLine();
        else
            WriteSpaceOfSpaced();
        m_out += '}';
    }

    const Format& m_format;
    Layout m_layout;
    bool m_areDoublesLong;
    Random m_random;
    const char* m_indent;
    bool m_areShortListsInLine;
    int m_depth = 0;
    std::string m_out;
};

} // namespace kelm::bench
