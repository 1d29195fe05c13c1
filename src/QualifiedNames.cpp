// Qualified names: splitting them, reading them and matching them from the end.

#include <klKelmScript/ParseDataSource.h>

#include <klUtils/text/private/Scan.h>

namespace kelm
{

namespace
{

// The identifiers of a qualified name, one after the other.
class NameReader
{
public:
    explicit NameReader(SubString text) : m_text(text) {}

    // The next identifier. False where none follows, which is an error behind a separator.
    bool TryReadIdentifier(SubString& identifier)
    {
        if (Scan() != TOKEN_IDENTIFIER)
            return false;
        identifier = m_token.GetText();
        m_text.m_p1 = m_token.m_past;
        return true;
    }

    bool TryPassSeparator()
    {
        const EToken kind = Scan();
        if (kind != TOKEN_DOT && kind != TOKEN_COLON_COLON)
            return false;
        m_text.m_p1 = m_token.m_past;
        return true;
    }

    // From the token that was not taken.
    SubString GetRest() const { return m_text; }

private:
    // Characters that form no token are one of no kind.
    EToken Scan()
    {
        if (text::Scan(m_text.m_p1, m_text.m_p2, false, m_token))
            m_text.m_p1 = m_token.m_start;
        else
        {
            m_text.m_p1 = text::SkipSpace(m_text.m_p1, m_text.m_p2);
            m_token.m_kind = TOKEN_UNDEF;
        }
        return m_token.m_kind;
    }

    SubString m_text;
    text::Lexeme m_token;
};

} // namespace

bool TokenisePath(SubString& text, xvector<SubString>& segments)
{
    segments.clear();
    NameReader reader(text);
    SubString identifier;
    bool isPath = false;
    do
    {
        isPath = reader.TryReadIdentifier(identifier);
        if (isPath)
            segments.push_back(identifier);
    } while (isPath && reader.TryPassSeparator());
    text = reader.GetRest();
    return isPath;
}

xstring ParsePath(ExpressionParser& parser)
{
    return parser.ParsePath();
}

bool IsSuffix(const xvector<SubString>& whole, const xvector<SubString>& suffix)
{
    const ssize_t rest = whole.size() - suffix.size();
    if (rest < 0)
        return false;
    for (ssize_t i = suffix.size() - 1; i >= 0; --i)
        if (!(whole[rest + i] == suffix[i]))
            return false;
    return true;
}

namespace
{

// How many identifiers a qualified name has; none where it is malformed.
ssize_t CountSegments(SubString name)
{
    NameReader reader(name);
    SubString identifier;
    ssize_t count = 0;
    do
    {
        if (!reader.TryReadIdentifier(identifier))
            return 0;
        ++count;
    } while (reader.TryPassSeparator());
    return count;
}

// Past an identifier and the separator behind it.
SubString ReadSegment(NameReader& reader)
{
    SubString identifier;
    reader.TryReadIdentifier(identifier);
    reader.TryPassSeparator();
    return identifier;
}

} // namespace

bool IsPathSuffix(SubString path, SubString suffix)
{
    const ssize_t count = CountSegments(suffix);
    const ssize_t rest = CountSegments(path) - count;
    if (count == 0 || rest < 0)
        return false;
    NameReader ofPath(path);
    NameReader ofSuffix(suffix);
    for (ssize_t i = 0; i < rest; ++i)
        ReadSegment(ofPath);
    for (ssize_t i = 0; i < count; ++i)
        if (!(ReadSegment(ofPath) == ReadSegment(ofSuffix)))
            return false;
    return true;
}

} // namespace kelm
