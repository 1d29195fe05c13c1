#include <kelm/private/errors/WrittenPlaces.h>

#include <klKelmScript/private/Operators.h>
#include <klUtils/text/private/Scan.h>

#include <vector>

namespace kelm::evaluation
{

std::size_t PlaceOfArgument(std::string_view text, std::size_t function, std::size_t index)
{
    const char* p = text.data() + function;
    const char* const end = text.data() + text.size();
    text::Lexeme token;
    int64 depth = 0;
    while (text::ScanToken(p, end, false, token) && token.m_kind != TOKEN_END)
    {
        if (depth == 1 && index == 0 && token.m_kind != TOKEN_COMMA)
            return static_cast<std::size_t>(token.m_start - text.data());
        switch (static_cast<int>(token.m_kind))
        {
        case TOKEN_LEFT_PAREN:
        case TOKEN_LEFT_SQUARE: ++depth; break;
        case TOKEN_RIGHT_PAREN:
        case TOKEN_RIGHT_SQUARE: --depth; break;
        case TOKEN_COMMA: index -= depth == 1; break;
        default: break;
        }
        p = token.m_past;
    }
    return function;
}

namespace
{

// The tokens of an expression that has been read, up to its end, which is a token too.
class Tokens
{
public:
    explicit Tokens(std::string_view text) : m_text(text), m_tokens(1)
    {
        const char* const end = text.data() + text.size();
        const char* p = text.data();
        while (text::ScanToken(p, end, p == text.data(), m_tokens.back()) && m_tokens.back().m_kind != TOKEN_END)
        {
            p = m_tokens.back().m_past;
            m_tokens.emplace_back();
        }
        m_tokens.back().m_kind = TOKEN_END;
        FindBrackets();
    }

    EToken operator[](std::size_t i) const { return m_tokens[i].m_kind; }
    bool IsOpen(std::size_t i) const { return (*this)[i] == TOKEN_LEFT_PAREN || (*this)[i] == TOKEN_LEFT_SQUARE; }

    // The bracket that closes the one at `i`, or opens it.
    std::size_t GetOther(std::size_t i) const { return m_others[i]; }

    std::size_t PlaceOf(std::size_t i) const { return static_cast<std::size_t>(m_tokens[i].m_start - m_text.data()); }

    // The first one that stands at a place or behind it.
    std::size_t FindAt(std::size_t place) const
    {
        std::size_t i = 0;
        while ((*this)[i] != TOKEN_END && m_tokens[i].m_start < m_text.data() + place)
            ++i;
        return i;
    }

private:
    void FindBrackets()
    {
        std::vector<std::size_t> open;
        m_others.assign(m_tokens.size(), m_tokens.size() - 1);
        for (std::size_t i = 0; i < m_tokens.size(); ++i)
            if (IsOpen(i))
                open.push_back(i);
            else if (((*this)[i] == TOKEN_RIGHT_PAREN || (*this)[i] == TOKEN_RIGHT_SQUARE) && !open.empty())
            {
                m_others[i] = open.back();
                m_others[open.back()] = i;
                open.pop_back();
            }
    }

