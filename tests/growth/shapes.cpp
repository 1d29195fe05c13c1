// Texts of hostile shapes, of any size. One is read in this program, whose instructions growth.py counts.
//
//     growthShapes                 the shapes' names, one a line
//     growthShapes NAME SIZE       makes the text of about so many bytes, and reads it

#include <tools/kelmscript/repl/Completion.h>

#include <kelm/private/errors/Suggest.h>
#include <kelmDocument/Editor.h>
#include <kelmDocument/Format.h>
#include <kelmDocument/Update.h>
#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/GcObject.h>
#include <klObject/values/WriteVariable.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <string>
#include <vector>

namespace growth
{

struct Nested
{
    kelm::xvector<Nested> inner;
};

struct Record
{
    kelm::int32 number = 0;
    kelm::xstring text;
    kelm::xvector<kelm::int64> numbers;
    kelm::xvector<kelm::xstring> texts;
    kelm::xmap<kelm::int64, kelm::int32> counts;
    kelm::xmap<kelm::xstring, kelm::int32> names;
    Nested nested;
    kelm::ptr<kelm::IObject> next;
};

} // namespace growth

KELM_CLASS(growth::Nested, KELM_MODEL(inner))
KELM_CLASS(growth::Record, KELM_MODEL(number), KELM_MODEL(text), KELM_MODEL(numbers), KELM_MODEL(texts),
           KELM_MODEL(counts), KELM_MODEL(names), KELM_MODEL(nested), KELM_MODEL(next))

// What is counted is what this calls.
extern "C" [[gnu::noinline, gnu::visibility("default")]] void RunShape(void (*run)(const std::string& text),
                                                                       const std::string& text)
{
    run(text);
    asm volatile("" ::: "memory");
}

namespace kelm
{
namespace
{

// --- Texts

std::string Repeat(std::size_t bytes, const std::string& part)
{
    std::string text;
    text.reserve(bytes + part.size());
    while (text.size() < bytes)
        text += part;
    return text;
}

// An opening and a closing for each level.
std::string Nest(std::size_t bytes, const std::string& open, const std::string& innermost, const std::string& close)
{
    const std::size_t levels = bytes / (open.size() + close.size());
    return Repeat(levels * open.size(), open) + innermost + Repeat(levels * close.size(), close);
}

// What make(i) makes, with commas between.
template <class Make>
std::string List(std::size_t bytes, Make make)
{
    std::string text;
    for (std::size_t i = 0; text.size() < bytes; ++i)
        text += (i == 0 ? "" : ", ") + make(i);
    return text;
}

std::string InRecord(const std::string& members)
{
    return "growth::Record { " + members + " }";
}

// --- Readers

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

void Evaluate(const std::string& text)
{
    KSParser parser;
    parser.Init({text.data(), text.data() + text.size()});
    KSValue value;
    parser.ParseExpression(value);
}

// Errors are shapes, too.
template <void (*Read)(const std::string&)>
void Fail(const std::string& text)
{
    try
    {
        Read(text);
    }
    catch (const std::exception&)
    {
        return;
    }
    throw std::runtime_error("is read");
}

void ReadAny(const std::string& text)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString(ToXString(text), error));
    if (!root.get())
        throw std::runtime_error(error.c_str());
}

void ReadAndWrite(const std::string& text)
{
    xstring error;
    const GcRoot root(ParseDataSourceFromString(ToXString(text), error));
    StringStream os(4096);
    WriteObject(os, root.get());
    CollectGarbage();
}

void Navigate(const std::string& text)
{
    const GcRoot root(CreateGcObject<growth::Record>());
    RegisterGcObject(root.get());
    CastObject<growth::Record>(root.get())->next = root.get(); // goes round
    ReflectionByteCode type;
    xstring error;
    if (NavigatePathToField(root.get(), ToXString(text), type, false, error) == nullptr)
        throw std::runtime_error(error.c_str());
}

// --- Descriptors by the thousand

