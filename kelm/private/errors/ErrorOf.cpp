#include <kelm/private/errors/ErrorOf.h>

#include <kelm/private/errors/Excerpt.h>
#include <kelm/private/errors/Hints.h>
#include <kelm/private/errors/Suggest.h>
#include <klKelmScript/private/UnknownNameException.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <utility>

namespace kelm
{

namespace
{

// The first row whose words a message begins with and holds decides.
struct KindRow
{
    std::string_view m_begin;
    std::string_view m_within;
    ErrorKind m_kind;
};

constexpr KindRow s_kinds[] = {
    {"Unknown ", "", ErrorKind::Name},
    {"Member '", " is written twice", ErrorKind::Name},
    {"Identifier ", " is not a model field of class ", ErrorKind::Name},
    {"'", "' is not a registered class name", ErrorKind::Name},
    {"'", "' doesn't support dynamic creation", ErrorKind::Type},
    {"'", "' is not persistable", ErrorKind::Type},
    {"Value ", " is out of range of ", ErrorKind::Range},
    {"Array index ", " out of range", ErrorKind::Range},
    {"Vector index ", " out of range", ErrorKind::Range},
    {"null dereference", "", ErrorKind::Range},
    {"Key ", " is not there", ErrorKind::Range},
    {"Member '", " is required", ErrorKind::Check},
    {"Member '", " refuses ", ErrorKind::Check},
    {"", "", ErrorKind::Syntax},
};

// What "Expected X when read" names where the grammar wants it; everything else that it names is a type.
constexpr std::string_view s_grammar[] = {"(", ")",  "[", "]",          "{",           "}",    ",",
                                          "=", "->", ":", "identifier", "end of text", "value"};

constexpr std::string_view s_expected = "Expected ";
constexpr std::string_view s_whenRead = " when read ";

ErrorKind KindOfExpectation(std::string_view message)
{
    message.remove_prefix(s_expected.size());
    const std::string_view what = message.substr(0, message.find(s_whenRead));
    return std::find(std::begin(s_grammar), std::end(s_grammar), what) != std::end(s_grammar) ? ErrorKind::Syntax
                                                                                              : ErrorKind::Type;
}

// Of the token that begins there, as far as one does; a qualified name counts as one.
std::size_t TokenSize(SubString text)
{
    const char* const begin = text.m_p1;
    const char* past = begin;
    try
    {
        while (true)
        {
            const char* const start = text.m_p1;
            const LSToken token = LsScanToken(text, false);
            if (token.m_str.m_p1 != start)
                break;
            past = token.m_str.m_p2;
            const bool goesOn = token == TOKEN_COLON_COLON
                                    ? text.m_p1 != text.m_p2 && IsIdentifierCharacter(*text.m_p1)
                                    : token == TOKEN_IDENTIFIER && text.size() > 2 && text[0] == ':' && text[1] == ':';
            if (!goesOn)
                break;
        }
    }
    catch (const LexScannerException&) // the characters form no token
    {
    }
    return static_cast<std::size_t>(past - begin);
}

// Of what the type itself knows.
std::vector<std::string> NamesNear(const LexScannerException& exception)
{
    const auto* const unknown = dynamic_cast<const UnknownNameException*>(&exception);
    if (unknown == nullptr)
        return {};
    return NearestNames(unknown->m_name.view(), {unknown->m_existing.begin(), unknown->m_existing.end()});
}

// Its message begins with the path of the value that has no text.
Error ErrorOfWriting(const WriteException& exception)
{
    const std::string_view text = exception.m_description.view();
    Error::Details details;
    details.m_kind = ErrorKind::Type;
    details.m_message = std::string("cannot write the object: ").append(text);
    if (text.starts_with('.') || text.starts_with('['))
        details.m_fieldPath = text.substr(0, text.find(": "));
    return Error(std::move(details));
}

} // namespace

ErrorKind KindOfMessage(std::string_view message)
{
    if (message.starts_with(s_expected))
        return KindOfExpectation(message);
    const auto tells = [&](const KindRow& row)
    { return message.starts_with(row.m_begin) && message.find(row.m_within) != std::string_view::npos; };
    return std::find_if(std::begin(s_kinds), std::end(s_kinds), tells)->m_kind;
}

Error ErrorAt(ErrorKind kind, std::string message, const SourceText& source, std::size_t offset, std::size_t numOctets,
              std::string fieldPath, std::vector<std::string> suggestions)
{
    const Place place = PlaceOf(source, offset);
    const Excerpt excerpt = ExcerptAt(source, offset, numOctets);
    Error::Details details;
    details.m_kind = kind;
    details.m_source = source.m_name;
    details.m_line = place.m_line;
    details.m_column = place.m_column;
    details.m_excerpt = excerpt.m_line + "\n" + excerpt.m_blanks + excerpt.m_caret;
    details.m_fieldPath = std::move(fieldPath);
    if (!suggestions.empty())
        details.m_suggestions = std::move(suggestions);
    else if (const std::optional<UnknownName> unknown = FindUnknownName(message))
        details.m_suggestions = NearestNames(unknown->m_name, unknown->m_existing);
    details.m_hint = HintFor(message, source.m_text, offset);
    details.m_message = std::move(message);
    return Error(std::move(details));
}

Error ErrorWithoutPlace(ErrorKind kind, std::string message, std::string source)
{
    Error::Details details;
    details.m_kind = kind;
    details.m_message = std::move(message);
    details.m_source = std::move(source);
    return Error(std::move(details));
}

Error ErrorOf(const LexScannerException& exception, const SourceText& source, std::string fieldPath)
{
    std::string message(exception.m_description.view());
    const ErrorKind kind = KindOfMessage(message);
    const SubString text = source.View();
    if (exception.m_pos < text.m_p1 || text.m_p2 < exception.m_pos)
        return ErrorWithoutPlace(kind, std::move(message), std::string(source.m_name));
    return ErrorAt(kind, std::move(message), source, static_cast<std::size_t>(exception.m_pos - text.m_p1),
                   TokenSize({exception.m_pos, text.m_p2}), std::move(fieldPath), NamesNear(exception));
}

Error ErrorOf(const KelmAssertionError& exception)
{
    const std::string_view explanation = Explain(exception);
    return explanation.empty() ? ErrorWithoutPlace(ErrorKind::Internal, exception.what())
                               : ErrorWithoutPlace(ErrorKind::Type, std::string(explanation));
}

Error ErrorOf(const KelmAssertionError& exception, const SourceText& source, const LSToken& token,
              std::string fieldPath)
{
    const std::string_view explanation = Explain(exception);
    const SubString text = source.View();
    if (explanation.empty() || token.m_str.m_p1 < text.m_p1 || text.m_p2 < token.m_str.m_p2)
        return ErrorOf(exception);
    return ErrorAt(ErrorKind::Type, std::string(explanation), source,
                   static_cast<std::size_t>(token.m_str.m_p1 - text.m_p1), static_cast<std::size_t>(token.m_str.size()),
                   std::move(fieldPath));
}

Error ErrorInFlight(const SourceText& source, const std::string& fieldPath)
{
    try
    {
        throw;
    }
    catch (const Error& e)
    {
        return e;
    }
    catch (const LexScannerException& e)
    {
        return ErrorOf(e, source, fieldPath);
    }
    catch (const KelmAssertionError& e)
    {
        return ErrorOf(e);
    }
    catch (const WriteException& e)
    {
        return ErrorOfWriting(e);
    }
    catch (const TypeNameException& e)
    {
        return ErrorWithoutPlace(ErrorKind::Name, e.what());
    }
}

} // namespace kelm
