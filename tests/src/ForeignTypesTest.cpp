// Every form of foreign type inside every other, and each of the four once more inside those: read, written, compared,
// visited, reached by paths.

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>

#include "../support/Expect.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace foreign
{

struct Leaf
{
    int id = 0;
    std::string name;
    kelm::ptr<kelm::IObject> handle;
};

struct Target
{
    int value = 0;
};

} // namespace foreign

KELM_DESCRIBE(foreign::Leaf, id, name, handle)
KELM_DESCRIBE(foreign::Target, value)

namespace kelm
{

namespace
{

using foreign::Leaf;

// --- values of any of the types

struct Filling
{
    std::mt19937 m_random;
    ptr<IObject> m_handle; // that each leaf gets
    int m_numLeaves = 0;

    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
};

void Fill(Filling& filling, Leaf& leaf)
{
    leaf.id = filling.Below(5);
    leaf.name = std::string(static_cast<std::size_t>(filling.Below(3) * 12), "a\"\n"[filling.Below(3)]);
    leaf.handle = filling.m_handle;
    ++filling.m_numLeaves;
}
void Fill(Filling& filling, bool& value)
{
    value = filling.Below(2) != 0;
}

template <class T>
void Fill(Filling& filling, std::vector<T>& list);
template <class T>
void Fill(Filling& filling, xvector<T>& list);
template <class T>
void Fill(Filling& filling, std::array<T, 2>& array);
template <class T>
void Fill(Filling& filling, std::pair<bool, T>& pair);
template <class T>
void Fill(Filling& filling, std::map<std::string, T>& map);
template <class T>
void Fill(Filling& filling, std::unordered_map<int, T>& map);
template <class T>
void Fill(Filling& filling, std::optional<T>& optional);
template <class T>
void Fill(Filling& filling, std::unique_ptr<T>& pointer);
template <class T>
void Fill(Filling& filling, std::shared_ptr<T>& pointer);
template <class T>
void Fill(Filling& filling, std::variant<bool, T>& variant);

template <class T>
void Fill(Filling& filling, std::vector<T>& list)
{
    for (int i = filling.Below(4); i > 0; --i)
    {
        T element{};
        Fill(filling, element);
        list.push_back(std::move(element));
    }
}
template <class T>
void Fill(Filling& filling, xvector<T>& list)
{
    for (int i = filling.Below(4); i > 0; --i)
        Fill(filling, list.emplace_back());
}
template <class T>
void Fill(Filling& filling, std::array<T, 2>& array)
{
    for (T& element : array)
        Fill(filling, element);
}
template <class T>
void Fill(Filling& filling, std::pair<bool, T>& pair)
{
    Fill(filling, pair.first);
    Fill(filling, pair.second);
}
template <class T>
void Fill(Filling& filling, std::map<std::string, T>& map)
{
    for (int i = filling.Below(4); i > 0; --i)
        Fill(filling, map["key " + std::to_string(i)]);
}
template <class T>
void Fill(Filling& filling, std::unordered_map<int, T>& map)
{
    for (int i = filling.Below(4); i > 0; --i)
        Fill(filling, map[i * 1000003 % 7]);
}
template <class T>
void Fill(Filling& filling, std::optional<T>& optional)
{
    if (filling.Below(4) > 0)
        Fill(filling, optional.emplace());
}
template <class T>
void Fill(Filling& filling, std::unique_ptr<T>& pointer)
{
    if (filling.Below(4) > 0)
        Fill(filling, *(pointer = std::make_unique<T>()));
}
template <class T>
void Fill(Filling& filling, std::shared_ptr<T>& pointer)
{
    if (filling.Below(4) > 0)
        Fill(filling, *(pointer = std::make_shared<T>()));
}
template <class T>
void Fill(Filling& filling, std::variant<bool, T>& variant)
{
    if (filling.Below(4) > 0)
        Fill(filling, variant.template emplace<1>());
    else
        Fill(filling, std::get<0>(variant));
}

// --- the types

struct Case
{
    std::string m_name;
    ReflectionByteCode m_type;
    void (*m_fill)(Filling& filling, void* value);
};

using Cases = std::vector<Case>;

template <class T>
void AddCase(Cases& cases, const std::string& name)
{
    cases.push_back({name, TypeOf<T>(), [](Filling& filling, void* value) { Fill(filling, *static_cast<T*>(value)); }});
}

// T in each form, and that in each ... What is ambiguous or cannot be moved has been refused for itself.
template <class T, int Depth, bool HasAllForms>
void AddNested(Cases& cases, const std::string& name)
{
    AddCase<T>(cases, name);
    const auto add = [&]<class U>(std::type_identity<U>, const char* form)
    {
        if constexpr (FieldType<U>::Obstacle == EObstacle::None)
            AddNested<U, Depth - 1, HasAllForms>(cases, std::string(form) + "<" + name + ">");
    };
    if constexpr (Depth > 0)
    {
        add(std::type_identity<std::vector<T>>(), "vector");
        add(std::type_identity<std::map<std::string, T>>(), "map");
        add(std::type_identity<std::optional<T>>(), "optional");
        add(std::type_identity<std::pair<bool, T>>(), "pair");
        if constexpr (!std::is_same_v<T, bool>)
            add(std::type_identity<std::variant<bool, T>>(), "variant");
    }
    if constexpr (Depth > 0 && HasAllForms)
    {
        add(std::type_identity<std::array<T, 2>>(), "array");
        add(std::type_identity<xvector<T>>(), "xvector");
        add(std::type_identity<std::unordered_map<int, T>>(), "unordered_map");
        add(std::type_identity<std::unique_ptr<T>>(), "unique_ptr");
        add(std::type_identity<std::shared_ptr<T>>(), "shared_ptr");
    }
}

const Cases& GetCases()
{
    static const Cases s_cases = []
    {
        Register_Project_klKelmScript();
        EnsureRegistered<foreign::Target>();
        Cases cases;
        AddNested<Leaf, 3, false>(cases, "Leaf");
        AddNested<Leaf, 2, true>(cases, "Leaf");
        AddNested<bool, 2, false>(cases, "bool");
        return cases;
    }();
    return s_cases;
}

class Variable
{
public:
    explicit Variable(const ReflectionByteCode& type)
        : m_type(type), m_memory(std::make_unique<char[]>(static_cast<std::size_t>(type.GetTypeSize())))
    {
        ConstructReflectedVariable(m_type, Get());
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { DestructReflectedVariable(m_type, Get()); }

    void* Get() const { return m_memory.get(); }
    std::string Write(int indent = 0) const
    {
        StringStream text(256);
        WriteVariable(text, m_type, Get(), {.m_indent = indent});
        return ToStdString(text.GetString());
    }
    void Read(const std::string& text)
    {
        ExpressionParser parser;
        parser.Init(ViewOf(text));
        ParseVariable(parser, m_type, Get());
        EXPECT_EQ(parser.m_token.m_type, TOKEN_END) << text;
    }

private:
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
};

template <class Check>
void ForEachCase(int rounds, const Check& check)
{
    unsigned seed = 1;
    for (const Case& c : GetCases())
        for (int round = 0; round < rounds; ++round)
        {
            SCOPED_TRACE(c.m_name);
            Filling filling{std::mt19937(seed++), {}};
            check(c, filling);
            if (testing::Test::HasFailure())
                return;
        }
}

TEST(ForeignTypes, AreMany)
{
    EXPECT_GT(GetCases().size(), 200u);
}

TEST(ForeignTypes, ReadBackAsTheyWereWritten)
{
    ForEachCase(4,
                [](const Case& c, Filling& filling)
                {
                    const Variable written(c.m_type);
                    c.m_fill(filling, written.Get());
                    for (const int indent : {0, 2})
                    {
                        Variable read(c.m_type);
                        c.m_fill(filling, read.Get()); // all of which is replaced
                        if (c.m_name.find("xvector") != std::string::npos)
                            continue; // is appended to
                        read.Read(written.Write(indent));
                        EXPECT_EQ(read.Write(), written.Write());
                        EXPECT_TRUE(CompareEqReflectedVariable(c.m_type, read.Get(), c.m_type, written.Get()));
                    }
                    Variable fresh(c.m_type);
                    fresh.Read(written.Write());
                    EXPECT_EQ(fresh.Write(), written.Write());
                });
}

TEST(ForeignTypes, AreComparedByWhatTheyHold)
{
    ForEachCase(4,
                [](const Case& c, Filling& filling)
                {
                    const Variable a(c.m_type);
                    const Variable b(c.m_type);
                    c.m_fill(filling, a.Get());
                    c.m_fill(filling, b.Get());
                    const bool isSame = a.Write() == b.Write();
                    const auto isLess = [&](const Variable& x, const Variable& y)
                    { return CompareLtReflectedVariable(c.m_type, x.Get(), c.m_type, y.Get()); };
                    EXPECT_EQ(CompareEqReflectedVariable(c.m_type, a.Get(), c.m_type, b.Get()), isSame);
                    EXPECT_EQ(isLess(a, b) + isLess(b, a), isSame ? 0 : 1);
                    EXPECT_FALSE(isLess(a, a));
                });
}

TEST(ForeignTypes, HandlesInThemAreVisited)
{
    struct Counter : IObjectVisitor
    {
        void Visit(const ptr<IObject>&) override { ++m_count; }
        int m_count = 0;
    };
    const ptr<IObject> target = CreateGcObject<foreign::Target>();
    ForEachCase(2,
                [&](const Case& c, Filling& filling)
                {
                    filling.m_handle = target;
                    const Variable variable(c.m_type);
                    c.m_fill(filling, variable.Get());
                    Counter counter;
                    VisitObjectsInReflectedVariable(c.m_type, variable.Get(), counter);
                    EXPECT_EQ(counter.m_count, filling.m_numLeaves);
                });
    target.fns()->Destroy(target.self());
}

// The path to the first or last leaf, and where that is; null behind a map, or where there is none.
const void* FindFirst(ReflectionByteCode type, const void* data, std::string& path)
{
    type.AdvanceToUnderlyingType2();
    const auto* const bytes = static_cast<const char*>(data);
    if (type.GetCode() == FT_ARRAY)
    {
        path += "[0]";
        return FindFirst(type.GetElementType(), data, path);
    }
    if (type.GetCode() == FT_VECTOR)
    {
        path += "[0]";
        const auto& vector = *reinterpret_cast<const VectorOfByte*>(bytes);
        return vector.empty() ? nullptr : FindFirst(type.GetElementType(), vector.data(), path);
    }
    if (type.GetCode() != FT_FOREIGN)
        return type.GetCode() == FT_CLASS ? data : nullptr;
    const ForeignType& foreign = type.GetForeignType();
    if (foreign.GetForm() == FF_LIST)
    {
        const ssize_t last = foreign.m_list->Count(data) - 1;
        if (last < 0)
            return nullptr;
        path += "[" + std::to_string(last) + "]";
        return FindFirst(foreign.GetElementType(last), foreign.m_list->At(const_cast<char*>(bytes), last), path);
    }
    if (foreign.GetForm() == FF_CHOICE)
    {
        const int32 index = foreign.m_choice->GetIndex(data);
        return index < 0 ? nullptr : FindFirst(foreign.GetPartType(index), foreign.m_choice->GetValue(data), path);
    }
    return nullptr;
}

TEST(ForeignTypes, PathsLeadIntoThem)
{
    const ptr<IObject> owner = CreateGcObject<foreign::Target>();
    int reached = 0;
    ForEachCase(2,
                [&](const Case& c, Filling& filling)
                {
                    const Variable variable(c.m_type);
                    c.m_fill(filling, variable.Get());
                    std::string path;
                    const void* const expected = FindFirst(c.m_type, variable.Get(), path);
                    if (expected == nullptr)
                        return;
                    path += ".name";
                    ExpressionParser parser;
                    parser.Init(SubString(""));
                    ExpressionPathNavigator navigator(parser, owner, PNM_WRITE_ACCESS);
                    parser.Init(ViewOf(path));
                    navigator.m_rbc = c.m_type;
                    navigator.m_data = static_cast<char*>(variable.Get());
                    navigator.NavigateReflectedVariable();
                    EXPECT_EQ(static_cast<const void*>(navigator.m_data), &static_cast<const Leaf*>(expected)->name)
                        << path;
                    ++reached;
                });
    EXPECT_GT(reached, 100);
    owner.fns()->Destroy(owner.self());
}

// Whatever a text is, it is read or refused with its place, and what was read so far is there to be destroyed.
TEST(ForeignTypes, DamagedTextsAreRefused)
{
    int refused = 0;
    ForEachCase(2,
                [&](const Case& c, Filling& filling)
                {
                    const Variable written(c.m_type);
                    c.m_fill(filling, written.Get());
                    std::string text = written.Write();
                    for (int i = 0; i < 8; ++i)
                    {
                        std::string damaged = text;
                        const auto at = static_cast<std::size_t>(filling.Below(static_cast<int>(text.size())));
                        if (filling.Below(2) == 0)
                            damaged.erase(at, 1);
                        else
                            damaged[at] = "[]{}=\"0,n-> "[filling.Below(12)];
                        Variable read(c.m_type);
                        try
                        {
                            ExpressionParser parser;
                            parser.Init(ViewOf(damaged));
                            ParseVariable(parser, c.m_type, read.Get());
                        }
                        catch (const LexScannerException&)
                        {
                            ++refused;
                        }
                    }
                });
    EXPECT_GT(refused, 1000);
}

} // namespace

} // namespace kelm