std::size_t CountFor(std::size_t bytes)
{
    return bytes / 64;
}

ConstStringZ Keep(const std::string& text)
{
    static std::deque<std::string> s_texts;
    return s_texts.emplace_back(text).c_str();
}

const uint8 s_int32[] = {FT_INT32};

struct Numbered
{
    int32 m_number = 0;
};
const ReflectedClass& _GetReflected(const Numbered*)
{
    static const ReflectedClass s_class = {.m_name = "growth::Numbered", .m_size = sizeof(Numbered)};
    return s_class;
}

// So many classes, the names of which have several segments.
void RegisterClasses(std::size_t count)
{
    static std::deque<ReflectedClass> s_classes;
    static const ReflectedField s_fields[] = {{"number", 0, s_int32}};
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::string n = std::to_string(i);
        s_classes.push_back({.m_name = Keep("many::a" + n + "::b::c::d::e::f::Class"),
                             .m_size = sizeof(Numbered),
                             .m_fields = s_fields,
                             .m_numFields = 1,
                             .m_createFn = CreateGcObject<Numbered>});
        if (RegisterReflectedClass(&s_classes.back(), nullptr) != NSE_OK)
            throw std::runtime_error("a class is refused");
    }
}

// Each contains the one before it; the last one is visited, read and written.
void RegisterChain(std::size_t count)
{
    static std::deque<ReflectedClass> s_classes;
    static std::deque<ReflectedModelField> s_fields;
    static std::deque<std::vector<ConstStringZ>> s_names;
    static const uint8 s_class[] = {FT_CLASS, 0, 0};
    static const uint8 s_handle[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
    for (std::size_t i = 0; i < count; ++i)
    {
        s_names.push_back({i == 0 ? "kelm::IObject" : s_classes.back().m_name, nullptr});
        s_fields.push_back({"in", 0, i == 0 ? s_handle : s_class, 0, -1, nullptr});
        s_classes.push_back({.m_name = Keep("chained::Class" + std::to_string(i)),
                             .m_size = 16,
                             .m_modelFields = &s_fields.back(),
                             .m_numModelFields = 1,
                             .m_stringTable = s_names.back().data()});
        if (RegisterReflectedClass(&s_classes.back(), nullptr) != NSE_OK)
            throw std::runtime_error("a class is refused");
    }
    struct Visitor : IObjectVisitor
    {
        void Visit(const ptr<IObject>&) override {}
    } visitor;
    const ptr<IObject> null;
    VisitObjectsInClassInstance(s_classes.back(), &null, visitor);
}

// A class of so many members, an enumeration of so many enumerators.
const uint8 s_wideEnumType[] = {FT_ENUM, 0, 0};
const ConstStringZ s_wideNames[] = {"wide::Enum", nullptr};

void RegisterWide(std::size_t count)
{
    static std::vector<ReflectedModelField> s_fields;
    static std::vector<ConstStringZ> s_names;
    for (std::size_t i = 0; i < count; ++i)
    {
        s_names.push_back(Keep("name" + std::to_string(i)));
        s_fields.push_back({s_names.back(), 0, s_wideEnumType, 0, -1, nullptr});
    }
    static const ReflectedEnum s_wideEnum = {
        .m_name = "wide::Enum", .m_count = static_cast<int32>(count), .m_strings = s_names.data()};
    static const ReflectedClass s_wide = {.m_name = "wide::Class",
                                          .m_size = sizeof(Numbered),
                                          .m_modelFields = s_fields.data(),
                                          .m_numModelFields = static_cast<ssize_t>(count),
                                          .m_stringTable = s_wideNames,
                                          .m_createFn = CreateGcObject<Numbered>};
    if (RegisterReflectedEnum(&s_wideEnum, nullptr) != NSE_OK || RegisterReflectedClass(&s_wide, nullptr) != NSE_OK)
        throw std::runtime_error("a type is refused");
}

// A variant of so many alternatives, in a list.
using Pick = xvariant<int32>;

struct Picks
{
    xvector<Pick> m_list;
};
const ReflectedClass& _GetReflected(const Picks*)
{
    static const uint8 s_list[] = {FT_VECTOR, FT_VARIANT, 0, 0};
    static const ReflectedModelField s_field = {"list", 0, s_list, 0, -1, nullptr};
    static const ConstStringZ s_table[] = {"wide::Pick", nullptr};
    static const ReflectedClass s_class = {.m_name = "wide::Picks",
                                           .m_size = sizeof(Picks),
                                           .m_modelFields = &s_field,
                                           .m_numModelFields = 1,
                                           .m_stringTable = s_table,
                                           .m_createFn = CreateGcObject<Picks>};
    return s_class;
}

void RegisterPicks(std::size_t count)
{
    static std::vector<ReflectedField> s_fields;
    for (std::size_t i = 0; i < count; ++i)
        s_fields.push_back({Keep("name" + std::to_string(i)), sizeof(Pick) - sizeof(int32), s_int32});
    static const ReflectedVariant s_pick = {.m_name = "wide::Pick",
                                            .m_size = sizeof(Pick),
                                            .m_fields = s_fields.data(),
                                            .m_numFields = static_cast<ssize_t>(count)};
    if (RegisterReflectedVariant(&s_pick, nullptr) != NSE_OK ||
        RegisterReflectedClass(&_GetReflected(static_cast<const Picks*>(nullptr)), nullptr) != NSE_OK)
        throw std::runtime_error("a type is refused");
}

// --- The shapes

void SuggestFor(const std::string& name, const std::vector<std::string>& names)
{
    if (!NearestNames(name, names).empty())
        throw std::runtime_error("one is near");
}

void Lay(const std::string& text)
{
    *Format(text);
}

// Makes edits at once that give what is under each of so many paths a value.
template <class Make>
void GiveEach(const std::string& text, std::size_t count,
              std::size_t (DocumentEditor::*some)(std::span<const Assignment>), const Make& makePath)
{
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i)
        paths.push_back(makePath(i));
    std::vector<Assignment> edits;
    for (const std::string& path : paths)
        edits.push_back({path, "7"});
    Document document = Document::Parse(text);
    DocumentEditor editor(document);
    if ((editor.*some)(edits) != count)
        throw std::runtime_error("they cannot be made at once");
}

