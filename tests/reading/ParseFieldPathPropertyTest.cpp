// Paths: where a walk ends, with which type, what it has made grow and told the read barrier, its errors and what the
// parser is left at.

#include "LibraryOutcomes.h"
#include "ReadingClasses.h"

#include <klKelmScript/ParseFieldPath.h>
#include <klObject/objects/Collector.h>
#include <klPersistStore/ReadBarrier.h>
#include <support/ReferenceContents.h>
#include <support/ReferencePath.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace kelm::reference
{
namespace
{

using ParseFieldPathProperty = ReadingTest;

// --- What is walked --------------------------------------------------------------------------------------------------

ptr<IObject> MakeContainers()
{
    const ptr<IObject> object = hand::New<hand::Containers>();
    auto& containers = hand::As<hand::Containers>(object);
    containers.m_points.resize(3);
    containers.m_vecs = {{1, 2}, {3}};
    containers.m_strings = {"a", "b"};
    return object;
}

ptr<IObject> MakeDocument()
{
    const ptr<IObject> object = hand::New<reading::Document>();
    auto& document = hand::As<reading::Document>(object);
    document.records.resize(2);
    document.records[1].places.resize(12);
    document.records[1].sizes = {4, 5, 6};
    document.matrix = {{1.0, 2.0}, {}, {3.0}};
    document.samples = {0.5, 0.25};
    document.choices.resize(1);
    document.owner.Set(QueryPersistable(object));
    document.next = MakeContainers();
    document.children = {object, nullptr, document.next};
    return object;
}

ptr<IObject> MakeNode()
{
    const ptr<IObject> object = hand::New<hand::Node>();
    const ptr<IObject> other = hand::New<hand::Node>();
    auto& node = hand::As<hand::Node>(object);
    node.m_next = other;
    node.m_kids = {object, nullptr, hand::New<hand::Plain>(), hand::New<hand::Outer>()};
    node.m_ref.Set(QueryPersistable(other));
    hand::As<hand::Node>(other).m_next = MakeDocument();
    hand::As<hand::Node>(other).m_cref.Set(QueryPersistable(object));
    return object;
}

using Make = ptr<IObject> (*)();

constexpr Make s_roots[] = {
    hand::New<hand::Outer>,      hand::New<hand::Wrapper>,  hand::New<hand::Evolved>, hand::New<hand::Qualified>,
    hand::New<hand::Impossible>, hand::New<hand::Bare>,     hand::New<hand::Orphan>,  hand::New<hand::Named>,
    hand::New<hand::Scalars>,    hand::New<hand::Ordinary>,
};
constexpr Make s_richRoots[] = {MakeContainers, MakeDocument, MakeNode};

// --- Texts -----------------------------------------------------------------------------------------------------------

class PathDrawing
{
public:
    explicit PathDrawing(Random& random) : m_random(random) { m_isSpaced = random.OneIn(3); }

    std::string Path(const ReflectedClass& rc)
    {
        StepToField(rc);
        return m_text + Space();
    }

private:
    std::string Space() { return m_isSpaced ? AnySpace(m_random) : ""; }
    void Add(const std::string& text) { m_text += Space() + text; }

    std::string Index(std::size_t count)
    {
        static constexpr const char* s_indices[] = {
            "-1",         "+1",  "0x1",   "007", "000000001", "2147483647", "9999", "12",   "2147483648",
            "4294967296", "1.5", "1 + 1", "",    "'a'",       "x",          "-0",   "0X0a", "99999999999999999999"};
        if (m_random.OneIn(8))
            return m_random.Of(s_indices);
        return std::to_string(m_random.Below(count + (m_random.OneIn(8) ? 2 : 0)));
    }

    void StepToField(const ReflectedClass& rc)
    {
        if (m_steps-- == 0 || m_random.OneIn(8))
            return;
        const ReflectedClass* model = &rc;
        if (rc.m_modelFields != nullptr && rc.m_numModelFields == 0)
            model = TryFindReflectedClass(rc.m_modelFields->m_name);
        Add(".");
        if (model == nullptr || model->m_modelFields == nullptr || model->m_numModelFields == 0 || m_random.OneIn(30))
            return Add(m_random.OneIn(2) ? AnyName(m_random) : AnyToken(m_random));
        const ReflectedModelField& field = AnyField(*model);
        Add(field.m_name);
        StepFrom({field.m_bc, model->m_stringTable, field.m_mapOrSetFns});
    }

    // Most often one from which the path can go on.
    const ReflectedModelField& AnyField(const ReflectedClass& model)
    {
        static constexpr uint8 s_goOn[] = {FT_CLASS, FT_ARRAY, FT_VECTOR,           FT_DYNARRAY,
                                           FT_PREF,  FT_CREF,  FT_INTERFACE_POINTER};
        const auto count = static_cast<std::size_t>(model.m_numModelFields);
        std::size_t i = m_random.Below(count);
        for (int tries = 4;
             tries > 0 && std::count(std::begin(s_goOn), std::end(s_goOn), *model.m_modelFields[i].m_bc) == 0; --tries)
            i = m_random.Below(count);
        return model.m_modelFields[i];
    }

    void StepFrom(ReflectionByteCode type)
    {
        try
        {
            type.AdvanceToUnderlyingType2();
        }
        catch (const KelmAssertionError&)
        {
            return;
        }
        if (m_random.OneIn(20))
            Add(AnyToken(m_random));
        switch (type.GetCode())
        {
        case FT_CLASS:
            if (type.GetReflectedClass() != nullptr)
                StepToField(*type.GetReflectedClass());
            return;
        case FT_ARRAY: return StepToElement(type, "[", 3);
        case FT_VECTOR: return StepToElement(type, "[", 2);
        case FT_DYNARRAY: return StepToElement(type, m_random.OneIn(12) ? "[" : "[[", 20);
        case FT_PREF:
        case FT_CREF:
        case FT_INTERFACE_POINTER:
            return StepToField(FindReflectedClass(m_random.OneIn(2)   ? "hand::Node"
                                                  : m_random.OneIn(3) ? "hand::Containers"
                                                                      : "reading::Document"));
        default: return;
        }
    }

    void StepToElement(const ReflectionByteCode& type, const std::string& opening, std::size_t count)
    {
        if (m_random.OneIn(10))
            return;
        for (const char bracket : opening)
            Add({bracket});
        Add(Index(count));
        Add(m_random.OneIn(30) ? "" : "]");
        StepFrom(type.GetElementType());
    }

    Random& m_random;
    bool m_isSpaced;
    int m_steps = 6;
    std::string m_text;
};

// --- Outcomes --------------------------------------------------------------------------------------------------------

// All that can be reached from an object, with a mark where the walk ended.
class GraphTelling
{
public:
    explicit GraphTelling(const void* marked) : m_marked(marked) {}

    std::string Tell(ptr<IObject> object)
    {
        const auto seen = std::find(m_seen.begin(), m_seen.end(), object.self());
        const std::string number = "#" + std::to_string(seen - m_seen.begin());
        if (seen != m_seen.end())
            return number;
        m_seen.push_back(object.self());
        const ReflectedClass& rc = *object.GetReflectedClass();
        return number + (object.self() == m_marked ? "@" : "") + rc.m_name +
               ContentsOf(rc, object.self(), {[this](ptr<IObject> o) { return Tell(o); }, m_marked});
    }

private:
    const void* m_marked;
    std::vector<const void*> m_seen;
};

std::string Told(const ReflectionByteCode& type)
{
    const auto number = [](const void* p) { return " " + std::to_string(reinterpret_cast<uintptr_t>(p)); };
    return number(type.m_bc) + number(type.m_stringTable) + number(type.m_mapOrSetFns);
}

// What the read barrier is told while it exists.
class BarrierCalls
{
public:
    explicit BarrierCalls(bool isInstalled) : m_isInstalled(isInstalled)
    {
        if (isInstalled)
            SetReadBarrier(Record, &m_told);
    }
    ~BarrierCalls()
    {
        if (m_isInstalled)
            SetReadBarrier(nullptr, nullptr);
    }
    BarrierCalls(const BarrierCalls&) = delete;
    BarrierCalls& operator=(const BarrierCalls&) = delete;

    std::string m_told;

private:
    static void Record(void* address, ptr<IObject> object, ConstStringZ, void* told)
    {
        *static_cast<std::string*>(told) += " " + std::to_string(reinterpret_cast<uintptr_t>(address)) + " in " +
                                            std::to_string(reinterpret_cast<uintptr_t>(object.self()));
    }

    const bool m_isInstalled;
};

// How a case walks.
struct Manner
{
    Make m_make;
    bool m_isTextForm;
    bool m_isBarrierInstalled;
    EPathNavigatorMode m_mode;
    std::size_t m_numSkipped; // tokens read before the walk
    ssize_t m_growthLimit;

    explicit Manner(Random& choice)
        : m_make(choice.OneIn(3) ? choice.Of(s_roots) : choice.Of(s_richRoots))
        , m_isTextForm(choice.OneIn(3))
        , m_isBarrierInstalled(choice.OneIn(6))
        , m_mode(static_cast<EPathNavigatorMode>(choice.Below(choice.OneIn(4) ? 4 : 2)))
        , m_numSkipped(choice.OneIn(10) ? 1 + choice.Below(2) : 0)
        , m_growthLimit(choice.OneIn(10) ? static_cast<ssize_t>(choice.Below(100))
                                         : std::numeric_limits<ssize_t>::max())
    {
    }
};

// The reference walks first. Each walks through objects of its own, so that what grows can be compared; but where the
// read barrier is told of addresses, both go through the same. All are garbage from the beginning: nothing collects
// before the next case, and some of them could not be traced.
ptr<IObject> s_sharedObject;

// Where a walk ended, and what it came to.
struct End
{
    const void* m_address = nullptr;
    ReflectionByteCode m_rbc;
};

// `walk` gives its end; `state` is what the parser is left at, asked for behind it.
template <class Walk, class State>
std::string ToldWalk(const Manner& manner, ptr<IObject> object, Walk walk, State state)
{
    End end;
    std::string outcome;
    BarrierCalls barrier(manner.m_isBarrierInstalled);
    try
    {
        outcome = walk(end);
    }
    catch (const TextError& e)
    {
        outcome = ToldError(e);
    }
    catch (const KelmAssertionError& e)
    {
        outcome = "KelmAssertionError: " + ToStdString(e.m_condition) + " (" + ToStdString(e.m_file) + ")";
    }
    outcome += state() + Told(end.m_rbc) + barrier.m_told;
    return outcome + (end.m_address == nullptr ? " nowhere " : " ") + GraphTelling(end.m_address).Tell(object);
}

std::string LibraryWalk(SubString text, Random choice)
{
    const Manner manner(choice);
    const ptr<IObject> object = manner.m_isBarrierInstalled ? s_sharedObject : manner.m_make();
    const ssize_t limitBefore = SetPathGrowthLimit(manner.m_growthLimit);
    ExpressionParser parser;
    const auto walk = [&](End& end) -> std::string
    {
        if (manner.m_isTextForm)
        {
            xstring error("before");
            end.m_address =
                NavigatePathToField(object, xstring(text), end.m_rbc, manner.m_mode != PNM_READ_ACCESS, error);
            return ToStdString(SubString(error));
        }
        try
        {
            parser.Init(text);
            for (std::size_t i = 0; i < manner.m_numSkipped; ++i)
                parser.ReadNextToken();
            const ExpressionPathNavigator navigator(parser, object, manner.m_mode);
            end.m_address = navigator.m_data;
            end.m_rbc = navigator.m_rbc;
            return "in " + std::to_string(navigator.m_obj == object);
        }
        catch (const LexScannerException& e)
        {
            throw TextError{ToStdString(e.m_description), PlaceIn(text, e.m_pos)};
        }
    };
    const auto state = [&] { return manner.m_isTextForm ? "" : ToldState(parser, text); };
    const std::string outcome = ToldWalk(manner, object, walk, state);
    SetPathGrowthLimit(limitBefore);
    return outcome;
}

std::string ReferenceWalk(const std::string& text, Random choice)
{
    const Manner manner(choice);
    CollectGarbage();
    const ptr<IObject> object = manner.m_make();
    s_sharedObject = object;
    Stream stream(text);
    const auto walk = [&](End& end) -> std::string
    {
        try
        {
            stream.Init();
            for (std::size_t i = 0; !manner.m_isTextForm && i < manner.m_numSkipped; ++i)
                stream.ReadNextToken();
            PathWalk path(stream, manner.m_mode == PNM_READ_ACCESS, manner.m_growthLimit);
            path.Walk(object);
            end = {path.m_data, path.m_rbc};
            return manner.m_isTextForm ? "" : "in " + std::to_string(path.m_object == object);
        }
        catch (const TextError& e)
        {
            if (!manner.m_isTextForm)
                throw;
            return "line " + std::to_string(GetLine(text, e.m_place)) + ": " + e.m_message;
        }
    };
    const auto state = [&] { return manner.m_isTextForm ? "" : ToldState(stream); };
    return ToldWalk(manner, object, walk, state);
}

TEST_F(ParseFieldPathProperty, WalksAnyPath)
{
    const auto draw = [](Random& random, Random choice)
    {
        const Manner manner(choice);
        std::string text;
        for (std::size_t i = 0; i < manner.m_numSkipped; ++i)
            text += AnyToken(random) + AnyBreak(random);
        text += PathDrawing(random).Path(*manner.m_make().GetReflectedClass());
        if (random.OneIn(12))
            text += AnyToken(random);
        return OftenWhole(random, text, 4);
    };
    Compare({60, draw, LibraryWalk, ReferenceWalk});
}

} // namespace
} // namespace kelm::reference
