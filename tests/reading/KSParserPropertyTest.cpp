// Expressions: values, errors of all kinds with their places, and what the parser is left at.

#include "LibraryOutcomes.h"

#include <klKelmScript/KSParser.h>
#include <support/ReferenceExpression.h>
#include <support/ReferenceLiterals.h>
#include <support/Script.h>

#include <gtest/gtest.h>

namespace kelm::reference
{
namespace
{

// --- Texts -----------------------------------------------------------------------------------------------------------

enum Kind
{
    K_INT,
    K_FLOAT,
    K_BOOL,
    K_STRING,
    K_ANY
};

// Draws an expression that mostly has a value, of the kind asked for.
class Drawing
{
public:
    explicit Drawing(Random& random) : m_random(random) {}

    std::string Expression(Kind kind, int depth)
    {
        if (kind == K_ANY || m_random.OneIn(40))
            kind = static_cast<Kind>(m_random.Below(K_ANY));
        if (depth <= 0)
            return Operand(kind, 0);
        switch (m_random.Below(8))
        {
        case 0: return Operand(kind, depth);
        case 1:
            return Glue(
                {Expression(K_BOOL, depth - 2), "?", Expression(kind, depth - 2), ":", Expression(kind, depth - 2)});
        case 2: return Glue({"(", Expression(kind, depth - 1), ")"});
        }
        return kind == K_BOOL && m_random.OneIn(2) ? Comparison(depth) : Chain(kind, depth);
    }

private:
    std::string Glue(std::initializer_list<std::string> parts)
    {
        std::string text;
        for (const std::string& part : parts)
            text += Space() + part;
        return text;
    }

    std::string Space() { return m_random.OneIn(12) ? AnySpace(m_random) : m_random.OneIn(3) ? "" : " "; }

    std::string Comparison(int depth)
    {
        static constexpr const char* s_operators[] = {"==", "!=", "<", "<=", ">", ">="};
        const Kind kind = m_random.OneIn(2) ? K_INT : static_cast<Kind>(m_random.Below(K_ANY));
        return Glue({Expression(kind, depth - 1), m_random.Of(s_operators), Expression(kind, depth - 1)});
    }

    std::string Operator(Kind kind)
    {
        static constexpr const char* s_ofInts[] = {"+",  "-", "*", "/", "%", "^^", "<<",
                                                   ">>", "&", "|", "^", "+", "-",  "*"};
        static constexpr const char* s_ofFloats[] = {"+", "-", "*", "/", "^^", "+", "*"};
        static constexpr const char* s_ofBools[] = {"&&", "||", "&&", "||", "==", "!="};
        if (m_random.OneIn(60))
            return AnyOperator(m_random);
        switch (kind)
        {
        case K_INT: return m_random.Of(s_ofInts);
        case K_FLOAT: return m_random.Of(s_ofFloats);
        case K_BOOL: return m_random.Of(s_ofBools);
        default: return "+";
        }
    }

    std::string Chain(Kind kind, int depth)
    {
        std::string text = Expression(kind, depth - 1);
        for (std::size_t n = 1 + m_random.Below(m_random.OneIn(10) ? 20 : 3); n > 0; --n)
            text += Glue({Operator(kind), Operand(kind, depth - 1)});
        return text;
    }

    std::string Operand(Kind kind, int depth)
    {
        if (m_random.OneIn(8))
            return Glue({Prefix(kind), Operand(kind, depth)});
        if (depth > 0 && m_random.OneIn(4))
            return Call(kind, depth - 1);
        if (m_random.OneIn(60))
            return Postfix(Operand(kind, 0));
        switch (kind)
        {
        case K_INT:
            return m_random.OneIn(10) ? AnyNumber(m_random)
                                      : std::to_string(m_random.Below(m_random.OneIn(4) ? 1000000 : 20));
        case K_FLOAT:
            return m_random.OneIn(2) ? AnyFloat(m_random)
                                     : std::to_string(m_random.Below(1000)) + "." + std::to_string(m_random.Below(100));
        case K_BOOL: return m_random.OneIn(2) ? "true" : "false";
        case K_STRING: return AnyQuoted(m_random);
        case K_ANY: break;
        }
        return AnyName(m_random);
    }