// Gives what stands under each of so many indices or keys another value.
void Assign(const std::string& text, const char* member, std::size_t count)
{
    GiveEach(text, count, &DocumentEditor::SetSome,
             [&](std::size_t i) { return std::string(member) + '[' + std::to_string(i) + ']'; });
}

// Writes back what a change makes of the value that a text gives.
template <class T, class Change>
void WriteBack(const std::string& text, const Change& change)
{
    T value = Read<T>(text);
    change(value);
    if (Update(text, value).empty())
        throw std::runtime_error("nothing is written");
}

// Calls f with each level, of which there may be more than a stack can hold.
template <class F>
void ForEachLevel(growth::Nested& nested, const F& f)
{
    for (growth::Nested* level = &nested; level != nullptr;)
    {
        growth::Nested* const inner = level->inner.empty() ? nullptr : &level->inner[0];
        f(*level);
        level = inner == nullptr ? nullptr : &level->inner[0];
    }
}

// Takes out what is under each of so many paths.
template <class Make>
void Unassign(const std::string& text, std::size_t count, const Make& makePath)
{
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i)
        paths.push_back(makePath(i));
    Document document = Document::Parse(text);
    if (DocumentEditor(document).RemoveSome(std::vector<std::string_view>(paths.begin(), paths.end())) != count)
        throw std::runtime_error("they cannot be taken out at once");
}

