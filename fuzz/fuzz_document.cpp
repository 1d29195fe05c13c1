// A document that is edited at random: as a text its tree stays that of a new reading; in place, by paths, it can be
// read afterwards, or has not changed. The input's lines up to an empty one are edits, a verb and what stands between
// tabs; behind it is the document.

#include "Sample.h"

#include <kelmDocument/Document.h>
#include <kelmDocument/Editor.h>
#include <klKelmScript/ParseDataSource.h>

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

// Up to a character, which is taken too.
std::string_view Take(std::string_view& text, char until)
{
    const std::size_t end = std::min(text.find(until), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

void RequireSameTree(const Document& a, const Document& b)
{
    std::vector<std::pair<PartWalk, PartWalk>> levels{{PartWalk(a), PartWalk(b)}};
    while (!levels.empty())
    {
        Part part{};
        Part other{};
        const bool isAny = levels.back().first.Next(part);
        Require(levels.back().second.Next(other) == isAny);
        Require(!isAny || part == other);
        if (!isAny)
            levels.pop_back();
        else if (part.m_kind == PartKind::Brackets)
            levels.emplace_back(levels.back().first.Inside(part), levels.back().second.Inside(other));
    }
}

void EditText(Document& document, std::string_view place, std::string_view inserted)
{
    const std::size_t size = document.GetText().size();
    const std::size_t begin = std::min<std::size_t>(std::strtoul(std::string(place).c_str(), nullptr, 10), size);
    document.Edit({begin, std::min(begin + place.size(), size)}, inserted);
    RequireSameTree(document, Document::Parse(std::string(document.GetText())));
}

Result<bool> EditValue(Document& document, char verb, std::string_view first, std::string_view second)
{
    DocumentEditor editor(document);
    switch (verb)
    {
    case 's': return editor.Set(first, second);
    case 'a': return editor.Add(first, second);
    case 'r': return editor.Remove(first);
    case 'i': return editor.Insert(first, second);
    case 'n': return editor.Rename(first, second);
    default: return editor.Move(first, second);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    std::string_view input(reinterpret_cast<const char*>(data), size);
    std::vector<std::string_view> edits;
    for (std::string_view line = Take(input, '\n'); !line.empty() && edits.size() < 16; line = Take(input, '\n'))
        edits.push_back(line);
    Document document = Document::Parse(std::string(input));
    for (std::string_view edit : edits)
    {
        const char verb = edit.front();
        edit.remove_prefix(1);
        const std::string_view first = Take(edit, '\t');
        const std::string before(document.GetText());
        if (verb == 'e')
        {
            EditText(document, first, edit);
            continue;
        }
        const Result<bool> result = EditValue(document, verb, first, edit);
        Require((document.GetText() != before) == (result && *result));
        if (!result)
            continue;
        RequireSameTree(document, Document::Parse(std::string(document.GetText())));
        std::string_view text = document.GetText();
        if (text.starts_with("\xEF\xBB\xBF"))
            text.remove_prefix(3);
        LexScannerException error{xstring(), LSToken()};
        Require(bool{ParseDataSource(xstring(text), error)});
    }
    if (CollectGarbage().m_live != 0)
        std::abort();
    return 0;
}
