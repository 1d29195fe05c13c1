// The public entries of documents, all of them, where memory ends.

#include "EveryAllocation.h"
#include "ScarceTypes.h"

#include <kelmDocument/Diagnose.h>
#include <kelmDocument/Document.h>
#include <kelmDocument/Editor.h>
#include <kelmDocument/Format.h>
#include <kelmDocument/Items.h>
#include <kelmDocument/Update.h>
#include <support/TemporaryFolder.h>

#include <array>
#include <utility>

namespace kelm
{

namespace
{

using scarce::Line;
using scarce::Link;
using scarce::Order;

const TemporaryFolder s_folder;

constexpr char s_text[] = R"(// An order that somebody has written.
scarce::Order {
    customer = "a customer whose name is written, and takes memory"   // and a comment
    lines = [
        { item = "the first item, whose name takes memory" quantity = 3 },
        // what belongs to the second
        { item = "the second item, whose name takes memory too" },
        { quantity = 5 }
    ]
    rates = ["the first key that takes memory of its own" -> 1.5, "the second key that takes memory" -> 2]
    note = "short"
}
)";
constexpr char s_wrong[] =
    "scarce::Order { custmer = 'a' lines = [{ quantity = 'three' }, { itm = 5 }] note = 'b' note = 'c' } x";
constexpr char s_long[] = "'a text that is longer than any that is stored in place'";

struct World
{
    Document document = Document::Parse(s_text);
    FilePath file = s_folder.MakeFile("line.kds", "{ item = 'an item that takes memory' } // and a comment");

