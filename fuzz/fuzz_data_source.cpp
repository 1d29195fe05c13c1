// Any text ends in an object or in a described failure, placed inside the text, and does the same when it is read
// again; a reading that goes on behind errors begins with that failure; all that was made on the way can be collected.

#include "Sample.h"

#include <kelmDocument/Diagnose.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/WriteVariable.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace kelm;

namespace
{

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

// A 16-bit string of bytes that are not UTF-8 is the only assertion that these classes can reach.
void RequireNoUtf8(const KelmAssertionError& e)
{
    Require(e.m_condition == "Utf16FromUtf8(dst,src)");
}

// What reading comes to: the object's text, or the failure's place and message.
std::string Read(const xstring& text)
{
    StringStream os(4096);
    try
    {
        LexScannerException error{xstring(), LSToken()};
        if (const GcRoot object(ParseDataSource(text, error)); object.get())
        {
            WriteObject(os, object.get());
        }
        else if (error.m_description.size() != 0)
        {
            Require(error.m_pos >= text.data() && error.m_pos <= text.data() + text.size());
            os << "error " << static_cast<long>(error.m_pos - text.data()) << error.m_description;
        }
    }
    catch (const WriteException& e)
    {
        os << e.m_description;
    }
    catch (const KelmAssertionError& e)
    {
        RequireNoUtf8(e);
        os << "assertion";
    }
    return std::string(os.GetString().view());
}

// The first error of a reading that goes on.
std::string FirstError(std::string_view text)
{
    try
    {
        const std::vector<Diagnostic> all = Diagnose(text);
        const auto first =
            std::find_if(all.begin(), all.end(), [](const Diagnostic& d) { return d.m_severity == Severity::Error; });
        for (const Diagnostic& d : all)
            Require(d.m_place <= text.size() && d.m_token.m_begin <= d.m_token.m_end && d.m_token.m_end <= text.size());
        return first == all.end() ? "" : "error " + std::to_string(first->m_place) + first->m_message;
    }
    catch (const KelmAssertionError& e)
    {
        RequireNoUtf8(e);
        return "assertion";
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    const xstring text(reinterpret_cast<const char*>(data), static_cast<ssize_t>(size));
    const std::string outcome = Read(text);
    Require(Read(text) == outcome);
    const std::string first = FirstError(text.view());
    const bool isFailure = outcome.starts_with("error ");
    // A byte order mark is passed over there; an assertion may come behind an error.
    if (first != "assertion" && outcome != "assertion" && !text.view().starts_with("\xEF\xBB\xBF"))
        Require(isFailure ? first == outcome : first.empty());
    Require(CollectGarbage().m_live == 0);
    return 0;
}
