#include "DataSources.h"

#include "../evaluation/Attempt.h"
#include "../evaluation/GrowthLimit.h"
#include "../json/JsonVariable.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"
#include "../reporting/Suggest.h"
#include "Files.h"

#include <kelm/Error.h>
#include <kelm/private/types/TypeText.h>
#include <kelmDocument/private/Locate.h>
#include <kelmDocument/private/Repeats.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

#include <algorithm>
#include <memory>

namespace kelm::tool
{

namespace
{

// Runs what reads `source` through the parser, from its first token on; false after a failure was reported.
template <class F>
bool Read(const SourceText& source, ExpressionParser& parser, const F& read)
{
    const std::optional<Failure> failure = Attempt(source, parser,
                                                   [&]
                                                   {
                                                       parser.Init(source.View());
                                                       read();
                                                   });
    if (failure)
        Report(source, *failure);
    return !failure;
}

void RequireEnd(const ParserBase& parser)
{
    if (parser.m_token.m_type != TOKEN_END)
        parser.ThrowExpectedException("end of text");
}

// --- Fields

struct Field
{
    ReflectionByteCode m_type;
    void* m_data;
};

// One of them.
struct FoundField
{
    std::optional<Field> m_field;
    std::optional<Failure> m_failure;

    // Of an alternative that a variant does not hold, and which has no data therefore.
    std::optional<Field> m_variant = {};
    std::string m_alternative = {};

    // By which it was found, where that was a path as documents have them.
    std::vector<editing::Spot> m_spots = {};
};

// By a path as documents have them, which goes on to what keys lead to and into variants.
FoundField TryFindInDocument(ptr<IObject> object, const std::string& path, bool forWriting)
{
    using editing::Spot;
    try
    {
        std::vector<Spot> spots =
            editing::LocateIn(object, path, forWriting ? editing::Purpose::Set : editing::Purpose::Find);
        const Spot& spot = spots.back();
        FoundField found{Field{spot.m_type, spot.m_data}, std::nullopt};
        if (!spot.m_former.empty())
        {
            const Spot& variant = spots[spots.size() - 2];
            found.m_variant = Field{variant.m_type, variant.m_data};
            found.m_alternative = spot.m_name;
        }
        else if (spot.m_data == nullptr)
            return {std::nullopt, Failure{"path", "an element of a set is no field", spot.m_step, {}}};
        found.m_spots = std::move(spots);
        return found;
    }
    catch (const Error& e)
    {
        const std::size_t offset = OffsetOf(path, e);
        Failure failure{"path", e.GetMessage(), offset, {}};
        if (const std::vector<std::string>& names = e.GetSuggestions(); !names.empty())
            failure.m_notes.push_back({DidYouMean(names), offset});
        return {std::nullopt, std::move(failure)};
    }
}

// By a path to fields, which makes dynamic arrays grow.
FoundField TryFindByFields(ptr<IObject> object, const std::string& path, bool forWriting)
{
    const SourceText source{"<path>", path};
    if (!object)
        return {std::nullopt, Failure{"value", "the data source is null, which has no fields", 0, {}}};
    ExpressionParser parser;
    Field field{};
    FoundField found;
    // Looking is no reason to make a dynamic array grow.
    const GrowthLimit limit(forWriting ? static_cast<ssize_t>(GetSizeLimit()) : 0);
    found.m_failure = Attempt(source, parser,
                              [&]
                              {
                                  parser.Init(source.View());
                                  field.m_data = NavigatePathToField(object, parser, field.m_type, forWriting);
                                  RequireEnd(parser);
                              });
    if (!found.m_failure)
        found.m_field = field;
    return found;
}

FoundField TryFindField(ptr<IObject> object, const std::string& path, bool forWriting)
{
    FoundField found = TryFindByFields(object, path, forWriting);
    // A path to fields asserts that it comes by no map: those of documents go on to what is under a key.
    const bool comesByMap = found.m_failure && found.m_failure->m_kind == std::string_view("assertion") &&
                            path.find('[', found.m_failure->m_offset) != std::string::npos;
    return comesByMap ? TryFindInDocument(object, path, forWriting) : found;
}

FoundField FindField(ptr<IObject> object, const std::string& path, bool forWriting)
{
    FoundField found = TryFindField(object, path, forWriting);
    if (found.m_failure)
        Report({"<path>", path}, *found.m_failure);
    return found;
}

// A variable that lies in memory of its own.
class Variable
{
public:
    explicit Variable(const ReflectionByteCode& type)
        : m_type(type), m_memory(std::make_unique<char[]>(static_cast<std::size_t>(type.GetTypeSize())))
    {
        ConstructReflectedVariable(m_type, m_memory.get());
    }
    ~Variable() { DestructReflectedVariable(m_type, m_memory.get()); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void* GetData() { return m_memory.get(); }

    // Variables may be moved as bytes.
    void Swap(void* other)
    {
        const auto size = static_cast<std::size_t>(m_type.GetTypeSize());
        auto* const bytes = static_cast<char*>(other);
        std::swap_ranges(m_memory.get(), m_memory.get() + size, bytes);
    }

private:
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
};

bool ReadValue(const std::string& value, ReflectionByteCode type, void* data)
{
    const SourceText source{"<value>", value};
    ExpressionParser parser;
    return Read(source, parser,
                [&]
                {
                    ParseVariable(parser, type, data);
                    RequireEnd(parser);
                });
}

bool IsVariant(ReflectionByteCode type)
{
    type.AdvanceToUnderlyingType2();
    return type.GetCode() == FT_VARIANT;
}

bool SetTo(const Field& field, const std::string& value, bool replaces)
{
    // A variant never keeps what it held, which reading in place would forget without destroying it.
    if (!replaces && !IsVariant(field.m_type))
        return ReadValue(value, field.m_type, field.m_data);
    Variable fresh(field.m_type);
    const bool isRead = ReadValue(value, field.m_type, fresh.GetData());
    if (isRead)
        fresh.Swap(field.m_data);
    return isRead;
}

// --- Texts

constexpr int s_indent = 4;

// A stream into a text.
class StringOutput : public xostream
{
public:
    using xostream::put;
    void put(const char* text, long length) override
    {
        ThrowIfInterrupted();
        m_text.append(text, static_cast<std::size_t>(length));
    }