    std::string Prefix(Kind kind)
    {
        static constexpr const char* s_prefixes[] = {"-", "-", "+", "~"};
        return kind == K_BOOL ? "!" : kind == K_STRING ? "" : kind == K_FLOAT ? "-" : m_random.Of(s_prefixes);
    }

    std::string Call(Kind kind, int depth)
    {
        static constexpr const char* s_toBool[] = {"is_bool", "is_int", "is_double", "is_string", "bool"};
        static constexpr const char* s_toInt[] = {"int", "char", "int", "len"};
        static constexpr const char* s_toFloat[] = {"sin", "cos", "tan", "exp", "log", "double"};
        const auto call = [&](const char* name, Kind argument) {
            return Glue({name, "(", Expression(argument, depth), ")"});
        };
        switch (kind)
        {
        case K_BOOL: return call(m_random.Of(s_toBool), m_random.OneIn(2) ? K_ANY : K_INT);
        case K_INT: return call(m_random.Of(s_toInt), m_random.OneIn(2) ? K_FLOAT : K_BOOL);
        case K_FLOAT: return call(m_random.Of(s_toFloat), K_FLOAT);
        default: return call("string", static_cast<Kind>(m_random.Below(K_STRING)));
        }
    }

    std::string Postfix(const std::string& operand)
    {
        switch (m_random.Below(6))
        {
        case 0: return Glue({operand, "(", ")"});
        case 1: return Glue({operand, "(", Expression(K_ANY, 1), ",", ")"});
        case 2: return Glue({operand, "(", Expression(K_ANY, 1), ",", Expression(K_ANY, 1), ")"});
        case 3: return Glue({operand, "[", Expression(K_INT, 1), "]"});
        case 4: return Glue({operand, ".", AnyName(m_random)});
        }
        return Glue({operand, "=", Expression(K_ANY, 1)});
    }

