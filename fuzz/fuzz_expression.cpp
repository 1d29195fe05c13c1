// Any text ends in a value or in one of the documented exceptions, placed inside the text: those of the reference,
// which reads byte by byte and has a function for each level. And it does so again.

#include <klKelmScript/KSParser.h>
#include <support/Expect.h>
#include <support/ReferenceComparison.h>
#include <support/ReferenceExpression.h>
#include <support/ReferenceLiterals.h>
#include <support/Script.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace kelm;
using reference::LiteralError;
using reference::TextError;

namespace
{

bool MayDivideTheSmallestInteger(SubString text)
{
    bool hasDivision = false;
    bool hasMinus = false;
    for (const char c : text)
    {
        hasDivision |= c == '/' || c == '%';
        hasMinus |= c == '-' || c == '~';
    }
    return hasDivision && hasMinus;
}

std::string Told(SubString text, const LexScannerException& e)
{
    if (e.m_pos < text.m_p1 || e.m_pos > text.m_p2)
        std::abort();
    return ToStdString(e.m_description) + " at " + std::to_string(e.m_pos - text.m_p1);
}

// What an evaluation comes to: its value, or the error.
template <class Evaluate>
std::string Outcome(SubString text, Evaluate evaluate)
{
    try
    {
        KSValue value;
        evaluate(value);
        return KindAndValue(value);
    }
    catch (const LexScannerException& e)
    {
        return Told(text, e);
    }
    catch (const TextError& e)
    {
        return e.m_message + " at " + std::to_string(e.m_place);
    }
    catch (const LiteralException& e)
    {
        return ToStdString(e.m_description);
    }
    catch (const LiteralError& e)
    {
        return e.m_message;
    }
    catch (const KSValueException& e)
    {
        return ToStdString(e.m_description);
    }
    catch (const KelmAssertionError& e)
    {
        // Subscripts and len of strings are the only ones.
        if (e.m_line != 816 && e.m_line != 835)
            throw;
        return std::to_string(e.m_line);
    }
}

std::string OfLibrary(SubString text)
{
    return Outcome(text,
                   [text](KSValue& value)
                   {
                       KSParser parser;
                       parser.Init(text);
                       parser.ParseExpression(value);
                   });
}

std::string OfReference(SubString text)
{
    const std::string copy(text.m_p1, text.m_p2);
    return Outcome(text,
                   [&copy](KSValue& value)
                   {
                       reference::Stream stream(copy);
                       stream.Init();
                       reference::Evaluator(stream).ParseExpression(value);
                   });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const char* const begin = reinterpret_cast<const char*>(data);
    const SubString text(begin, begin + size);
    constexpr std::size_t longest = 512; // since the reference recurses, on one stack
    std::string expected;
    try
    {
        if (size > longest && MayDivideTheSmallestInteger(text))
            return 0;
        expected = size <= longest ? OfReference(text) : OfLibrary(text);
    }
    catch (const reference::NotForComparison&)
    {
        return 0; // dividing the smallest integer by -1 faults, as documented
    }
    for (int i = 0; i < 2; ++i)
        if (const std::string outcome = OfLibrary(text); outcome != expected)
        {
            std::fprintf(stderr, "%s\ninstead of\n%s\n", outcome.c_str(), expected.c_str());
            std::abort();
        }
    return 0;
}
