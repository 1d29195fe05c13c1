// Documents, for counting instructions: reading through one beside reading plainly, and what a keystroke takes.
//
//     bench_documents                                the rows: units of one call, what a unit is, name
//     bench_documents contenders
//     bench_documents ROW CONTENDER CALLS [SEED]     the work, so many times; its result is checked first

#include "support/CallsMain.h"
#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"

#include <kelmDocument/Document.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelm::bench
{

namespace
{

constexpr const char* s_contenders[] = {"KelmScript", "plain reading"};

using Prepare = std::function<std::function<bool()>()>; // work that tells whether it went right

struct Row
{
    std::string m_name;
    const char* m_unit;
    long m_unitsPerCall;
    Prepare m_document;
    Prepare m_plain; // the same without a document; none for what only a document can
};

// --- Reading

Row ReadingRow(const char* name, const std::string& text)
{
    const auto read = [](std::string_view all) { return static_cast<bool>(ReadObject(xstring(all))); };
    return {std::string("reading ") + name, "octet", static_cast<long>(text.size()),
            [=]
            {
                return [=]
                {
                    const Document document = Document::Parse(text);
                    const bool isRead = read(document.GetText());
                    CollectGarbage();
                    return isRead && document.GetIndexSize() < 3 * text.size();
                };
            },
            [=]
            {
                return [=]
                {
                    const std::string copy = text;
                    const bool isRead = read(copy);
                    CollectGarbage();
                    return isRead;
                };
            }};
}

// --- Keystrokes

constexpr std::size_t s_mebibyte = std::size_t{1} << 20;

std::string NestedText()
{
    std::string text;
    std::size_t depth = 0;
    for (; text.size() < s_mebibyte * 95 / 100; ++depth)
        text += "sample::Link{number=1 next=";
    return text + "null" + std::string(depth, '}');
}

std::string FlatText()
{
    std::string text = "sample::Flat {\n";
    for (int i = 0; i < 20'000; ++i)
        text += "    member" + std::to_string(100'000 + i) + " = \"a value, its text\" // " + std::to_string(i) + "\n";
    return text + "}\n";
}

std::string ListText()
{
    std::string text = "sample::List { values = [1";
    while (text.size() < s_mebibyte)
        text += ", 23";
    return text + "] }\n";
}

// A character that is typed in the middle, and taken back; and what somebody sees of the parts around it.
Row KeystrokeRow(const char* name, const char* typed, const std::string& text)
{
    return {std::string("a keystroke in ") + name, "keystroke", 2,
            [=]
            {
                const auto document = std::make_shared<Document>(Document::Parse(text));
                const std::size_t at = text.find_first_of("0123456789", text.size() / 2);
                return [=]
                {
                    const auto isThere = [&]
                    {
                        PartWalk walk(*document);
                        Part part{};
                        while (walk.NextToken(part) && part.m_kind != PartKind::Brackets)
                            ;
                        return part.m_kind == PartKind::Brackets;
                    };
                    document->Edit({at, at}, typed);
                    bool isRight = isThere() && document->GetText().size() == text.size() + 1;
                    document->Edit({at, at + 1}, "");
                    isRight = isThere() && isRight && document->GetText() == text;
                    return isRight;
                };
            },
            nullptr};
}

std::vector<Row> MakeRows()
{
    return {ReadingRow("records", TextsOf(MakeRecords(2'000)).m_ours),
            ReadingRow("doubles of 17 digits", TextsOf(MakeDoubles(5'000)).m_ours),
            ReadingRow("a map of strings to integers", TextsOf(MakeCounts(5'000)).m_ours),
            KeystrokeRow("1 MiB, nested", "1", NestedText()),
            KeystrokeRow("1 MiB, nested, a bracket", "{", NestedText()),
            KeystrokeRow("20,000 members", "1", FlatText()),
            KeystrokeRow("20,000 members, a bracket", "{", FlatText()),
            KeystrokeRow("one long list", "1", ListText()),
            KeystrokeRow("one long list, a bracket", "]", ListText())};
}

void Run(const std::vector<std::string>& arguments)
{
    RegisterBenchTypes();
    const std::vector<Row> rows = MakeRows();
    if (arguments.empty())
        for (const Row& row : rows)
            std::printf("%ld\t%s\t%s\n", row.m_unitsPerCall, row.m_unit, row.m_name.c_str());
    else if (arguments[0] == "contenders")
        for (const char* contender : s_contenders)
            std::puts(contender);
    else if (arguments.size() >= 3)
    {
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.m_name == arguments[0]; });
        if (row == rows.end())
            throw std::runtime_error("no such row: " + arguments[0]);
        const Prepare& prepare = arguments[1] == s_contenders[0] ? row->m_document : row->m_plain;
        if (prepare == nullptr)
            throw std::runtime_error("cannot do this row");
        const std::function<bool()> work = prepare();
        for (long i = std::stol(arguments[2]); i > 0; --i)
            if (!work())
                throw std::runtime_error("the result is wrong");
    }
    else
        throw std::runtime_error("wrong arguments: see the head of bench_documents.cpp");
}

} // namespace

} // namespace kelm::bench

int main(int argc, char** argv)
{
    return kelm::bench::RunCalls("bench_documents", argc, argv, kelm::bench::Run);
}
