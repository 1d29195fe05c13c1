// Data sources: what is stored, created and registered, in what order, where an error is told, and what the parser is
// left at.

#include "AnyValue.h"
#include "LibraryOutcomes.h"
#include "ReadingClasses.h"

#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>
#include <src/DataSources.h>
#include <support/HandmadeClasses.h>
#include <support/ReferenceContents.h>
#include <support/ReferenceDataSource.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace kelm::reference
{

namespace
{

// --- What objects hold -----------------------------------------------------------------------------------------------

// The handles of one outcome. Documents tell their contents when they are collected; other objects are followed once.
class ObjectTelling
{
public:
    ContentsTelling Get()
    {
        return {[this](ptr<IObject> object) { return Tell(object); }};
    }

private:
    std::string Tell(ptr<IObject> object)
    {
        const ReflectedClass& rc = *object.GetReflectedClass();
        std::string name = rc.m_name;
        if (name == "reading::Document")
            return name + std::to_string(static_cast<reading::Document*>(object.self())->m_serial);
        if (name == "hand::Node")
            name += std::to_string(static_cast<hand::Node*>(object.self())->m_serial);
        if (m_depth > 20)
            return name + "...";
        ++m_depth;
        const std::string contents = ContentsOf(rc, object.self(), Get());
        --m_depth;
        return name + contents;
    }

    int m_depth = 0;
};

std::string TellObject(ptr<IObject> object)
{
    ObjectTelling telling;
    return object ? telling.Get().m_tellObject(object) : "null";
}

// Runs a reading and tells, behind what it came to, what it left in the world: documents by the order of their
// creation, the number of objects that the collector has been given, instances that live.
template <class Read>
std::string ToldReading(Read read)
{
    const ExpectedLeaks leaks;
    s_documents = {};
    s_documents.m_isTelling = true;
    hand::Node::s_lastSerial = 0;
    const int liveBefore = hand::Counted::Live();
    std::string outcome = read();
    const int live = hand::Counted::Live() - liveBefore;
    const int64 freed = CollectGarbage().m_lastFreed;
    outcome += "\ncreated " + std::to_string(s_documents.m_created) + " documents, " +
               std::to_string(hand::Node::s_lastSerial) + " nodes, " + std::to_string(live) + " counted, freed " +
               std::to_string(freed);
    for (const auto& [serial, contents] : s_documents.m_told)
        outcome += "\n" + std::to_string(serial) + contents;
    s_documents = {};
    return outcome;
}

template <class Read>
std::string ToldFailure(Read read)
{
    try
    {
        read();
        return "read";
    }
    catch (const TextError& e)
    {
        return ToldError(e);
    }
    catch (const KelmAssertionError& e)
    {
        return "KelmAssertionError: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ")";
    }
}

// --- The two readers under one face ----------------------------------------------------------------------------------

class Library
{
public:
    using Text = SubString;

    explicit Library(SubString text) : m_text(text) {}

    template <class Read>
    std::string Run(Read read)
    {
        return ToldFailure(
            [&]
            {
                try
                {
                    m_parser.Init(m_text);
                    read();
                }
                catch (const LexScannerException& e)
                {
                    throw TextError{ToStdString(e.m_description), PlaceIn(m_text, e.m_pos)};
                }
            });
    }
    std::string State() const { return ToldState(m_parser, m_text); }

    ptr<IObject> ReadDataSource() { return ParseDataSource(m_parser); }
    ptr<IObject> ReadDataSource(const std::string& className) { return ParseDataSource(m_parser, className.c_str()); }
    void ReadVariable(ReflectionByteCode type, void* data) { ParseVariable(m_parser, type, data); }
    void ReadClass(const ReflectedClass& rc, void* data) { ParseClassVariable(m_parser, rc, data); }
    void ReadArray(ReflectionByteCode type, ssize_t count, void* data)
    {
        ParseArrayVariable(m_parser, type, count, data);
    }
    void ReadVector(ReflectionByteCode type, void* vector) { ParseVectorVariable(m_parser, type, vector); }
    void ReadVariant(const ReflectedVariant& rv, void* data) { ParseVariantVariable(m_parser, rv, data); }

private:
    SubString m_text;
    ExpressionParser m_parser;
};

class Reference : public DataSourceReader
{
public:
    using Text = const std::string&;

    explicit Reference(const std::string& text) : DataSourceReader(m_stream), m_stream(text) {}

    template <class Read>
    std::string Run(Read read)
    {
        return ToldFailure(
            [&]
            {
                m_stream.Init();
                read();
            });
    }
    std::string State() const { return ToldState(m_stream); }

private:
    Stream m_stream;
};

// --- What is read ----------------------------------------------------------------------------------------------------

constexpr const char* s_classes[] = {"hand::Scalars",     "hand::Containers", "hand::Node",      "hand::Tree",
                                     "hand::Outer",       "hand::Wrapper",    "hand::Evolved",   "hand::Ordinary",
                                     "hand::Qualified",   "hand::Named",      "hand::Bare",      "hand::Impossible",
                                     "hand::geom::Point", "reading::Record",  "reading::Record", "reading::Document",
                                     "reading::Document", "reading::Place",   "hand::Scalars",   "hand::Containers"};

enum EName : uint8
{
    N_COLOR,
    N_EXTENT,
    N_POINT,
    N_TREE,
    N_SHADE,
    N_CHOICE,
    N_RECORD,
    N_PLACE,
    N_COUNTED,
    N_SPOT,
};
constexpr ConstStringZ s_names[] = {
    "hand::Color",     "hand::Extent",   "hand::geom::Point", "hand::Tree", "reading::Shade", "reading::Choice",
    "reading::Record", "reading::Place", "hand::Counted",     "hand::Spot", nullptr};

// Each in room for the longest.
constexpr uint8 s_types[][8] = {
    {FT_VECTOR, FT_BOOL},
    {FT_VECTOR, FT_INT8},
    {FT_VECTOR, FT_INT16},
    {FT_VECTOR, FT_INT32},
    {FT_VECTOR, FT_INT64},
    {FT_DYNARRAY, FT_UINT8},
    {FT_VECTOR, FT_UINT16},
    {FT_VECTOR, FT_UINT32},
    {FT_VECTOR, FT_UINT64},
    {FT_VECTOR, FT_FLOAT32},
    {FT_DYNARRAY, FT_FLOAT64},
    {FT_VECTOR, FT_FLOAT64},
    {FT_VECTOR, FT_CHAR8},
    {FT_VECTOR, FT_CHAR16},
    {FT_VECTOR, FT_STRING8},
    {FT_VECTOR, FT_STRING16},
    {FT_VECTOR, FT_ENUM, N_COLOR, 0},
    {FT_VECTOR, FT_ENUM, N_SHADE, 0},
    {FT_VECTOR, FT_VARIANT, N_EXTENT, 0},
    {FT_VECTOR, FT_VARIANT, N_CHOICE, 0},
    {FT_VECTOR, FT_CLASS, N_POINT, 0},
    {FT_VECTOR, FT_CLASS, N_RECORD, 0},
    {FT_VECTOR, FT_CLASS, N_PLACE, 0},
    {FT_VECTOR, FT_CLASS, N_COUNTED, 0},
    {FT_DYNARRAY, FT_CLASS, N_TREE, 0},
    {FT_VECTOR, FT_VECTOR, FT_INT32},
    {FT_VECTOR, FT_VECTOR, FT_STRING8},
    {FT_VECTOR, FT_DYNARRAY, FT_VECTOR, FT_FLOAT64},
    {FT_VECTOR, FT_TYPEDEF, N_SPOT, 0},
    {FT_VECTOR, FT_CONST, FT_INT32},
    {FT_CONST, FT_VECTOR, FT_VOLATILE, FT_STRING8},
    {MDT_BOOL, 1, FT_VECTOR, FT_MOVABLE, FT_FLOAT32},
    {FT_ARRAY, 3, 0, 0, 0, FT_INT32},
    {FT_ARRAY, 0, 0, 0, 0, FT_INT32},
    {FT_ARRAY, 5, 0, 0, 0, FT_STRING8},
    {FT_ARRAY, 2, 0, 0, 0, FT_CLASS, N_PLACE, 0},
    {FT_VECTOR, FT_ARRAY, 2, 0, 0, 0, FT_FLOAT64},
    {FT_VECTOR, FT_VOID},
    {FT_VECTOR, FT_SET, FT_INT32},
    {FT_INT64},
    {FT_FLOAT64},
    {FT_STRING8},
    {FT_STRING16},
    {FT_CHAR16},
    {FT_ENUM, N_SHADE, 0},
    {FT_VARIANT, N_CHOICE, 0},
    {FT_CLASS, N_RECORD, 0},
    {FT_VOID},
};

ReflectionByteCode ChooseType(Random& choice)
{
    return {choice.Of(s_types), s_names, nullptr};
}

const ReflectedClass& ChooseClass(Random& choice)
{
    return FindReflectedClass(choice.Of(s_classes));
}

// An instance that the collector owns, read into.
template <class Reader>
std::string ReadInstance(Reader& reader, Random& choice)
{
    const ReflectedClass& rc = ChooseClass(choice);
    const ptr<IObject> object = rc.m_createFn();
    RegisterGcObject(object);
    const std::string outcome = reader.Run([&] { reader.ReadClass(rc, object.self()); });
    ObjectTelling telling;
    return outcome + reader.State() + ContentsOf(rc, object.self(), telling.Get());
}

// By the operation for any type, or by that for its own.
template <class Reader>
void ReadByType(Reader& reader, ReflectionByteCode type, void* data, bool isDirect)
{
    if (isDirect && type.GetCode() == FT_VECTOR)
        reader.ReadVector({type.m_bc + 1, type.m_stringTable}, data);
    else if (isDirect && type.GetCode() == FT_ARRAY)
        reader.ReadArray(type.GetElementType(), type.GetArrayCount(), data);
    else if (isDirect && type.GetCode() == FT_VARIANT)
        reader.ReadVariant(*type.GetReflectedVariant(), data);
    else
        reader.ReadVariable(type, data);
}

// A variable of any type, read into.
template <class Reader>
std::string ReadVariable(Reader& reader, Random& choice)
{
    const ReflectionByteCode type = ChooseType(choice);
    const bool isDirect = choice.OneIn(3);
    std::max_align_t room[64] = {};
    if (type.GetCode() != FT_VOID && static_cast<std::size_t>(type.GetTypeSize()) > sizeof room)
        throw NotForComparison();
    ConstructReflectedVariable(type, room);
    const std::string outcome = reader.Run([&] { ReadByType(reader, type, room, isDirect); });
    ObjectTelling telling;
    const std::string told = outcome + reader.State() + ContentsOf(type, room, telling.Get());
    try
    {
        DestructReflectedVariable(type, room);
    }
    catch (const KelmAssertionError&)
    {
        // Elements of a type that no variable has.
    }
    return told;
}

template <class Reader>
std::string ReadDataSource(Reader& reader, Random&)
{
    ptr<IObject> object;
    const std::string outcome = reader.Run([&] { object = reader.ReadDataSource(); });
    return outcome + reader.State() + TellObject(object);
}

template <class Reader>
std::string ReadDataSourceOfClass(Reader& reader, Random& choice)
{
    const std::string name = choice.OneIn(20) ? "no::such::Class" : choice.Of(s_classes);
    ptr<IObject> object;
    const std::string outcome = reader.Run([&] { object = reader.ReadDataSource(name); });
    return outcome + reader.State() + TellObject(object);
}

struct Target
{
    std::string (*m_draw)(ValueDrawing& drawing, Random& choice);
    std::string (*m_library)(Library& reader, Random& choice);
    std::string (*m_reference)(Reference& reader, Random& choice);
};

constexpr Target s_targets[] = {
    {[](ValueDrawing& drawing, Random& choice) { return drawing.ClassValue(ChooseClass(choice)); },
     ReadInstance<Library>, ReadInstance<Reference>},
    {[](ValueDrawing& drawing, Random& choice)
     {
         const ReflectionByteCode type = ChooseType(choice);
         return type.GetCode() == FT_VOID ? "" : drawing.Value(type);
     },
     ReadVariable<Library>, ReadVariable<Reference>},
    {[](ValueDrawing& drawing, Random&) { return drawing.DataSource(); }, ReadDataSource<Library>,
     ReadDataSource<Reference>},
    {[](ValueDrawing& drawing, Random& choice)
     {
         const char* const name = choice.OneIn(20) ? "hand::Bare" : choice.Of(s_classes);
         return drawing.Body(FindReflectedClass(name));
     },
     ReadDataSourceOfClass<Library>, ReadDataSourceOfClass<Reference>},
};

using ParseDataSourceProperty = ReadingTest;

std::string DrawDataSource(Random& random, Random choice)
{
    const Target target = choice.Of(s_targets);
    ValueDrawing drawing(random);
    std::string text = drawing.Space() + target.m_draw(drawing, choice) + drawing.Space();
    if (random.OneIn(10))
        text += AnyToken(random);
    return OftenWhole(random, text, 3);
}

TEST_F(ParseDataSourceProperty, ReadsAnyText)
{
    const auto library = [](SubString text, Random choice)
    {
        return ToldReading(
            [&]
            {
                const Target target = choice.Of(s_targets);
                Library reader(text);
                return target.m_library(reader, choice);
            });
    };
    const auto reference = [](const std::string& text, Random choice)
    {
        return ToldReading(
            [&]
            {
                const Target target = choice.Of(s_targets);
                Reference reader(text);
                return target.m_reference(reader, choice);
            });
    };
    Compare({90, DrawDataSource, library, reference});
}

// --- The forms that take a whole text --------------------------------------------------------------------------------

TEST_F(ParseDataSourceProperty, TellsTheLinesOfErrors)
{
    const auto draw = [](Random& random, Random)
    {
        ValueDrawing drawing(random);
        return OftenWhole(random, drawing.Space() + drawing.DataSource(), 2);
    };
    const auto library = [](SubString view, Random choice)
    {
        return ToldReading(
            [&]
            {
                const xstring text(view);
                xstring message("before");
                ptr<IObject> object;
                const auto read = [&]
                {
                    if (choice.OneIn(2))
                    {
                        object = ParseDataSourceFromString(text, message);
                        return;
                    }
                    LexScannerException error(xstring("before"), LSToken());
                    object = ParseDataSource(text, error);
                    message = error.GetWrittenText();
                };
                const std::string outcome = ToldFailure(read);
                return outcome + ToStdString(SubString(message)) + TellObject(object);
            });
    };
    const auto reference = [](const std::string& text, Random choice)
    {
        return ToldReading(
            [&]
            {
                const bool isTextForm = choice.OneIn(2);
                std::string message = "before";
                ptr<IObject> object;
                Stream stream(text);
                const auto read = [&]
                {
                    try
                    {
                        stream.Init();
                        object = DataSourceReader(stream).ReadDataSource();
                        if (!object && isTextForm)
                            message = ""; // the text "null" counts as a failure without an error
                    }
                    catch (const TextError& e)
                    {
                        message = "line " + std::to_string(GetLine(text, e.m_place)) + ": " + e.m_message;
                    }
                };
                const std::string outcome = ToldFailure(read);
                return outcome + message + TellObject(object);
            });
    };
    Compare({20, draw, library, reference});
}

// --- Qualified names -------------------------------------------------------------------------------------------------

std::string AnyQualifiedName(Random& random)
{
    static constexpr const char* s_parts[] = {"kelm", "geom", "Point", "a", "b", "int64"};
    static constexpr const char* s_separators[] = {"::", "::", ".", " . ", " :: ", "..", ":", "/**/.", " "};
    std::string text = AnySpace(random);
    for (std::size_t n = random.Below(5); n > 0; --n)
        text += random.Of(s_parts) + (n > 1 || random.OneIn(8) ? std::string(random.Of(s_separators)) : "");
    return OftenWhole(random, text, 6);
}

TEST_F(ParseDataSourceProperty, SplitsAndComparesQualifiedNames)
{
    const auto other = [](Random choice) { return AnyQualifiedName(choice); };
    const auto library = [&](SubString text, Random choice)
    {
        const std::string suffix = other(choice);
        std::string outcome = std::to_string(IsPathSuffix(text, ViewOf(suffix))) + " ";
        SubString rest = text;
        xvector<SubString> segments;
        const bool isWhole = TokenisePath(rest, segments);
        outcome += std::to_string(isWhole) + " rest " + Told(PlaceIn(text, rest.m_p1));
        for (const SubString& segment : segments)
            outcome += " " + ToStdString(segment);
        return outcome;
    };
    const auto reference = [&](const std::string& text, Random choice)
    {
        std::string outcome = std::to_string(IsPathSuffix(text, other(choice))) + " ";
        std::size_t rest = 0;
        std::vector<std::string> segments;
        const bool isWhole = TokenisePath(text, rest, segments);
        outcome += std::to_string(isWhole) + " rest " + Told(rest);
        for (const std::string& segment : segments)
            outcome += " " + segment;
        return outcome;
    };
    Compare({20, [](Random& random, Random) { return AnyQualifiedName(random); }, library, reference});
}

} // namespace
} // namespace kelm::reference

namespace reading
{

void Document::OnGarbageCollect()
{
    using namespace kelm::reference;
    if (!s_documents.m_isTelling)
        return;
    ObjectTelling telling;
    s_documents.m_told[m_serial] = ContentsOf(*TryFindReflectedClass("reading::Document"), this, telling.Get());
}

} // namespace reading