    Random& m_random;
};

// --- Outcomes --------------------------------------------------------------------------------------------------------

struct Entry
{
    void (*m_library)(KSParser& parser, KSValue& value);
    void (*m_reference)(Evaluator& evaluator, KSValue& value);
};

template <auto Library, auto Reference>
constexpr Entry s_entry = {[](KSParser& parser, KSValue& value) { (parser.*Library)(value); },
                           [](Evaluator& evaluator, KSValue& value) { (evaluator.*Reference)(value); }};

constexpr Entry s_entries[] = {
    s_entry<&KSParser::UnsafeParseExpression, &Evaluator::ParseAssignment>,
    s_entry<&KSParser::ParseAssignmentExpression, &Evaluator::ParseAssignment>,
    s_entry<&KSParser::ParseConditionalExpression, &Evaluator::ParseConditional>,
    s_entry<&KSParser::ParseLogicalOrExpression, &Evaluator::ParseLogicalOr>,
    s_entry<&KSParser::ParseLogicalAndExpression, &Evaluator::ParseLogicalAnd>,
    s_entry<&KSParser::ParseBitwiseOrExpression, &Evaluator::ParseBitwiseOr>,
    s_entry<&KSParser::ParseBitwiseExOrExpression, &Evaluator::ParseBitwiseExOr>,
    s_entry<&KSParser::ParseBitwiseAndExpression, &Evaluator::ParseBitwiseAnd>,
    s_entry<&KSParser::ParseEqualityExpression, &Evaluator::ParseEquality>,
    s_entry<&KSParser::ParseRelationalExpression, &Evaluator::ParseRelational>,
    s_entry<&KSParser::ParseShiftExpression, &Evaluator::ParseShift>,
    s_entry<&KSParser::ParseAdditiveExpression, &Evaluator::ParseAdditive>,
    s_entry<&KSParser::ParseMultiplicativeExpression, &Evaluator::ParseMultiplicative>,
    s_entry<&KSParser::ParsePowerExpression, &Evaluator::ParsePower>,
    s_entry<&KSParser::ParseUnaryExpression, &Evaluator::ParseUnary>,
    s_entry<&KSParser::ParsePostFixExpression, &Evaluator::ParsePostFix>,
    s_entry<&KSParser::ParsePrimaryExpression, &Evaluator::ParsePrimary>,
    s_entry<&KSParser::ParseLiteralInBrackets, &Evaluator::ParseBracketed>,
    {[](KSParser& parser, KSValue& value) { value = KSValue(parser.ParseFloat64Arg()); },
     [](Evaluator& evaluator, KSValue& value) { value = KSValue(evaluator.ParseFloatArgument()); }},
    {[](KSParser& parser, KSValue& value) { value = KSValue(parser.ParseValue<double>(true)); },
     [](Evaluator& evaluator, KSValue& value) { value = KSValue(evaluator.ParseFloat(true)); }},
};

// Most often the whole expression.
Entry ChooseEntry(Random& choice)
{
    return choice.OneIn(4) ? choice.Of(s_entries) : s_entry<&KSParser::ParseExpression, &Evaluator::ParseExpression>;
}

// The value is told where there is one, and where an assertion that the language ends in on purpose leaves it.
template <class Evaluate>
std::string ToldEvaluation(Evaluate evaluate)
{
    KSValue value;
    std::string failure;
    try
    {
        evaluate(value);
    }
    catch (const LiteralError& e)
    {
        failure = "LiteralException: " + e.m_message;
    }
    catch (const TextError& e)
    {
        failure = ToldError(e);
    }
    catch (const LiteralException& e)
    {
        failure = "LiteralException: " + ToStdString(e.m_description);
    }
    catch (const KSValueException& e)
    {
        failure = "KSValueException: " + ToStdString(e.m_description);
    }
    catch (const KelmAssertionError& e)
    {
        failure = "KelmAssertionError: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ":" +
                  std::to_string(e.m_line) + ")";
    }
    const bool isValueLeft = failure.empty() || failure.compare(0, 4, "Kelm") == 0;
    return failure + (isValueLeft ? " value " + KindAndValue(value) : "");
}

std::string LibraryEvaluation(SubString text, Random choice)
{
    const Entry entry = ChooseEntry(choice);
    KSParser parser;
    const auto evaluate = [&](KSValue& value)
    {
        try
        {
            parser.Init(text);
            entry.m_library(parser, value);
        }
        catch (const LexScannerException& e)
        {
            throw TextError{ToStdString(e.m_description), PlaceIn(text, e.m_pos)};
        }
    };
    const std::string outcome = ToldEvaluation(evaluate);
    return outcome + ToldState(parser, text);
}

std::string ReferenceEvaluation(const std::string& text, Random choice)
{
    const Entry entry = ChooseEntry(choice);
    Stream stream(text);
    const auto evaluate = [&](KSValue& value)
    {
        stream.Init();
        Evaluator evaluator(stream);
        entry.m_reference(evaluator, value);
    };
    const std::string outcome = ToldEvaluation(evaluate);
    return outcome + ToldState(stream);
}

TEST(KSParser, EvaluatesAnyExpression)
{
    const auto draw = [](Random& random, Random)
    { return Drawing(random).Expression(K_ANY, static_cast<int>(random.Below(5))) + AnySpace(random); };
    Compare({60, draw, LibraryEvaluation, ReferenceEvaluation});
}

TEST(KSParser, EvaluatesAnyDamagedExpression)
{
    const auto draw = [](Random& random, Random)
    {
        std::string text = Drawing(random).Expression(K_ANY, static_cast<int>(random.Below(4)));
        Damage(random, text);
        return text;
    };
    Compare({45, draw, LibraryEvaluation, ReferenceEvaluation});
}

TEST(KSParser, EvaluatesAnyTokens)
{
    static constexpr const char* s_tokens[] = {"1",   "2.5",    "'a'", "true", "false", "len", "is_int",
                                               "int", "string", "sin", "log",  "name",  "(",   ")",
                                               "[",   "]",      ",",   ".",    "?",     ":"};
    const auto draw = [](Random& random, Random)
    {
        std::string text;
        for (std::size_t n = random.Below(12); n > 0; --n)
            text += (random.OneIn(3) ? AnyToken(random) : random.Of(s_tokens)) + AnySpace(random);
        return text;
    };
    Compare({35, draw, LibraryEvaluation, ReferenceEvaluation});
}

} // namespace
} // namespace kelm::reference
