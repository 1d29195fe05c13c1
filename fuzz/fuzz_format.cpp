// A document's layout: its tokens and comments are those of the text, laid out again it stays, and where the text can
// be read it has one, which reads as the same object. The input's first two octets are options.

#include "Sample.h"

#include <kelmDocument/Format.h>
#include <klObject/objects/Collector.h>
#include <support/SameDocument.h>

#include <cstdlib>
#include <string>
#include <vector>

using namespace kelm;

namespace
{

void Require(bool condition)
{
    if (!condition)
        std::abort();
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
        Require(PiecesOf(*formatted) == PiecesOf(text));
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