    std::string_view m_text;
    std::vector<text::Lexeme> m_tokens;
    std::vector<std::size_t> m_others;
};

struct WrittenPath
{
    std::size_t m_last; // its last name or bracket
    std::size_t m_past; // what follows
};

// The path that begins there, in brackets or not; of no tokens where there is none.
WrittenPath FindPath(const Tokens& tokens, std::size_t i)
{
    const std::size_t begin = i;
    while (tokens[i] == TOKEN_LEFT_PAREN)
        ++i;
    std::size_t numOpen = i - begin;
    if (tokens[i] != TOKEN_IDENTIFIER)
        return {begin, begin};
    std::size_t last = i++;
    while (true)
    {
        const EToken kind = tokens[i];
        if (kind == TOKEN_DOT && tokens[i + 1] == TOKEN_IDENTIFIER)
            last = ++i;
        else if (kind == TOKEN_LEFT_SQUARE)
            last = i = tokens.GetOther(i);
        else if (kind == TOKEN_LEFT_PAREN)
            i = tokens.GetOther(i);
        else if (kind == TOKEN_RIGHT_PAREN && numOpen > 0)
            --numOpen;
        else
            break;
        if (tokens[i] == TOKEN_END)
            break;
        ++i;
    }
    return numOpen == 0 ? WrittenPath{last, i} : WrittenPath{begin, begin};
}

// Where the expression ends that begins there.
std::size_t FindEnd(const Tokens& tokens, std::size_t i)
{
    std::size_t numBranches = 0;
    for (; tokens[i] != TOKEN_END; ++i)
        switch (static_cast<int>(tokens[i]))
        {
        case TOKEN_LEFT_PAREN:
        case TOKEN_LEFT_SQUARE: i = tokens.GetOther(i); break;
        case TOKEN_QUESTION: ++numBranches; break;
        case TOKEN_COLON:
            if (numBranches-- == 0)
                return i;
            break;
        case TOKEN_RIGHT_PAREN:
        case TOKEN_RIGHT_SQUARE:
        case TOKEN_COMMA: return i;
        default: break;
        }
    return i;
}

struct Range
{
    std::size_t m_begin;
    std::size_t m_past;
};

// The token that comes of an expression that holds no value: of a path the last one; of a conditional expression that
// of the one branch which is a path, or the question mark of several. `past` where the expression is something else.
std::size_t FindOrigin(const Tokens& tokens, std::size_t begin, std::size_t past)
{
    std::size_t origin = past;
    std::size_t firstQuestion = past;
    std::vector<Range> branches = {{begin, past}};
    while (!branches.empty())
    {
        Range branch = branches.back();
        branches.pop_back();
        while (branch.m_begin < branch.m_past && tokens[branch.m_begin] == TOKEN_LEFT_PAREN &&
               tokens.GetOther(branch.m_begin) + 1 == branch.m_past)
        {
            ++branch.m_begin;
            --branch.m_past;
        }
        std::size_t question = branch.m_begin;
        while (question < branch.m_past && tokens[question] != TOKEN_QUESTION)
            question = 1 + (tokens.IsOpen(question) ? tokens.GetOther(question) : question);
        if (question < branch.m_past)
        {
            const std::size_t colon = FindEnd(tokens, question + 1);
            branches.push_back({colon + 1, branch.m_past});
            branches.push_back({question + 1, colon});
            if (firstQuestion == past)
                firstQuestion = question;
            continue;
        }
        const WrittenPath path = FindPath(tokens, branch.m_begin);
        if (branch.m_begin >= branch.m_past || path.m_past != branch.m_past)
            continue;
        if (origin != past)
            return firstQuestion;
        origin = path.m_last;
    }
    return origin;
}

} // namespace

std::size_t PlaceOfOperand(std::string_view text, std::size_t op, bool isRight)
{
    const Tokens tokens(text);
    const std::size_t i = tokens.FindAt(op);
    if (isRight && tokens[i] != TOKEN_END)
    {
        const std::size_t begin = i + 1;
        const WrittenPath path = FindPath(tokens, begin);
        const bool isAssignment = (RoleOf(tokens[i]) & ROLE_ASSIGNMENT) != 0;
        if (!isAssignment && path.m_past > begin)
            return tokens.PlaceOf(path.m_last);
        const std::size_t past = isAssignment           ? FindEnd(tokens, begin)
                                 : tokens.IsOpen(begin) ? tokens.GetOther(begin) + 1
                                                        : begin;
        const std::size_t origin = FindOrigin(tokens, begin, past);
        return origin < past ? tokens.PlaceOf(origin) : op;
    }
    if (i == 0)
        return op;
    if (tokens[i - 1] == TOKEN_IDENTIFIER || tokens[i - 1] == TOKEN_RIGHT_SQUARE)
        return tokens.PlaceOf(i - 1);
    if (tokens[i - 1] != TOKEN_RIGHT_PAREN)
        return op;
    const std::size_t open = tokens.GetOther(i - 1);
    if (open > 0 && open < i && tokens[open - 1] == TOKEN_IDENTIFIER)
        return tokens.PlaceOf(open - 1);
    const std::size_t origin = FindOrigin(tokens, open, i);
    return origin < i ? tokens.PlaceOf(origin) : op;
}

std::size_t PlaceOfValue(std::string_view text, std::size_t begin)
{
    const Tokens tokens(text);
    const std::size_t i = tokens.FindAt(begin);
    const std::size_t past = FindEnd(tokens, i);
    const std::size_t origin = FindOrigin(tokens, i, past);
    return origin < past ? tokens.PlaceOf(origin) : begin;
}

} // namespace kelm::evaluation
