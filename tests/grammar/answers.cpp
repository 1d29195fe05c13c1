// What the parsers say of texts, for the test of the grammar.
//
//   answers evaluator|door|path|data-source   reads texts that end in a zero byte, and writes a letter for each:
//                                             y  it is read, to its end
//                                             n  it is not: its grammar is wrong, or it ends before the text does
//                                             ?  its grammar could not be seen to its end, for an error of its values

#include <kelm/kelm.h>
#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

enum class Kind
{
    LEAF,
    TWIG
};
struct Tree
{
    bool flag = false;
    int count = 0;
    double weight = 0;
    std::string name;
    Kind kind = Kind::LEAF;
    std::vector<Tree> list;
    std::map<std::string, int> marks;
    std::variant<double, std::string> choice;
};
KELM_DESCRIBE_ENUM(Kind, LEAF, TWIG)
KELM_DESCRIBE(Tree, flag, count, weight, name, kind, list, marks, choice)

namespace
{

using namespace kelm;

// Unlike those that a value, a name or an index could bring about.
bool IsOfGrammar(std::string_view message)
{
    for (const std::string_view beginning : {"Unexpected ", "Expected ", "Malformed ", "Unterminated ", "Illegal "})
        if (message.starts_with(beginning))
            return true;
    return false;
}

// Reads by a parser that is bound to the text.
template <class Parser, class Read>
char AnswerOf(std::string_view text, Read read)
try
{
    Parser parser;
    parser.Init(SubString(text.data(), text.data() + text.size()));
    read(parser);
    return parser.m_token.m_type == TOKEN_END ? 'y' : 'n';
}
catch (const LexScannerException& e)
{
    return IsOfGrammar(e.what()) ? 'n' : '?';
}
catch (const KSValueException&)
{
    return '?';
}
catch (const KelmAssertionError&)
{
    return '?';
}

char AnswerOfEvaluator(std::string_view text)
{
    return AnswerOf<KSParser>(text,
                              [](KSParser& parser)
                              {
                                  KSValue value;
                                  parser.ParseExpression(value);
                              });
}

char AnswerOfDataSource(std::string_view text)
{
    return AnswerOf<ExpressionParser>(text, [](ExpressionParser& parser) { GcRoot root(ParseDataSource(parser)); });
}

// Of paths into an object that goes on forever.
char AnswerOfPath(std::string_view text)
{
    static const GcRoot s_root(ParseDataSourceFromString2("Tree { list = [{ list = [{ list = [{}] }] }] }"));
    return AnswerOf<ExpressionParser>(text, [](ExpressionParser& parser)
                                      { ExpressionPathNavigator navigator(parser, s_root.get(), PNM_READ_ACCESS); });
}

char AnswerOfDoor(std::string_view text)
try
{
    Expression expression(text);
    return 'y';
}
catch (const Error& e)
{
    return e.GetKind() == ErrorKind::Syntax ? 'n' : '?';
}

struct NamedParser
{
    const char* m_name;
    char (*m_answer)(std::string_view);
};
constexpr NamedParser s_parsers[] = {{"evaluator", AnswerOfEvaluator},
                                     {"door", AnswerOfDoor},
                                     {"path", AnswerOfPath},
                                     {"data-source", AnswerOfDataSource}};

} // namespace

int main(int argc, char** argv)
{
    Register_Project_klKelmScript();
    Register<Tree>();
    const auto parser =
        std::find_if(std::begin(s_parsers), std::end(s_parsers),
                     [&](const NamedParser& p) { return argc == 2 && p.m_name == std::string_view(argv[1]); });
    if (parser == std::end(s_parsers))
        return 2;
    for (std::string text; std::getline(std::cin, text, '\0');)
        std::cout << parser->m_answer(text);
}