    std::string m_text;
};

// Of the object itself, which an empty path names, or of a field.
std::string TypeOf(ptr<IObject> object, const Field& field)
{
    return field.m_type.m_bc == nullptr ? object.GetReflectedClass()->m_name : TypeText(field.m_type);
}

void WriteField(xostream& os, ptr<IObject> object, const Field& field)
{
    if (field.m_type.m_bc == nullptr)
        WriteObject(os, object);
    else
        WriteVariable(os, field.m_type, field.m_data);
}

void WriteRaw(xostream& os, ptr<IObject> object, const Field& field)
{
    ReflectionByteCode type = field.m_type;
    if (type.m_bc != nullptr)
        type.AdvanceToUnderlyingType2();
    if (type.m_bc != nullptr && type.GetCode() == FT_STRING8)
        os << *static_cast<const xstring*>(field.m_data);
    else
        WriteField(os, object, field);
}

void WriteField(JsonText& json, ptr<IObject> object, const Field& field)
{
    if (field.m_type.m_bc == nullptr)
        WriteJson(json, object);
    else
        WriteJson(json, field.m_type, field.m_data);
}

// --- Commands

// Reads the data source that the options name.
bool LoadFile(const Options& options, ETrailingText trailing, GcRoot& object)
{
    const std::optional<NamedText> file = ReadFile(options.m_file);
    return file && LoadDataSource(file->Source(), trailing, object);
}

} // namespace

bool TryWrite(const std::function<void()>& write)
{
    try
    {
        write();
        return true;
    }
    catch (const WriteException& e)
    {
        ReportError(std::string("cannot write the object: ") + e.what(), "value");
    }
    catch (const JsonException& e)
    {
        ReportError(std::string("cannot write the object as JSON: ") + e.what(), "value");
    }
    catch (const KelmAssertionError& e)
    {
        ReportError(e.what(), "assertion");
    }
    return false;
}

namespace
{

// Warns of each member that is written twice in one body: the reader's rules let the second follow the first, which is
// seldom meant.
void WarnOfRepeats(const SourceText& source, std::string_view text)
{
    constexpr std::size_t mostShown = 10;
    const RepeatedMembers repeats = FindRepeatedMembers(text, mostShown);
    const auto offsetOf = [&](std::string_view member)
    { return static_cast<std::size_t>(member.data() - source.m_text.data()); };
    for (const auto& [name, former] : repeats.m_members)
    {
        Report(SEV_WARNING, source, offsetOf(name), "member '" + std::string(name) + "' is written twice");
        Report(SEV_NOTE, source, offsetOf(former), "it is written here already");
    }
    if (repeats.m_numMore > 0)
        ReportNote(std::string(source.m_name) + ": " + std::to_string(repeats.m_numMore) +
                   " more members are written twice");
}

} // namespace

std::optional<Failure> TryLoadDataSource(const SourceText& source, ETrailingText trailing, GcRoot& object)
{
    const Progress progress("reading " + std::string(source.m_name));
    ExpressionParser parser;
    std::optional<Failure> failure = Attempt(source, parser,
                                             [&]
                                             {
                                                 parser.Init(source.View());
                                                 object = ParseDataSource(parser);
                                                 if (trailing == TRAILING_FAILS)
                                                     RequireEnd(parser);
                                             });
    if (failure)
        return failure;
    const auto end = static_cast<std::size_t>(parser.m_token.m_str.m_p1 - source.View().m_p1);
    WarnOfRepeats(source, source.m_text.substr(0, end));
    if (parser.m_token.m_type != TOKEN_END)
        Report(SEV_WARNING, source, end, "the text after the data source is not read");
    return std::nullopt;
}

bool LoadDataSource(const SourceText& source, ETrailingText trailing, GcRoot& object)
{
    const std::optional<Failure> failure = TryLoadDataSource(source, trailing, object);
    if (failure)
        Report(source, *failure);
    return !failure;
}

EForm FormOf(const Options& options)
{
    return options.m_json ? FORM_JSON : options.m_compact ? FORM_COMPACT : FORM_INDENTED;
}

bool WriteObjectText(xostream& os, ptr<IObject> object, EForm form)
{
    const Progress progress("writing");
    return TryWrite(
        [&]
        {
            if (form != FORM_JSON)
                return WriteObject(os, object, {.m_indent = form == FORM_INDENTED ? s_indent : 0});
            JsonText json(JSON_INDENTED);
            WriteJson(json, object);
            os.put(json.GetText().data(), static_cast<long>(json.GetText().size()));
        });
}

EFieldForm FieldFormOf(const Options& options)
{
    return options.m_json ? FIELD_JSON : options.m_raw ? FIELD_RAW : FIELD_TYPED;
}

std::optional<std::string> FieldText(ptr<IObject> object, const std::string& path, EFieldForm form)
{
    const std::optional<Field> field = FindField(object, path, false).m_field;
    if (!field)
        return std::nullopt;
    StringOutput text;
    const auto write = [&]
    {
        if (form == FIELD_RAW)
            return WriteRaw(text, object, *field);
        const std::string type = TypeOf(object, *field);
        if (form == FIELD_TYPED)
        {
            text << type.c_str() << " ";
            return WriteField(text, object, *field);
        }
        JsonText json(JSON_COMPACT);
        json.BeginObject();
        json.Name("type");
        json.Text(type);
        json.Name("value");
        WriteField(json, object, *field);
        json.EndObject();
        text.m_text = json.GetText();
    };
    return TryWrite(write) ? std::optional(std::move(text.m_text)) : std::nullopt;
}

std::optional<std::string> ObjectText(ptr<IObject> object, EForm form)
{
    StringOutput text;
    return WriteObjectText(text, object, form) ? std::optional(std::move(text.m_text)) : std::nullopt;
}

bool PutObject(ptr<IObject> object, EForm form)
{
    OutputStream os;
    const bool isWritten = WriteObjectText(os, object, form);
    if (isWritten)
        Put("\n");
    return isWritten;
}

std::size_t UnderstoodOfPath(ptr<IObject> object, const std::string& path)
{
    const FoundField found = TryFindByFields(object, path, true);
    return found.m_failure ? found.m_failure->m_offset : path.size();
}

namespace
{

// The dynamic array that a path would make grow, if it has one: the first whose element is not there yet.
class Growing
{
public:
    Growing(ptr<IObject> object, const std::string& path)
    {
        const FoundField found = TryFindByFields(object, path, false);
        const std::size_t index = found.m_failure ? path.rfind('[', found.m_failure->m_offset) : std::string::npos;
        if (index == std::string::npos || index == 0)
            return;
        const std::size_t outer = path.rfind('[', index - 1); // of "[[7]"
        if (outer == std::string::npos)
            return;
        const std::optional<Field> array = TryFindByFields(object, path.substr(0, outer), false).m_field;
        if (!array)
            return;
        ReflectionByteCode type = array->m_type;
        type.AdvanceToUnderlyingType2();
        if (type.m_bc == nullptr || type.GetCode() != FT_DYNARRAY)
            return;
        m_array = static_cast<VectorOfByte*>(array->m_data);
        m_elementType = type.GetElementType();
        m_size = m_array->size();
    }

