// A document's layout: its tokens and comments are those of the text, laid out again it stays, and where the text can
// be read it has one, which reads as the same object. The input's first two octets are options.

#include "Sample.h"

#include <kelmDocument/Format.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

#include <cstdlib>
#include <exception>
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

Part NextPiece(std::string_view text, std::size_t& at)
{
    Part part{};
    do
    {
        part = at < text.size() ? ScanPart(text, at) : Part{PartKind::Space, TOKEN_END, {at, at}};
        at = part.m_span.m_end;
    } while (at < text.size() && part.m_kind == PartKind::Space);
    return part;
}

void RequireSamePieces(std::string_view a, std::string_view b)
{
    std::size_t atA = 0;
    std::size_t atB = 0;
    while (atA < a.size() || atB < b.size())
    {
        const Part partA = NextPiece(a, atA);
        const Part partB = NextPiece(b, atB);
        const bool isSpace = partA.m_kind == PartKind::Space && partB.m_kind == PartKind::Space;
        Require(isSpace || (partA.m_kind == partB.m_kind && partA.m_span.In(a) == partB.m_span.In(b)));
    }
}

// What all of a text reads as; nothing where it is no data source.
std::string WhatItReadsAs(std::string_view text)
{
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    try
    {
        ExpressionParser parser;
        parser.Init({text.data(), text.data() + text.size()});
        const ptr<IObject> object = ParseDataSource(parser);
        if (parser.m_token.m_type != TOKEN_END)
            return {};
        if (!object)
            return "null";
        StringStream stream(4096);
        WriteObject(stream, object);
        return std::string(stream.GetString().view());
    }
    catch (const std::exception&)
    {
        return {};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size < 2)
        return 0;
    sample::RegisterOnce();
    const FormatOptions options{data[0], data[1] % 9U};
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
    const std::string readsAs = WhatItReadsAs(text);
    const Result<std::string> formatted = Format(text, options);
    Require(!formatted == FindSyntaxError(text).has_value());
    Require(formatted || readsAs.empty());
    if (formatted)
    {
        RequireSamePieces(text, *formatted);
        const Result<std::string> again = Format(*formatted, options);
        Require(again && *again == *formatted);
        Require(WhatItReadsAs(*formatted) == readsAs);
        std::string changed = text;
        const std::vector<SpaceChange> changes = *FormatLines(text, {0, text.size()}, options);
        for (std::size_t i = changes.size(); i-- > 0;)
            changed.replace(changes[i].m_removed.m_begin, changes[i].m_removed.GetSize(), changes[i].m_inserted);
        Require(changed == *formatted);
    }
    if (CollectGarbage().m_live != 0)
        std::abort();
    return 0;
}