    std::string Written() const
    {
        std::string written(document.GetText());
        written += TextOfFile(file.GetText());
        for (const auto& entry : std::filesystem::directory_iterator(s_folder.GetPath()))
            written += entry.path().filename().string() + ' ';
        // What is kept beside the text belongs to it.
        PartWalk walk(document);
        for (Part part; walk.Next(part);)
            written += ' ' + std::to_string(part.m_span.m_end);
        return written;
    }
};

template <class T>
std::string OutcomeOf(const Result<T>& result)
{
    if (!result)
        return result.GetError().what();
    if constexpr (std::is_same_v<T, bool>)
        return *result ? "changed" : "as it is";
    else
        return *result;
}

std::string ShownBy(const std::vector<Diagnostic>& diagnostics)
{
    std::string all;
    for (const Diagnostic& diagnostic : diagnostics)
        all += std::to_string(diagnostic.m_place) + ' ' + diagnostic.m_message + diagnostic.m_note + '\n';
    return all;
}

std::string Edited(World& world, Result<bool> (*edit)(DocumentEditor& editor))
{
    DocumentEditor editor(world.document);
    return OutcomeOf(edit(editor));
}

Order ChangedOrder()
{
    Order order = Read<Order>(s_text);
    order.lines.insert(order.lines.begin(), Line{"a new item that takes memory", 9});
    order.lines[2].quantity = 11;
    order.rates["a third key that takes memory"] = 3;
    order.gift = Line{};
    return order;
}

constexpr Operation<World> s_operations[] = {
    {"parse", [](World&) { return std::string(Document::Parse(s_text).GetText()); }},
    {"edit",
     [](World& world)
     {
         world.document.Edit({0, 2},
                             "/* a text that is longer than any that is stored in place, and longer than the room "
                             "that a document has behind its own */ // ");
         return std::string();
     }},
    {"parts, and their items",
     [](World& world)
     {
         std::string all;
         PartWalk walk(world.document);
         for (Part part; walk.NextToken(part);)
         {
             if (part.m_kind != PartKind::Brackets)
                 continue;
             PartWalk inside = walk.Inside(part);
             for (Part inner; inside.Next(inner);)
                 all += std::to_string(inner.m_span.m_begin) + ' ';
             ItemWalk items(world.document, part);
             for (Item item; items.Next(item);)
             {
                 all += item.m_name.In(world.document.GetText());
                 ItemWalk(world.document, part, item.m_span.m_begin).Next(item);
             }
         }
         return all + std::to_string(ScanPart(s_text, 0).m_span.m_end);
     }},
    {"set a member",
     [](World& world) { return Edited(world, [](DocumentEditor& e) { return e.Set(".note", s_long); }); }},
    {"set a new member",
     [](World& world) {
         return Edited(world,
                       [](DocumentEditor& e) { return e.Set(".gift", "{ item = 'a gift that takes memory' }"); });
     }},
    {"set a key",
     [](World& world) {
         return Edited(world, [](DocumentEditor& e) { return e.Set(".rates['another key that takes memory']", "3"); });
     }},
    {"set what is wrong", [](World& world)
     { return Edited(world, [](DocumentEditor& e) { return e.Set(".lines[0].quantity", "'three'"); }); }},
    {"add",
     [](World& world)
     {
         return Edited(world,
                       [](DocumentEditor& e) { return e.Add(".lines", "[{ item = 'one more that takes memory' }]"); });
     }},
    {"insert", [](World& world)
     { return Edited(world, [](DocumentEditor& e) { return e.Insert(".lines[1]", "{ quantity = 7 }"); }); }},
    {"remove", [](World& world) { return Edited(world, [](DocumentEditor& e) { return e.Remove(".lines[1]"); }); }},
    {"rename",
     [](World& world)
     {
         return Edited(
             world, [](DocumentEditor& e)
             { return e.Rename(".rates['the second key that takes memory']", "'a new key that takes memory'"); });
     }},
    {"move",
     [](World& world) { return Edited(world, [](DocumentEditor& e) { return e.Move(".lines[1]", ".lines[0]"); }); }},
    {"set by the policy of a type",
     [](World& world)
     {
         DocumentEditor editor(world.document, DocumentPolicy::Of<Order>());
         return OutcomeOf(editor.Set(".lines[2].item", s_long));
     }},
    {"set several",
     [](World& world)
     {
         DocumentEditor editor(world.document);
         static constexpr Assignment s_assignments[] = {{".note", s_long}, {".lines[0].quantity", "17"}};
         return std::to_string(editor.SetSome(s_assignments));
     }},
    {"remove some",
     [](World& world)
     {
         DocumentEditor editor(world.document);
         static constexpr std::string_view s_paths[] = {".note", ".lines[0].quantity"};
         return std::to_string(editor.RemoveSome(s_paths));
     }},
    {"insert some",
     [](World& world)
     {
         DocumentEditor editor(world.document);
         static constexpr Assignment s_additions[] = {{".lines", "{ quantity = 7 }"},
                                                      {".rates['a third key that takes memory of its own']", "3"},
                                                      {".lines[4]", "{ item = 'an item that takes memory' }"},
                                                      {".lines", "{}"},
                                                      {".lines", "{}"}};
         return std::to_string(editor.InsertSome(s_additions));
     }},
    {"format", [](World& world) { return OutcomeOf(Format(world.document, {.m_width = 40, .m_indent = 2})); }},
    {"format what is wrong", [](World&) { return OutcomeOf(Format("scarce::Order { note = }")); }},
    {"format lines",
     [](World&)
     {
         std::string all;
         const auto changes = FormatLines("A   { b =   1 c= [1,   2\n\n\n ] }", {0, 20});
         for (const SpaceChange& change : *changes)
             all += std::to_string(change.m_removed.m_begin) + change.m_inserted;
         return all;
     }},
    {"find a syntax error",
     [](World&) { return FindSyntaxError("{ a = ['a text that does not end").value().m_message; }},
    {"diagnose", [](World&) { return ShownBy(Diagnose(s_wrong)); }},
    {"diagnose by the policy of a type",
     [](World&) { return ShownBy(Diagnose(s_wrong, DocumentPolicy::Of<Order>())); }},
    {"update", [](World&) { return Update(s_text, ChangedOrder()); }},
    {"update an object",
     [](World&)
     {
         Register<Link>();
         const Object object =
             Read<Object>("scarce::Link { name = 'a name that takes memory of its own' next = scarce::Link {} }");
         object.As<Link>().name = "another name that takes memory of its own";
         return Update("scarce::Link { name = 'b' /* a comment */ }", object);
     }},
    {"update what is wrong", [](World&) { return OutcomeOf(TryUpdate(s_wrong, Order())); }},
    {"update a file",
     [](World& world) {
         return OutcomeOf(TryUpdateFile(world.file, Line{"another item that takes memory", 9}));
     }},
    {"update no file", [](World&) { return OutcomeOf(TryUpdateFile("/a folder/not there", Order())); }},
    {"a file that is kept open",
     [](World& world)
     {
         OpenFile<Line> file(world.file);
         file->quantity = 9;
         return OutcomeOf(file.TryUpdate());
     }},
};

TEST(Memory, OfDocuments)
{
    ExpectAllWhole(s_operations);
}

} // namespace

} // namespace kelm
