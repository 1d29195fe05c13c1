#include <klKelmScript/private/ReadingErrors.h>

#include <klKelmScript/private/DataSourceReader.h>
#include <klObject/objects/Collector.h>
#include <klUtils/text/private/Scan.h>

#include <algorithm>
#include <utility>

namespace kelm
{

namespace
{

constexpr bool IsOpening(EToken kind)
{
    return kind == TOKEN_LEFT_PAREN || kind == TOKEN_LEFT_CURLY || kind == TOKEN_LEFT_SQUARE;
}

constexpr EToken ClosingOf(EToken opening)
{
    return static_cast<EToken>(opening + 1);
}

constexpr bool IsClosing(EToken kind)
{
    return kind == TOKEN_RIGHT_PAREN || kind == TOKEN_RIGHT_CURLY || kind == TOKEN_RIGHT_SQUARE;
}

bool BeginsValue(EToken kind)
{
    return IsOpening(kind) || kind == TOKEN_MINUS || kind == TOKEN_PLUS ||
           (TOKEN_INTEGER <= kind && kind <= TOKEN_IDENTIFIER);
}

// Beyond that nobody looks whether brackets fit.
constexpr std::ptrdiff_t s_farthest = 1 << 18;

// So many errors that tell nothing new end the reading.
constexpr std::size_t s_mostRepeated = 1000;

} // namespace

// The tokens of a text from some part on, without what is wrong.
class ReadingErrors::Tokens
{
public:
    Tokens(SubString text, const char* from) : m_text(text), m_p(from) {}

    text::Lexeme Next()
    {
        text::Lexeme lexeme;
        while (true)
        {
            if (!text::Scan(m_p, m_text.m_p2, m_p == m_text.m_p1 || m_p[-1] == '\n', lexeme))
            {
                m_p = text::SkipWrong(text::SkipSpace(m_p, m_text.m_p2), m_text.m_p2);
                continue;
            }
            m_p = lexeme.m_past;
            if (!text::IsComment(lexeme.m_kind))
                return lexeme;
        }
    }

private:
    SubString m_text;
    const char* m_p;
};

// Open brackets: the outermost of those that are being read, and others.
class ReadingErrors::Brackets
{
public:
    Brackets(const std::vector<EToken>& open, std::size_t numKept) : m_open(open), m_numKept(numKept) {}

