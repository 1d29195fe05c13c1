#pragma once

// The evaluator of expressions as its rules say it: a function for each of the fifteen levels, over the reference's own
// tokens. Values and what is done to them are the library's.

#include <klKelmScript/KSValue.h>
#include <support/ReferenceTokens.h>

namespace kelm::reference
{

class Evaluator
{
public:
    explicit Evaluator(Stream& stream) : m_stream(stream) {}

    // Throw TextError, LiteralError, KSValueException, KelmAssertionError; NotForComparison for a division that faults.
    void ParseExpression(KSValue& literal);
    void ParseAssignment(KSValue& literal);
    void ParseConditional(KSValue& literal);
    void ParseLogicalOr(KSValue& literal);
    void ParseLogicalAnd(KSValue& literal);
    void ParseBitwiseOr(KSValue& literal);
    void ParseBitwiseExOr(KSValue& literal);
    void ParseBitwiseAnd(KSValue& literal);
    void ParseEquality(KSValue& literal);
    void ParseRelational(KSValue& literal);
    void ParseShift(KSValue& literal);
    void ParseAdditive(KSValue& literal);
    void ParseMultiplicative(KSValue& literal);
    void ParsePower(KSValue& literal);
    void ParseUnary(KSValue& literal);
    void ParsePostFix(KSValue& literal);
    void ParsePrimary(KSValue& literal);
    void ParseBracketed(KSValue& literal);
    double ParseFloatArgument();
    double ParseFloat(bool allowExplicitConversions);

private:
    using Level = void (Evaluator::*)(KSValue&);
    using Operation = KSValue (*)(const KSValue&, const KSValue&);
    struct Row
    {
        EToken m_token;
        Operation m_operation;
    };

    template <std::size_t N>
    void ParseBinary(KSValue& literal, Level next, const Row (&rows)[N]);
    void ParseIdentifier(KSValue& literal);
    void ParseCall(KSValue& literal);
    void ParseSubscript(KSValue& literal);
    void ParseMember(KSValue& literal);
    EToken Kind() const { return m_stream.m_token.m_kind; }
    [[noreturn]] void ThrowUnexpected() const;

    Stream& m_stream;
};

} // namespace kelm::reference