    // What it has grown by goes.
    void TakeBack() const
    {
        if (m_array == nullptr)
            return;
        const ssize_t elementSize = m_elementType.GetTypeSize();
        for (ssize_t at = m_size; at < m_array->size(); at += elementSize)
            DestructReflectedVariable(m_elementType, m_array->data() + at);
        m_array->resize(m_size);
    }

private:
    VectorOfByte* m_array = nullptr;
    ReflectionByteCode m_elementType = {};
    ssize_t m_size = 0;
};

bool SetFound(const FoundField& found, const std::string& path, const std::string& value, bool replaces)
{
    const std::optional<Field>& field = found.m_field;
    if (!field)
        return false;
    if (found.m_variant)
    {
        Variable fresh(field->m_type); // what is wrong with the value shows as it is said
        return ReadValue(value, field->m_type, fresh.GetData()) &&
               SetTo(*found.m_variant, found.m_alternative + " " + value, true);
    }
    if (field->m_type.m_bc == nullptr)
    {
        Report(SEV_ERROR, {"<path>", path}, path.size(), "the object itself cannot be set: name a field");
        return false;
    }
    return SetTo(*field, value, replaces);
}

} // namespace

// A key that was not there before is not there behind a failure, and no dynamic array is longer.
bool SetField(ptr<IObject> object, const std::string& path, const std::string& value, bool replaces)
{
    const Growing growing(object, path);
    FoundField found = FindField(object, path, true);
    const bool isSet = SetFound(found, path, value, replaces);
    if (!isSet)
    {
        editing::TakeBackNewKey(found.m_spots);
        growing.TakeBack();
    }
    return isSet;
}

int RunPrint(const Options& options)
{
    GcRoot object;
    if (!LoadFile(options, TRAILING_WARNS, object))
        return EXIT_FAILED;
    return PutObject(object.get(), FormOf(options)) ? EXIT_OK : EXIT_FAILED;
}

int RunGet(const Options& options)
{
    UseJsonErrors(options.m_json);
    GcRoot object;
    if (!LoadFile(options, TRAILING_WARNS, object))
        return EXIT_FAILED;
    const std::optional<std::string> text = FieldText(object.get(), options.m_path, FieldFormOf(options));
    if (text)
        PutLine(*text);
    return text ? EXIT_OK : EXIT_FAILED;
}

} // namespace kelm::tool
