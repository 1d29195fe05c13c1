#include <kelmDocument/Diagnose.h>

#include <kelmDocument/private/Repeats.h>
#include <kelmDocument/private/ScanPartHere.h>
#include <kelmDocument/private/Subject.h>

#include <kelm/private/errors/Hints.h>
#include <kelm/private/errors/Source.h>
#include <kelm/private/errors/Suggest.h>
#include <klKelmScript/private/ReadingErrors.h>
#include <klUtils/StableSort.h>

#include <utility>

namespace kelm
{

namespace
{

class Diagnosis
{
public:
    Diagnosis(std::string_view text, const DocumentPolicy& policy, std::size_t most)
        : m_text(text), m_policy(policy), m_most(most)
    {
    }

    std::vector<Diagnostic> Make()
    {
        FindErrors();
        if (m_policy.IsExact()) // where else they are errors
            FindRepeats();
        FindNoCharacters();
        FindLinesInComments();
        StableSort(m_found, [](const Diagnostic& a, const Diagnostic& b) { return a.m_place < b.m_place; });
        return std::move(m_found);
    }

private:
    std::size_t OffsetOf(const char* p) const { return static_cast<std::size_t>(p - m_text.data()); }
    bool IsFull() const { return m_found.size() >= m_most; }

    void Warn(std::string message, Span token, std::string note = {}, std::size_t notePlace = 0)
    {
        m_found.push_back({Severity::Warning, std::move(message), token.m_begin, token, std::move(note), notePlace});
    }

    // Those of reading; `rest` is what is left of a text that has none.
    std::vector<ReadingError> ReadAll(SubString text, SubString& rest) const
    {
        rest = {text.m_p2, text.m_p2};
        if (m_policy.IsExact())
        {
            ptr<IObject> object;
            return ReadAllErrors(text, m_most, object, rest);
        }
        const ReadingRules rules{.m_passesUnknown = m_policy.GetUnknownMembers() == UnknownMembers::PassOver};
        const editing::Subject subject{editing::Reading(m_policy)};
        return ReadAllErrorsByRules(text, m_most, rules, subject.GetType(), subject.GetData());
    }

    void FindErrors()
    {
        const std::size_t begin = m_text.size() - WithoutByteOrderMark(m_text).size();
        SubString rest;
        for (ReadingError& error : ReadAll({m_text.data() + begin, m_text.data() + m_text.size()}, rest))
        {
            Diagnostic diagnostic{Severity::Error,
                                  std::move(error.m_message),
                                  OffsetOf(error.m_place),
                                  {OffsetOf(error.m_token.m_p1), OffsetOf(error.m_token.m_p2)},
                                  {},
                                  OffsetOf(error.m_token.m_p1)};
            const std::string_view explanation = error.m_assertion ? Explain(*error.m_assertion) : std::string_view();
            if (!explanation.empty())
                (m_policy.IsExact() ? diagnostic.m_note : diagnostic.m_message) = explanation;
            else if (const auto unknown = FindUnknownName(diagnostic.m_message))
            {
                diagnostic.m_note = unknown->TellExisting();
                diagnostic.m_notePlace = LastPartOf(diagnostic.m_token);
            }
            else
                diagnostic.m_note = HintFor(diagnostic.m_message, m_text, diagnostic.m_token.m_begin);
            m_found.push_back(std::move(diagnostic));
        }
        if (m_found.empty() && rest.m_p1 != rest.m_p2)
        {
            const Part part = ScanPart(m_text, OffsetOf(rest.m_p1));
            Warn("the text after the data source is not read", part.m_span);
        }
    }

    // Of a name, where its last part begins.
    std::size_t LastPartOf(Span name) const
    {
        std::size_t last = name.m_begin;
        for (std::size_t at = name.m_begin; at < name.m_end;)
        {
            const Part part = ScanPart(m_text, at);
            if (part.Is(TOKEN_IDENTIFIER))
                last = at;
            at = part.m_span.m_end;
        }
        return last;
    }

    void FindRepeats()
    {
        for (const auto& [name, former] : FindRepeatedMembers(m_text, m_most - m_found.size()).m_members)
        {
            const std::size_t begin = OffsetOf(name.data());
            Warn("member '" + std::string(name) + "' is written twice", {begin, begin + name.size()},
                 "it is written here already", OffsetOf(former.data()));
        }
    }

    // Once is enough.
    void FindNoCharacters()
    {
        for (std::size_t at = 0; at < m_text.size() && !IsFull();)
        {
            if (static_cast<unsigned char>(m_text[at]) < 0x80)
            {
                ++at;
                continue;
            }
            const Character character = FirstCharacter(m_text.substr(at));
            if (character.m_codePoint < 0)
                return Warn("the text is not valid UTF-8", {at, at + 1});
            at += character.m_octets.size();
        }
    }

    // Of lines that end otherwise than lines do here. Once is enough.
    void FindLinesInComments()
    {
        const auto findReturn = [&](std::size_t from)
        {
            std::size_t at = m_text.find('\r', from);
            while (at != std::string_view::npos && m_text.substr(at + 1).starts_with('\n'))
                at = m_text.find('\r', at + 1);
            return at;
        };
        std::size_t found = findReturn(0);
        for (std::size_t at = 0; found != std::string_view::npos && at < m_text.size() && !IsFull();)
        {
            const Span part = ScanPart(m_text, at).m_span;
            if (part.m_begin <= found && found < part.m_end)
            {
                const std::string_view text = part.In(m_text);
                const std::size_t more = text.find_first_not_of("\r \t", found - at);
                if ((text.starts_with("//") || text.starts_with('#')) && more != std::string_view::npos)
                    return Warn("the comment goes on behind a carriage return alone: lines end at a line feed",
                                {found, found + 1});
            }
            at = part.m_end;
            if (found < at)
                found = findReturn(at);
        }
    }

    std::string_view m_text;
    const DocumentPolicy& m_policy;
    std::size_t m_most;
    std::vector<Diagnostic> m_found;
};

} // namespace

std::vector<Diagnostic> Diagnose(std::string_view text, std::size_t most)
{
    return Diagnose(text, DocumentPolicy(), most);
}

std::vector<Diagnostic> Diagnose(std::string_view text, const DocumentPolicy& policy, std::size_t most)
{
    return Diagnosis(text, policy, most).Make();
}

} // namespace kelm