// As the prompt completes behind a path that goes round, and behind the value that is set at its end.
void CompleteAtPrompt(const std::string& text)
{
    const GcRoot root(CreateGcObject<growth::Record>());
    RegisterGcObject(root.get());
    CastObject<growth::Record>(root.get())->next = root.get();
    const std::size_t word = text.rfind(' ') + 1;
    if (word == 0 ? tool::FieldNamesAt(root.get(), text).empty()
                  : tool::CompleteValue(root.get(), ".nested", text, word).empty())
        throw std::runtime_error("nothing completes it");
}

struct Shape
{
    const char* m_name;
    std::string (*m_text)(std::size_t bytes);
    void (*m_run)(const std::string& text);
};

const Shape s_shapes[] = {
    {"chain of operators", [](std::size_t n) { return Repeat(n, "1+2*") + "1"; }, Evaluate},
    {"prefix operators", [](std::size_t n) { return Repeat(n / 4, "-~+ ") + "1"; }, Evaluate},
    {"parentheses", [](std::size_t n) { return Nest(n / 4, "(", "1", ")"); }, Evaluate},
    {"conditionals", [](std::size_t n) { return Repeat(n / 4, "false?1:") + "2"; }, Evaluate},
    {"additions of texts", [](std::size_t n) { return Repeat(n, "'text'+") + "''"; }, Evaluate},
    {"texts in texts", [](std::size_t n) { return Nest(n / 4, "string('a'+", "''", ")"); }, Evaluate},
    {"one name", [](std::size_t n) { return Repeat(n, "a"); }, Fail<Evaluate>},
    {"one number", [](std::size_t n) { return "0." + Repeat(n, "7"); }, Evaluate},
    {"one text", [](std::size_t n) { return '"' + Repeat(n, "text ") + '"'; }, Evaluate},
    {"one text of escapes", [](std::size_t n) { return '"' + Repeat(n, "\\n\\x41\\u00e9") + '"'; }, Evaluate},
    {"a text without an end", [](std::size_t n) { return '"' + Repeat(n, "text\\n"); }, Fail<Evaluate>},
    {"white space", [](std::size_t n) { return Repeat(n, " \t\n") + "1"; }, Evaluate},
    {"comments", [](std::size_t n) { return Repeat(n, "/* * */ // *\n") + "1"; }, Evaluate},
    {"a comment without an end", [](std::size_t n) { return "1 /*" + Repeat(n, " * /"); }, Fail<Evaluate>},
    {"an error at the far end", [](std::size_t n) { return Repeat(n, "1+2*"); }, Fail<Evaluate>},
    {"lines before an error", [](std::size_t n) { return InRecord(Repeat(n, "number = 1\n") + "oops = 1"); },
     Fail<ReadAny>},
    {"a qualified name", [](std::size_t n) { return Repeat(n, "name::") + "Last {}"; }, Fail<ReadAny>},
    {"members", [](std::size_t n) { return InRecord(Repeat(n, "number = 12 text = 'abc' ")); }, ReadAny},
    {"a wide list",
     [](std::size_t n)
     { return InRecord("numbers = [" + List(n, [](std::size_t i) { return std::to_string(i * 7919); }) + ']'); },
     ReadAny},
    {"a list of texts",
     [](std::size_t n)
     { return InRecord("texts = [" + List(n, [](std::size_t i) { return '"' + std::to_string(i) + '"'; }) + ']'); },
     ReadAny},
    {"values in values", [](std::size_t n) { return InRecord("nested = {" + Nest(n / 4, "inner=[{", "", "}]") + '}'); },
     ReadAny},
    {"objects in objects", [](std::size_t n) { return Nest(n / 4, "growth::Record{next=", "null", "}"); }, ReadAny},
    {"objects that are written", [](std::size_t n) { return Nest(n / 4, "growth::Record{next=", "null", "}"); },
     ReadAndWrite},
    {"keys in order",
     [](std::size_t n)
     { return InRecord("counts = [" + List(n, [](std::size_t i) { return std::to_string(i) + "->1"; }) + ']'); },
     ReadAny},
    {"keys in reverse",
     [](std::size_t n)
     {
         return InRecord("counts = [" +
                         List(n, [](std::size_t i) { return std::to_string(1'000'000'000 - i) + "->1"; }) + ']');
     },
     ReadAny},
    {"keys that begin alike",
     [](std::size_t n)
     {
         return InRecord("names = [" +
                         List(n, [](std::size_t i)
                              { return "'a name that begins as all others do " + std::to_string(i) + "'->1"; }) +
                         ']');
     },
     ReadAny},
    {"a path", [](std::size_t n) { return Repeat(n, ".next"); }, Navigate},
    {"a path that fails", [](std::size_t n) { return Repeat(n, ".next") + ".oops"; }, Fail<Navigate>},
    {"classes by the thousand", [](std::size_t n) { return std::string(n, ' '); },
     [](const std::string& text)
     {
         RegisterClasses(CountFor(text.size()));
         std::string all;
         for (std::size_t i = 0; i < CountFor(text.size()); ++i)
         {
             xstring error;
             ParseDataSourceFromString(
                 ToXString("many::a" + std::to_string(i) + "::b::c::d::e::f::Class { number = 1 }"), error);
         }
     }},
    {"a chain of classes", [](std::size_t n) { return std::string(n, ' '); },
     [](const std::string& text) { RegisterChain(CountFor(text.size())); }},
    {"a class of many members", [](std::size_t n) { return std::string(n, ' '); },
     [](const std::string& text)
     {
         const std::size_t count = CountFor(text.size());
         RegisterWide(count);
         std::string members = "wide::Class { ";
         for (std::size_t i = count; i-- > 0;) // against their order
             members += "name" + std::to_string(i) + " = name" + std::to_string(count - 1 - i) + ' ';
         ReadAny(members + '}');
     }},
    {"enumerators by number", [](std::size_t n) { return std::string(n, ' '); },
     [](const std::string& text)
     {
         const std::size_t count = CountFor(text.size());
         RegisterWide(count);
         std::string members = "wide::Class { ";
         for (std::size_t i = count; i-- > 0;)
             members += "name" + std::to_string(i) + " = " + std::to_string(count - 1 - i) + ' ';
         ReadAny(members + '}');
         StringStream os(4096);
         for (std::size_t i = count; i-- > 0;)
         {
             const auto value = static_cast<int32>(i);
             WriteVariable(os, {s_wideEnumType, s_wideNames}, &value);
         }
     }},
    {"a variant of many alternatives", [](std::size_t n) { return std::string(n, ' '); },
     [](const std::string& text)
     {
         const std::size_t count = CountFor(text.size());
         RegisterPicks(count);
         std::string list = "wide::Picks { list = [";
         for (std::size_t i = count; i-- > 0;)
             list += "name" + std::to_string(i) + " 1" + (i > 0 ? ", " : "");
         ReadAndWrite(list + "] }");
     }},
    {"a long name beside many", [](std::size_t n) { return Repeat(n, "a"); },
     [](const std::string& text)
     { SuggestFor(text, std::vector<std::string>(CountFor(text.size()), "a_name_of_some_length")); }},
    {"a name beside long ones", [](std::size_t n) { return Repeat(n, "a"); },
     [](const std::string& text) { SuggestFor(text, std::vector<std::string>(8, std::string(text.size(), 'b'))); }},
    {"a name beside long ones that begin as it does", [](std::size_t n) { return Repeat(n, "a"); },
     [](const std::string& text)
     { SuggestFor(text, std::vector<std::string>(8, text.substr(17) + "a name that is another")); }},
    {"elements that are set",
     [](std::size_t n)
     { return InRecord("numbers = [" + List(n, [](std::size_t i) { return std::to_string(i + 10); }) + ']'); },
     [](const std::string& text) { Assign(text, ".numbers", text.size() / 16); }},
    {"keys that are set",
     [](std::size_t n)
     { return InRecord("counts = [" + List(n, [](std::size_t i) { return std::to_string(i) + "->1"; }) + ']'); },
     [](const std::string& text) { Assign(text, ".counts", text.size() / 16); }},
    {"members that are taken out",
     [](std::size_t n)
     {
         const std::string element = "{ /* " + Repeat(100, "as people write them ") + "*/ inner = [] }, ";
         return InRecord("nested = { inner = [" + Repeat(n, element) + "{}] }");
     },
     [](const std::string& text) {
         Unassign(text, text.size() / 160,
                  [](std::size_t i) { return ".nested.inner[" + std::to_string(i) + "].inner"; });
     }},
    {"elements that are taken out",
     [](std::size_t n)
     { return InRecord("numbers = [\n" + List(n, [](std::size_t i) { return std::to_string(i + 10) + "\n"; }) + ']'); },
     [](const std::string& text)
     { Unassign(text, text.size() / 32, [](std::size_t i) { return ".numbers[" + std::to_string(i) + ']'; }); }},
    {"entries that are taken out",
     [](std::size_t n)
     { return InRecord("counts = [" + List(n, [](std::size_t i) { return std::to_string(i) + "->1"; }) + ']'); },
     [](const std::string& text)
     { Unassign(text, text.size() / 32, [](std::size_t i) { return ".counts[" + std::to_string(2 * i) + ']'; }); }},
    {"neighbours that are taken out",
     [](std::size_t n)
     { return InRecord("numbers = [" + List(n, [](std::size_t i) { return std::to_string(i + 10); }) + ']'); },
     [](const std::string& text)
     { Unassign(text, text.size() / 16, [](std::size_t) { return std::string(".numbers[7]"); }); }},
    {"elements that are put in",
     [](std::size_t n)
     { return InRecord("numbers = [" + List(n, [](std::size_t i) { return std::to_string(i); }) + ']'); },
     [](const std::string& text)
     {
         GiveEach(text, text.size() / 16, &DocumentEditor::InsertSome,
                  [](std::size_t) { return std::string(".numbers"); });
     }},
    {"entries that are put in",
     [](std::size_t n)
     { return InRecord("counts = [" + List(n, [](std::size_t i) { return std::to_string(i) + "->1"; }) + ']'); },
     [](const std::string& text)
     {
         GiveEach(text, text.size() / 16, &DocumentEditor::InsertSome,
                  [](std::size_t i) { return ".counts[" + std::to_string(1000000 + i) + ']'; });
     }},
    {"an update of what is deep", [](std::size_t n) { return Nest(n / 4, "{inner=[", "{}", "]}"); },
     [](const std::string& text)
     {
         WriteBack<growth::Nested>(text,
                                   [](growth::Nested& nested)
                                   {
                                       ForEachLevel(nested,
                                                    [](growth::Nested& level)
                                                    {
                                                        if (level.inner.empty())
                                                            level.inner.emplace_back();
                                                    });
                                   });
     }},
    {"an update of each level", [](std::size_t n) { return Nest(n / 4, "{inner=[", "{}", "]}"); },
     [](const std::string& text)
     {
         WriteBack<growth::Nested>(text,
                                   [](growth::Nested& nested) {
                                       ForEachLevel(nested, [](growth::Nested& level) { level.inner.emplace_back(); });
                                   });
     }},
    {"an update to what is deep", [](std::size_t n) { return Nest(n / 4, "{inner=[", "{}", "]}"); },
     [](const std::string& text)
     {
         if (Update("{}", Read<growth::Nested>(text)).empty())
             throw std::runtime_error("nothing is written");
     }},
    {"an update of many elements",
     [](std::size_t n) { return "{ nested = { inner = [" + Repeat(n / 16, "{ inner = [{}] },\n") + "{}] } }"; },
     [](const std::string& text)
     {
         WriteBack<Root<growth::Record>>(text,
                                         [](Root<growth::Record>& record)
                                         {
                                             for (growth::Nested& nested : record->nested.inner)
                                                 nested.inner.emplace_back();
                                         });
     }},
    {"an update of many numbers",
     [](std::size_t n)
     { return "{ numbers = [" + List(n / 4, [](std::size_t i) { return std::to_string(i + 10); }) + "] }"; },
     [](const std::string& text)
     {
         WriteBack<Root<growth::Record>>(text,
                                         [](Root<growth::Record>& record)
                                         {
                                             for (int64& number : record->numbers)
                                                 number = number * 7;
                                         });
     }},
    {"an update of many entries",
     [](std::size_t n)
     { return "{ counts = [" + List(n / 4, [](std::size_t i) { return std::to_string(i) + "->1"; }) + "] }"; },
     [](const std::string& text)
     {
         WriteBack<Root<growth::Record>>(text,
                                         [](Root<growth::Record>& record)
                                         {
                                             for (auto& entry : record->counts)
                                                 entry.m_value = 3;
                                         });
     }},
    {"completion behind a path", [](std::size_t n) { return Repeat(n, ".next") + '.'; }, CompleteAtPrompt},
    {"completion in a value", [](std::size_t n) { return "{ inner = [" + Repeat(n, "{}, ") + "{ inn"; },
     CompleteAtPrompt},
    {"a layout of numbers", [](std::size_t n) { return "A([" + Repeat(n, "1,") + "1])"; }, Lay},
    {"a layout of texts", [](std::size_t n) { return "A([" + Repeat(n, "'a longer text',\n'b',") + "1])"; }, Lay},
    {"a layout of members", [](std::size_t n) { return "A {" + Repeat(n, "a=1 b = B{} // c\n") + '}'; }, Lay},
    {"a layout of levels", [](std::size_t n) { return Nest(n / 4, "(", "1", ")"); }, Lay},
    {"a layout of levels in lines", [](std::size_t n) { return Nest(n / 8, "{a=[\n", "1", "]}"); }, Lay},
    {"a layout of a column", [](std::size_t n) { return "A {\n" + Repeat(n, "a    = 1  // b\n") + '}'; }, Lay},
    {"a layout of columns in columns",
     [](std::size_t n) { return Nest(n / 8, "{b=2\na   = 1  // b\ncd  = ", "1", "}"); }, Lay},
    {"a layout of comments", [](std::size_t n) { return "A {" + Repeat(n, "/**/ // b\n\n\n") + '}'; }, Lay},
    {"a layout of comments in one line", [](std::size_t n) { return "A { a = 1" + Repeat(n, "/**/") + " b = 2 }"; },
     Lay},
    {"a layout of members in one line", [](std::size_t n) { return "A {" + Repeat(n, "a /**/ = b/**/ ") + '}'; }, Lay},
    {"a layout of names", [](std::size_t n) { return "A { a = " + Repeat(n, "b /**/ ") + "c = 1 }"; }, Lay},
    {"a layout of lines that are kept", [](std::size_t n) { return "A { // fmt: off\n" + Repeat(n, "a=1\n") + '}'; },
     Lay},
    {"an error behind levels", [](std::size_t n) { return "A" + Repeat(n, "("); }, Fail<Lay>},
};

int Run(const char* name, const char* size)
{
    Register_Project_klKelmScript();
    RegisterTypes<growth::Nested, growth::Record>(nullptr);
    for (const Shape& shape : s_shapes)
        if (std::strcmp(shape.m_name, name) == 0)
        {
            const std::string text = shape.m_text(std::strtoull(size, nullptr, 10));
            RunShape(shape.m_run, text);
            return 0;
        }
    std::fprintf(stderr, "growthShapes: there is no shape '%s'\n", name);
    return 2;
}

} // namespace
} // namespace kelm

int main(int argc, char** argv)
{
    try
    {
        if (argc == 3)
            return kelm::Run(argv[1], argv[2]);
        for (const kelm::Shape& shape : kelm::s_shapes)
            std::puts(shape.m_name);
        return 0;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "growthShapes: %s\n", e.what());
        return 1;
    }
}