    void Push(EToken opening) { m_others.push_back(opening); }
    void Pop()
    {
        if (m_others.empty())
            --m_numKept;
        else
            m_others.pop_back();
    }
    bool IsEmpty() const { return m_others.empty() && m_numKept == 0; }
    EToken GetInnermost() const { return m_others.empty() ? m_open[m_numKept - 1] : m_others.back(); }

private:
    const std::vector<EToken>& m_open;
    std::size_t m_numKept;
    std::vector<EToken> m_others;
};

// --- Errors ----------------------------------------------------------------------------------------------------------

void ReadingErrors::Add(const LexScannerException& error)
{
    Add(std::string(error.m_description.view()), error.m_pos, std::nullopt);
}

void ReadingErrors::Add(const KelmAssertionError& error, const char* previous)
{
    m_about = nullptr;
    Add(error.what(), previous != nullptr ? previous : m_text.m_p1, error);
}

void ReadingErrors::Add(std::string message, const char* place, std::optional<KelmAssertionError> assertion)
{
    const SubString token = TokenAt(place);
    m_about = nullptr;
    const bool isNew = m_errors.empty() || place > m_errors.back().m_place;
    if (isNew)
        m_errors.push_back({std::move(message), place, token, std::move(assertion)});
    if (m_errors.size() == m_most || (!isNew && ++m_numRepeated == s_mostRepeated))
        throw Done();
}

// What is wrong: the name that the error is about, or what stands at its place.
SubString ReadingErrors::TokenAt(const char* place) const
{
    if (m_about == place)
        return NameAt(place);
    if (m_about != nullptr)
    {
        Tokens tokens(m_text, m_about);
        const char* past = m_about;
        while (past < place)
        {
            const text::Lexeme token = tokens.Next();
            if (token.m_start >= place || token.m_kind == TOKEN_END)
                break;
            past = token.m_past;
        }
        return {m_about, past};
    }
    text::Lexeme token;
    if (text::Scan(place, m_text.m_p2, place == m_text.m_p1 || place[-1] == '\n', token))
        return token.GetText();
    return {place, text::SkipWrong(place, m_text.m_p2)};
}

// The token there; a qualified name is one.
SubString ReadingErrors::NameAt(const char* place) const
{
    Tokens tokens(m_text, place);
    const text::Lexeme first = tokens.Next();
    SubString name = first.GetText();
    for (bool isName = first.m_kind == TOKEN_IDENTIFIER; isName;)
    {
        const EToken separator = tokens.Next().m_kind;
        const text::Lexeme next = tokens.Next();
        isName = (separator == TOKEN_DOT || separator == TOKEN_COLON_COLON) && next.m_kind == TOKEN_IDENTIFIER;
        if (isName)
            name.m_p2 = next.m_past;
    }
    return name;
}

// --- Where reading goes on -------------------------------------------------------------------------------------------

// Where brackets cease to fit the text from there on: the end of the data source is not that of the text, or a token
// stands in brackets in which it never may.
const char* ReadingErrors::FindMisfit(Brackets brackets, const char* from) const
{
    const char* const fitting = m_text.m_p2 + 1;
    Tokens tokens(m_text, from);
    EToken previous = TOKEN_UNDEF;
    while (true)
    {
        const text::Lexeme token = tokens.Next();
        if (token.m_start - from > s_farthest)
            return fitting;
        if (brackets.IsEmpty())
            return token.m_kind == TOKEN_END ? fitting : token.m_start;
        const EToken innermost = brackets.GetInnermost();
        const bool isNamed = innermost == TOKEN_LEFT_CURLY;
        bool fits = true;
        if (IsOpening(token.m_kind))
            brackets.Push(token.m_kind);
        else if (IsClosing(token.m_kind))
        {
            fits = token.m_kind == ClosingOf(innermost);
            brackets.Pop();
        }
        else if (previous == TOKEN_UNDEF)
            fits = true; // what is no bracket may be the very token that is wrong
        else if (token.m_kind == TOKEN_EQUAL)
            fits = isNamed && previous == TOKEN_IDENTIFIER;
        else if (token.m_kind == TOKEN_MINUS_GREATER)
            fits = innermost == TOKEN_LEFT_SQUARE;
        else if (previous == TOKEN_LEFT_CURLY)
            fits = token.m_kind == TOKEN_IDENTIFIER;
        if (!fits || token.m_kind == TOKEN_END)
            return token.m_start;
        previous = token.m_kind;
    }
}

// Whether the innermost brackets may end before that token: it can be what follows a value in those around them.
bool ReadingErrors::MayBeBehind(const char* from) const
{
    Tokens tokens(m_text, from);
    const EToken kind = tokens.Next().m_kind;
    if (IsClosing(kind) || m_open.size() < 2 || m_open[m_open.size() - 2] != TOKEN_LEFT_CURLY)
        return true;
    return kind == TOKEN_IDENTIFIER && tokens.Next().m_kind == TOKEN_EQUAL;
}

ReadingErrors::Resumption ReadingErrors::FindResumption(const Failure& failure) const
{
    const text::Lexeme token = Tokens(m_text, failure.m_at).Next();
    const bool isBracket = IsOpening(token.m_kind) || IsClosing(token.m_kind);
    const bool isWritten = BeginsValue(token.m_kind) || IsClosing(token.m_kind) || token.m_kind == TOKEN_COMMA;
    const char* const behind = failure.m_item != nullptr ? failure.m_item : isWritten ? failure.m_at : token.m_past;
    const char* const tooMuch = isBracket ? token.m_past : nullptr;
    const bool isTwice = isBracket && failure.m_previous != nullptr && *failure.m_previous == *token.m_start;
    const std::size_t numOpen = m_open.size();

    // What may be wrong with the brackets, the likeliest first.
    struct Guess
    {
        std::size_t m_numKept;
        EToken m_missing; // an opening bracket, before `from`
        const char* m_from;
    };
    const Guess guesses[] = {
        {numOpen, TOKEN_UNDEF, failure.m_at},                // nothing
        {numOpen, TOKEN_UNDEF, isTwice ? tooMuch : nullptr}, // this one is written twice
        {numOpen - 1, TOKEN_UNDEF, behind},                  // the closing one is missing, or something else
        {numOpen, TOKEN_LEFT_CURLY, failure.m_at},           // an opening one is missing
        {numOpen, TOKEN_LEFT_SQUARE, failure.m_at},          //
        {numOpen, TOKEN_LEFT_PAREN, failure.m_at},           //
        {numOpen, TOKEN_UNDEF, tooMuch},                     // this one is too much
        {numOpen - 1, TOKEN_UNDEF, tooMuch},                 // and stands for the closing one
    };
    const Guess* best = nullptr;
    const char* furthest = nullptr;
    for (const Guess& guess : guesses)
    {
        if (guess.m_from == nullptr || (guess.m_numKept < numOpen && !MayBeBehind(guess.m_from)))
            continue;
        Brackets brackets(m_open, guess.m_numKept);
        if (guess.m_missing != TOKEN_UNDEF)
            brackets.Push(guess.m_missing);
        const char* const misfit = FindMisfit(std::move(brackets), guess.m_from);
        const bool isWorth = guess.m_missing == TOKEN_UNDEF || misfit > m_text.m_p2; // what is missing, fits wholly
        if (best == nullptr || (isWorth && misfit > furthest))
        {
            best = &guess;
            furthest = misfit;
        }
        if (furthest > m_text.m_p2)
            break;
    }
    if (best->m_numKept < numOpen)
    {
        const text::Lexeme next = Tokens(m_text, best->m_from).Next();
        if (next.m_kind == TOKEN_END)
            throw Done();
        return {W_BEHIND, {next.m_start, next.m_start}};
    }
    return Skip(failure, best->m_from, best->m_missing != TOKEN_UNDEF ? 1 : 0);
}

// To where reading can go on, from a token that is so deep in brackets on.
ReadingErrors::Resumption ReadingErrors::Skip(const Failure& failure, const char* from, std::size_t depth) const
{
    const bool isNamed = m_open.back() == TOKEN_LEFT_CURLY;
    Tokens tokens(m_text, from);
    const char* previous = from;
    for (bool isFirst = true;; isFirst = false)
    {
        const text::Lexeme token = tokens.Next();
        const text::Place place{token.m_start, previous};
        if (token.m_kind == TOKEN_END)
            throw Done();
        if (isFirst && depth == 0 && failure.m_isBetween && BeginsValue(token.m_kind) &&
            (!failure.m_isEntry || IsEntry(token.m_start)))
            return {W_ITEM, place};
        if (IsOpening(token.m_kind))
            ++depth;
        else if (IsClosing(token.m_kind) && depth > 0)
            --depth;
        else if (IsClosing(token.m_kind))
        {
            if (token.m_kind == ClosingOf(m_open.back()))
                return {W_CLOSING, place};
            const bool closesAnother = std::any_of(m_open.begin(), m_open.end(),
                                                   [&](EToken opening) { return token.m_kind == ClosingOf(opening); });
            if (closesAnother)
                return {W_BEHIND, place};
        }
        else if (depth == 0 && !failure.m_mustEnd)
        {
            const text::Lexeme next = Tokens(tokens).Next();
            if (isNamed && token.m_kind == TOKEN_IDENTIFIER && next.m_kind == TOKEN_EQUAL)
                return {W_ITEM, place};
            if (!isNamed && token.m_kind == TOKEN_COMMA && next.m_kind != TOKEN_END)
                return {W_ITEM, {next.m_start, token.m_start}};
        }
        previous = token.m_start;
    }
}

// From an item on, to the closing bracket.
ssize_t ReadingErrors::CountItems(const char* item) const
{
    Tokens tokens(m_text, item);
    ssize_t count = 1;
    for (std::size_t depth = 0;;)
    {
        const EToken kind = tokens.Next().m_kind;
        if (IsOpening(kind))
            ++depth;
        else if (kind == TOKEN_END || (IsClosing(kind) && depth == 0))
            return count;
        else if (IsClosing(kind))
            --depth;
        else if (kind == TOKEN_COMMA && depth == 0)
            ++count;
    }
}

// Whether an arrow follows before the item ends.
bool ReadingErrors::IsEntry(const char* item) const
{
    Tokens tokens(m_text, item);
    for (std::size_t depth = 0;;)
    {
        const EToken kind = tokens.Next().m_kind;
        if (IsOpening(kind))
            ++depth;
        else if (IsClosing(kind) && depth > 0)
            --depth;
        else if (kind == TOKEN_END || IsClosing(kind) || (depth == 0 && kind == TOKEN_COMMA))
            return false;
        else if (depth == 0 && kind == TOKEN_MINUS_GREATER)
            return true;
    }
}

// --- Reading ---------------------------------------------------------------------------------------------------------

namespace
{

// What read(parser, errors) comes to.
template <class Read>
std::vector<ReadingError> ErrorsOf(SubString text, std::size_t most, const Read& read)
{
    ReadingErrors errors(text, most);
    ExpressionParser parser;
    try
    {
        try
        {
            parser.Init(text);
            read(parser, errors);
        }
        catch (const LexScannerException& e)
        {
            errors.Add(e);
        }
        catch (const KelmAssertionError& e)
        {
            errors.Add(e, parser.m_prevToken.m_str.m_p1);
        }
    }
    catch (const ReadingErrors::Done&)
    {
        // what was found is all that will be
    }
    return errors.Take();
}

} // namespace

std::vector<ReadingError> ReadAllErrors(SubString text, std::size_t most, ptr<IObject>& object, SubString& rest)
{
    object = nullptr;
    rest = {text.m_p2, text.m_p2};
    return ErrorsOf(text, most,
                    [&](ExpressionParser& parser, ReadingErrors& errors)
                    {
                        object = ReadGoingOn(parser, errors);
                        rest.m_p1 = parser.m_token.m_str.m_p1;
                    });
}

std::vector<ReadingError> ReadAllErrorsByRules(SubString text, std::size_t most, const ReadingRules& rules,
                                               const ReflectionByteCode& type, void* data)
{
    return ErrorsOf(text, most,
                    [&](ExpressionParser& parser, ReadingErrors& errors)
                    {
                        const GcRoot object(ReadGoingOnByRules(parser, errors, rules, type, data));
                        if (errors.IsEmpty() && parser.GetTokenType() != TOKEN_END)
                            parser.ThrowExpectedException("end of text");
                    });
}

} // namespace kelm
