#include <host/klObject/GraphNode.h>
#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Expect.h>

#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/xvector.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

namespace kelm::test
{
namespace
{

using ::testing::ElementsAre;

constexpr ConstStringZ s_sourceFile = "host/klObject/values/VisitReflected";

// The names that the byte code of these tests refers to, by index.
enum EName : uint8
{
    N_OBJECT,
    N_HANDLE,
    N_PAIR,
    N_TREE,
    N_OPAQUE,
    N_HOLDER,
    N_CHOICE,
    N_LATE,
    N_NOWHERE,
    N_STRANGE,
    N_LOOP,
    N_CHAIN,
    N_OPAQUE_REFERENCE,
};
constexpr ConstStringZ s_names[] = {"kelm::IObject",        "test::Handle",  "test::Pair",   "test::Tree",
                                    "test::Opaque",         "test::Holder",  "test::Choice", "test::Late",
                                    "test::Nowhere",        "test::Strange", "test::Loop",   "test::Chain",
                                    "test::OpaqueReference"};

using Bytes = std::vector<uint8>;

Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes joined;
    for (const Bytes& part : parts)
        joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

Bytes Named(ETypeByteCode code, EName name)
{
    return {code, name, 0};
}
Bytes Of(ETypeByteCode code, const Bytes& type)
{
    return Join({{code}, type});
}
Bytes ArrayOf(uint8 count, const Bytes& type)
{
    return Join({{FT_ARRAY, count, 0, 0, 0}, type});
}

const Bytes s_handle = Of(FT_INTERFACE_POINTER, Named(FT_INTERFACE, N_OBJECT));
const Bytes s_pref = Of(FT_PREF, Named(FT_INTERFACE, N_OBJECT));
const Bytes s_int32 = {FT_INT32};
const Bytes s_string = {FT_STRING8};
const Bytes s_handles = Of(FT_VECTOR, s_handle);
const Bytes s_pair = Named(FT_CLASS, N_PAIR);
const Bytes s_choice = Named(FT_VARIANT, N_CHOICE);

// A key of a map, and an element of a set, that is a handle; ordered by what it designates.
struct HandleKey
{
    ptr<IObject> m_handle;

    friend bool operator<(const HandleKey& a, const HandleKey& b)
    {
        return NodeOf(a.m_handle).m_value < NodeOf(b.m_handle).m_value;
    }
};

// Only the second member is a handle.
struct Pair
{
    int64 m_number = 0;
    ptr<IObject> m_handle;
};

struct Tree
{
    xvector<Tree> m_children;
    ptr<IObject> m_handle;
    xstring m_name;
};

} // namespace
} // namespace kelm::test

template <>
inline constexpr bool kelm::IsRelocatable<kelm::test::Tree> = true;

namespace kelm::test
{
namespace
{

// Number, handle or handles.
struct Choice
{
    int32 m_index = 0;
    ptr<IObject> m_handle;
    xvector<ptr<IObject>> m_handles;
};

// Embeds the model of Pair behind fields of its own.
struct Holder
{
    ptr<IObject> m_ordinary;
    ptr<IObject> m_notReflected;
    Pair m_model;
};

struct Opaque
{
    ptr<IObject> m_hidden;
};

const ReflectedTypedef s_handleTypedef = {.m_name = "test::Handle", .m_bc = s_handle.data(), .m_stringTable = s_names};

const ReflectedModelField s_pairFields[] = {
    {"number", offsetof(Pair, m_number), s_int32.data(), 0, -1, nullptr},
    {"dropped", 1000000000, s_handle.data(), 0, 1, nullptr},
    {"handle", offsetof(Pair, m_handle), s_handle.data(), 0, -1, nullptr},
};
const ReflectedClass s_pairClass = {.m_name = "test::Pair",
                                    .m_size = sizeof(Pair),
                                    .m_modelFields = s_pairFields,
                                    .m_numModelFields = 3,
                                    .m_stringTable = s_names};

const Bytes s_trees = Of(FT_VECTOR, Named(FT_CLASS, N_TREE));
const ReflectedField s_treeFields[] = {
    {"children", offsetof(Tree, m_children), s_trees.data()},
    {"handle", offsetof(Tree, m_handle), s_handle.data()},
    {"name", offsetof(Tree, m_name), s_string.data()},
};
const ReflectedClass s_treeClass = {.m_name = "test::Tree",
                                    .m_size = sizeof(Tree),
                                    .m_fields = s_treeFields,
                                    .m_numFields = 3,
                                    .m_stringTable = s_names};

const ReflectedClass& _GetReflected(const Tree*)
{
    return s_treeClass;
}

// Holds nothing but itself.
const Bytes s_loops = Of(FT_VECTOR, Named(FT_CLASS, N_LOOP));
const ReflectedField s_loopFields[] = {{"loops", 0, s_loops.data()}};
const ReflectedClass s_loopClass = {.m_name = "test::Loop",
                                    .m_size = sizeof(VectorOfByte),
                                    .m_fields = s_loopFields,
                                    .m_numFields = 1,
                                    .m_stringTable = s_names};

const ReflectedField s_choiceFields[] = {
    {"int32", offsetof(Choice, m_index), s_int32.data()},
    {"handle", offsetof(Choice, m_handle), s_handle.data()},
    {"handles", offsetof(Choice, m_handles), s_handles.data()},
};
const ReflectedVariant s_choiceVariant = {.m_name = "test::Choice",
                                          .m_size = sizeof(Choice),
                                          .m_fields = s_choiceFields,
                                          .m_numFields = 3,
                                          .m_stringTable = s_names};

const ReflectedModelField s_embeddedModel = {"test::Pair", offsetof(Holder, m_model), nullptr, 0, -1, nullptr};
const ReflectedField s_holderFields[] = {{"ordinary", offsetof(Holder, m_ordinary), s_handle.data()}};
const ReflectedClass s_holderClass = {.m_name = "test::Holder",
                                      .m_size = sizeof(Holder),
                                      .m_fields = s_holderFields,
                                      .m_numFields = 1,
                                      .m_modelFields = &s_embeddedModel,
                                      .m_stringTable = s_names};

void VisitOpaque(const void* src, ssize_t stride, ssize_t count, IObjectVisitor& visitor)
{
    for (ssize_t i = 0; i < count; ++i)
        visitor.Visit(
            static_cast<const Opaque*>(static_cast<const void*>(static_cast<const char*>(src) + i * stride))->m_hidden);
}
const TypeOps s_opaqueOps = {.m_size = sizeof(Opaque), .m_VisitObjectsInArrayFn = VisitOpaque};
const ReflectedClass s_opaqueClass = {.m_name = "test::Opaque", .m_size = sizeof(Opaque), .m_ops = &s_opaqueOps};

// Fields that are the class's own business.
const Bytes s_rawHandle = Of(FT_POINTER, s_handle);
const Bytes s_notReflected = {FT_NOT_REFLECTED};
const ReflectedField s_strangeFields[] = {{"raw", 0, s_rawHandle.data()}, {"hidden", 8, s_notReflected.data()}};
const ReflectedClass s_strangeClass = {
    .m_name = "test::Strange", .m_size = 16, .m_fields = s_strangeFields, .m_numFields = 2, .m_stringTable = s_names};

struct Collected final : IObjectVisitor
{
    void Visit(const ptr<IObject>& handle) override { m_values.push_back(NodeOf(handle).m_value); }

    std::vector<int32> m_values;
};

class Visit : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static bool s_isDone = false;
        if (s_isDone)
            return;
        s_isDone = true;
        for (const ReflectedClass* const rc :
             {&s_pairClass, &s_treeClass, &s_loopClass, &s_holderClass, &s_opaqueClass, &s_strangeClass})
            ASSERT_EQ(RegisterReflectedClass(rc, nullptr), NSE_OK) << rc->m_name;
        ASSERT_EQ(RegisterReflectedVariant(&s_choiceVariant, nullptr), NSE_OK);
        ASSERT_EQ(RegisterReflectedTypedef(&s_handleTypedef, nullptr), NSE_OK);
    }

    // The numbers of the nodes that a visitor is shown, in order.
    static std::vector<int32> Held(const Bytes& type, const void* p, const PtrMapOrSetFns* fns = nullptr)
    {
        Collected collected;
        VisitObjectsInReflectedVariable({type.data(), s_names, fns}, p, collected);
        return collected.m_values;
    }
    static std::vector<int32> HeldByInstance(const ReflectedClass& rc, const void* p)
    {
        Collected collected;
        VisitObjectsInClassInstance(rc, p, collected);
        return collected.m_values;
    }
};

TEST_F(Visit, FindsNothingInATypeThatIsNull)
{
    Collected collected;
    VisitObjectsInReflectedVariable({}, nullptr, collected);
    EXPECT_THAT(collected.m_values, ElementsAre());
}

// No byte is looked at.
TEST_F(Visit, FindsNothingInNumbersAndTexts)
{
    for (int code = FT_VOID; code <= FT_STRING16; ++code)
    {
        const Bytes scalar = {static_cast<uint8>(code)};
        EXPECT_THAT(Held(scalar, nullptr), ElementsAre()) << code;
        EXPECT_THAT(Held(Of(FT_VECTOR, scalar), nullptr), ElementsAre()) << code;
    }
    EXPECT_THAT(Held(ArrayOf(3, Of(FT_MAP, Join({s_string, s_loops}))), nullptr), ElementsAre());
    EXPECT_THAT(Held(Named(FT_CLASS, N_STRANGE), nullptr), ElementsAre());
}

TEST_F(Visit, FindsHandlesThatAreNotNull)
{
    ptr<IObject> handle;
    EXPECT_THAT(Held(s_handle, &handle), ElementsAre());
    handle = NewNode(1);
    EXPECT_THAT(Held(s_handle, &handle), ElementsAre(1));
}

TEST_F(Visit, LooksBehindQualifiersTypedefsAndMetadata)
{
    const ptr<IObject> handle = NewNode(1);
    const Bytes handleTypedef = Named(FT_TYPEDEF, N_HANDLE);
    EXPECT_THAT(Held(Of(FT_CONST, handleTypedef), &handle), ElementsAre(1));
    EXPECT_THAT(Held(Join({{MDT_BOOL, 1}, {FT_ASSIGNABLE}, handleTypedef}), &handle), ElementsAre(1));
    const xvector<ptr<IObject>> handles = {handle, NewNode(2)};
    EXPECT_THAT(Held(Join({{FT_VECTOR}, {MDT_INT32, 1, 0, 0, 0}, {FT_VOLATILE}, handleTypedef}), &handles),
                ElementsAre(1, 2));
}

TEST_F(Visit, FindsTheObjectOfAPersistentReferenceThatIsLoaded)
{
    prefbase reference;
    reference.SetObjectId(17);
    EXPECT_THAT(Held(s_pref, &reference), ElementsAre());
    reference.Set(NewPersistableNode(1));
    EXPECT_THAT(Held(s_pref, &reference), ElementsAre(1));
    EXPECT_THAT(Held(Of(FT_CREF, Named(FT_INTERFACE, N_OBJECT)), &reference), ElementsAre(1));
}

TEST_F(Visit, GoesThroughArraysAndVectors)
{
    const ptr<IObject> array[3] = {NewNode(1), nullptr, NewNode(3)};
    EXPECT_THAT(Held(ArrayOf(3, s_handle), array), ElementsAre(1, 3));
    const Pair pairs[2] = {{0, NewNode(4)}, {0, NewNode(5)}};
    EXPECT_THAT(Held(ArrayOf(2, s_pair), pairs), ElementsAre(4, 5));
    EXPECT_THAT(Held(ArrayOf(2, ArrayOf(1, s_pair)), pairs), ElementsAre(4, 5));
    EXPECT_THAT(Held(ArrayOf(0, s_handle), array), ElementsAre());

    const xvector<xvector<ptr<IObject>>> vectors = {{NewNode(1)}, {}, {NewNode(2), NewNode(3)}};
    EXPECT_THAT(Held(Of(FT_VECTOR, s_handles), &vectors), ElementsAre(1, 2, 3));
    EXPECT_THAT(Held(Of(FT_DYNARRAY, Of(FT_DYNARRAY, s_handle)), &vectors), ElementsAre(1, 2, 3));
    RunOnThread(s_smallStack, [&] { EXPECT_THAT(Held(Of(FT_VECTOR, s_handles), &vectors), ElementsAre(1, 2, 3)); });
}

TEST_F(Visit, GoesThroughKeysAndPayloadsOfMaps)
{
    const xmap<HandleKey, Pair> map = {{{NewNode(1)}, {0, NewNode(10)}}, {{NewNode(2)}, {0, NewNode(20)}}};
    const PtrMapOrSetFns fns = {.mapFns = &MapFunctions<HandleKey, Pair>::table};
    EXPECT_THAT(Held(Of(FT_MAP, Join({s_handle, s_pair})), &map, &fns), ElementsAre(1, 10, 2, 20));

    const xmap<HandleKey, int32> keys = {{{NewNode(3)}, 0}};
    const PtrMapOrSetFns keysFns = {.mapFns = &MapFunctions<HandleKey, int32>::table};
    EXPECT_THAT(Held(Of(FT_MAP, Join({s_handle, s_int32})), &keys, &keysFns), ElementsAre(3));

    const xmap<int32, ptr<IObject>> empty;
    const PtrMapOrSetFns emptyFns = {.mapFns = &MapFunctions<int32, ptr<IObject>>::table};
    EXPECT_THAT(Held(Of(FT_MAP, Join({s_int32, s_handle})), &empty, &emptyFns), ElementsAre());
}

TEST_F(Visit, TakesTheFunctionTablesOfNestedMapsInOrder)
{
    using Inner = xmap<int32, ptr<IObject>>;
    using Outer = xmap<int32, Inner>;
    const Bytes innerType = Of(FT_MAP, Join({s_int32, s_handle}));
    const Bytes outerType = Of(FT_MAP, Join({s_int32, innerType}));
    const PtrMapOrSetFns fns[] = {{.mapFns = &MapFunctions<int32, Outer>::table},
                                  {.mapFns = &MapFunctions<int32, Inner>::table},
                                  {.mapFns = &MapFunctions<int32, ptr<IObject>>::table}};
    Outer outer;
    outer[1][5] = NewNode(15);
    outer[2][6] = NewNode(26);
    outer[2][7] = NewNode(27);
    EXPECT_THAT(Held(outerType, &outer, fns + 1), ElementsAre(15, 26, 27));

    xmap<int32, Outer> outermost;
    outermost[9] = outer;
    EXPECT_THAT(Held(Of(FT_MAP, Join({s_int32, outerType})), &outermost, fns), ElementsAre(15, 26, 27));

    const xvector<Inner> vector = {{{1, NewNode(1)}}, {{2, NewNode(2)}}};
    EXPECT_THAT(Held(Of(FT_VECTOR, innerType), &vector, fns + 2), ElementsAre(1, 2));
}

TEST_F(Visit, GoesThroughSets)
{
    xset<HandleKey> set;
    set.Insert({NewNode(2)});
    set.Insert({NewNode(1)});
    const PtrMapOrSetFns fns = {.setFns = &SetFunctions<HandleKey>::table};
    EXPECT_THAT(Held(Of(FT_SET, s_handle), &set, &fns), ElementsAre(1, 2));
}

TEST_F(Visit, LooksAtTheCurrentAlternativeAlone)
{
    Choice choice = {0, NewNode(1), {NewNode(2), NewNode(3)}};
    EXPECT_THAT(Held(s_choice, &choice), ElementsAre());
    choice.m_index = 1;
    EXPECT_THAT(Held(s_choice, &choice), ElementsAre(1));
    choice.m_index = 2;
    EXPECT_THAT(Held(s_choice, &choice), ElementsAre(2, 3));
    for (const int32 index : {-1, 3})
    {
        choice.m_index = index;
        EXPECT_TRUE(FailsAssertion([&] { Held(s_choice, &choice); },
                                   "0 <= index && index < static_cast<ssize_t>(plan.m_parts.size())", s_sourceFile));
    }
}

TEST_F(Visit, GoesThroughModelFieldsAndOrdinaryFields)
{
    const Pair pair = {7, NewNode(1)};
    EXPECT_THAT(HeldByInstance(s_pairClass, &pair), ElementsAre(1));
    EXPECT_THAT(Held(s_pair, &pair), ElementsAre(1));
    EXPECT_THAT(Held(Of(FT_OFFSETTABLE, s_int32), &pair), ElementsAre());
}

TEST_F(Visit, FindsAnEmbeddedModelAtItsOffset)
{
    const Holder holder = {NewNode(1), NewNode(2), {0, NewNode(3)}};
    EXPECT_THAT(HeldByInstance(s_holderClass, &holder), ElementsAre(3, 1));
}

// The member is a whole instance: the model of its class, which may be embedded in turn, and its ordinary fields.
TEST_F(Visit, FindsAllThatTheMemberOfAnEmbeddedModelHolds)
{
    struct Case
    {
        int64 m_number;
        Holder m_holder;
    };
    static const ReflectedModelField s_model = {"test::Holder", offsetof(Case, m_holder), nullptr, 0, -1, nullptr};
    static const ReflectedClass s_class = {.m_name = "test::Case", .m_size = sizeof(Case), .m_modelFields = &s_model};
    const Case value = {7, {NewNode(1), NewNode(2), {0, NewNode(3)}}};
    EXPECT_THAT(HeldByInstance(s_class, &value), ElementsAre(3, 1));
}

TEST_F(Visit, FollowsAClassThatHoldsVectorsOfItself)
{
    Tree tree = {{}, NewNode(1), "root"};
    tree.m_children.push_back({{}, NewNode(2), ""});
    tree.m_children.push_back({{}, nullptr, ""});
    tree.m_children[1].m_children.push_back({{}, NewNode(3), ""});
    EXPECT_THAT(HeldByInstance(s_treeClass, &tree), ElementsAre(2, 3, 1));
}

TEST_F(Visit, GoesAsDeepAsValuesAreNested)
{
    Tree tree = {{}, NewNode(1), ""};
    for (int i = 1; i < s_nesting / 4; ++i)
    {
        Tree parent;
        parent.m_children.emplace_back(std::move(tree));
        tree = std::move(parent);
    }
    EXPECT_THAT(HeldByInstance(s_treeClass, &tree), ElementsAre(1));
}

TEST_F(Visit, LeavesAnOpaqueClassToItsTypeOperations)
{
    const Opaque opaque[2] = {{NewNode(1)}, {NewNode(2)}};
    EXPECT_THAT(HeldByInstance(s_opaqueClass, opaque), ElementsAre(1));
    EXPECT_THAT(Held(ArrayOf(2, Named(FT_CLASS, N_OPAQUE)), opaque), ElementsAre(1, 2));

    const ReflectedClass withoutOps = {.m_name = "test::WithoutOps", .m_size = sizeof(Opaque)};
    EXPECT_THAT(HeldByInstance(withoutOps, opaque), ElementsAre());
}

TEST_F(Visit, NeedsTheClassesAndVariantsThatAreNamed)
{
    const Pair pair = {0, NewNode(1)};
    EXPECT_TRUE(FailsAssertion([&] { Held(Named(FT_CLASS, N_NOWHERE), &pair); }, "rc", s_sourceFile));
    EXPECT_TRUE(FailsAssertion([&] { Held(Named(FT_VARIANT, N_NOWHERE), &pair); }, "rv", s_sourceFile));
}

TEST_F(Visit, WorksOnceAMissingClassIsRegistered)
{
    static const Bytes s_late = Named(FT_CLASS, N_LATE);
    static const ReflectedField s_outerFields[] = {{"late", 0, s_late.data()}};
    static const ReflectedClass s_outerClass = {.m_name = "test::OuterOfLate",
                                                .m_size = sizeof(ptr<IObject>),
                                                .m_fields = s_outerFields,
                                                .m_numFields = 1,
                                                .m_stringTable = s_names};
    static const ReflectedField s_lateFields[] = {{"handle", 0, s_handle.data()}};
    static const ReflectedClass s_lateClass = {.m_name = "test::Late",
                                               .m_size = sizeof(ptr<IObject>),
                                               .m_fields = s_lateFields,
                                               .m_numFields = 1,
                                               .m_stringTable = s_names};
    const ptr<IObject> handle = NewNode(1);
    EXPECT_TRUE(FailsAssertion([&] { HeldByInstance(s_outerClass, &handle); }, "rc", s_sourceFile));
    ASSERT_EQ(RegisterReflectedClass(&s_lateClass, nullptr), NSE_OK);
    EXPECT_THAT(HeldByInstance(s_outerClass, &handle), ElementsAre(1));
}

TEST_F(Visit, RefusesContainersThatItCannotFollow)
{
    const xmap<int32, ptr<IObject>> map;
    const struct
    {
        Bytes m_type;
        std::string m_condition;
    } rows[] = {
        {Of(FT_MAP, Join({s_int32, s_handle})), "plan.m_fns.mapFns != nullptr"},
        {Of(FT_SET, s_handle), "plan.m_fns.setFns != nullptr"},
        {Of(FT_DEQUE, s_handle), "0"},
        {Of(FT_LIST, s_pair), "0"},
        {Of(FT_BAG, s_pref), "0"},
        {Of(FT_OFFSETTABLE, s_handle), "0"},
        {{FT_OPEN_VARIANT}, "0"},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(FailsAssertion([&] { Held(row.m_type, &map); }, row.m_condition, s_sourceFile));

    for (const ETypeByteCode code : {FT_SET, FT_DEQUE, FT_LIST, FT_BAG})
        EXPECT_THAT(Held(Of(code, s_int32), &map), ElementsAre()) << static_cast<int>(code);
    EXPECT_THAT(Held(Of(FT_MAP, Join({s_int32, s_string})), &map), ElementsAre());
}

TEST_F(Visit, BeginsOnSeveralThreadsAtOnce)
{
    static const ReflectedField s_fields[] = {{"tree", 0, s_treeFields[0].m_bc}, {"handle", 24, s_handle.data()}};
    static const ReflectedClass s_class = {.m_name = "test::VisitedAtOnce",
                                           .m_size = 40,
                                           .m_fields = s_fields,
                                           .m_numFields = 2,
                                           .m_stringTable = s_names};
    struct
    {
        xvector<Tree> m_trees;
        ptr<IObject> m_handle = NewNode(1);
    } instance;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&instance] { EXPECT_THAT(HeldByInstance(s_class, &instance), ElementsAre(1)); });
    for (std::thread& thread : threads)
        thread.join();
}

// Persistent references, by their identities.
struct References final : IPrefVisitor
{
    void Visit(const prefbase& reference) override { m_ids.push_back(reference.GetObjectId()); }

    std::vector<ObjectId> m_ids;
};

TEST_F(Visit, ShowsAReferenceVisitorWhateverDesignatesSomething)
{
    const ptr<IPersistable> unstored = NewPersistableNode();
    xmap<int32, prefbase> map;
    map[1].SetObjectId(11);
    map[2].Set(unstored);
    map[3];
    map[4].SetObjectId(14);
    const PtrMapOrSetFns fns = {.mapFns = &MapFunctions<int32, prefbase>::table};
    const Bytes type = Of(FT_MAP, Join({s_int32, s_pref}));
    References references;
    VisitPrefsInReflectedVariable({type.data(), s_names, &fns}, &map, references);
    EXPECT_THAT(references.m_ids, ElementsAre(11, 0, 14));
}

TEST_F(Visit, ShowsAReferenceVisitorNoHandles)
{
    const Pair pair = {0, NewNode(1)};
    References references;
    VisitPrefsInReflectedVariable({s_pair.data(), s_names}, &pair, references);
    EXPECT_THAT(references.m_ids, ElementsAre());
}

// Each kind of visitor has a function of its own.
TEST_F(Visit, AsksTheTypeOperationsOfAnOpaqueClassForItsReferences)
{
    static const TypeOps s_ops = {.m_size = sizeof(prefbase),
                                  .m_VisitPrefsInArrayFn = [](const void* src, ssize_t, ssize_t, IPrefVisitor& visitor)
                                  { visitor.Visit(*static_cast<const prefbase*>(src)); }};
    static const ReflectedClass s_class = {
        .m_name = "test::OpaqueReference", .m_size = sizeof(prefbase), .m_ops = &s_ops};
    ASSERT_EQ(RegisterReflectedClass(&s_class, nullptr), NSE_OK);
    const auto referencesIn = [](EName name, const void* p)
    {
        const Bytes type = Named(FT_CLASS, name);
        References references;
        VisitPrefsInReflectedVariable({type.data(), s_names}, p, references);
        return references.m_ids;
    };
    prefbase reference;
    reference.SetObjectId(7);
    EXPECT_THAT(referencesIn(N_OPAQUE_REFERENCE, &reference), ElementsAre(7));
    EXPECT_THAT(Held(Named(FT_CLASS, N_OPAQUE_REFERENCE), &reference), ElementsAre());

    const Opaque opaque = {NewNode(1)};
    EXPECT_THAT(referencesIn(N_OPAQUE, &opaque), ElementsAre());
}

TEST_F(Visit, FollowsAVariantThatHoldsVectorsOfItself)
{
    static const Bytes s_chains = Of(FT_VECTOR, Named(FT_VARIANT, N_CHAIN));
    struct Chain
    {
        int32 m_index;
        union
        {
            ptr<IObject> m_handle;
            VectorOfByte m_chains;
        };
    };
    static const ReflectedField s_fields[] = {{"handle", offsetof(Chain, m_handle), s_handle.data()},
                                              {"chains", offsetof(Chain, m_chains), s_chains.data()}};
    static const ReflectedVariant s_variant = {.m_name = "test::Chain",
                                               .m_size = sizeof(Chain),
                                               .m_fields = s_fields,
                                               .m_numFields = 2,
                                               .m_stringTable = s_names};
    ASSERT_EQ(RegisterReflectedVariant(&s_variant, nullptr), NSE_OK);
    const Bytes type = Named(FT_VARIANT, N_CHAIN);
    const ReflectionByteCode rbc{type.data(), s_names};
    alignas(Chain) char bytes[sizeof(Chain)];
    ConstructReflectedVariable(rbc, bytes);
    auto& inner = *static_cast<VectorOfByte*>(SwitchAlternative(s_variant, 1, bytes));
    char* const element = inner.Extend(sizeof(Chain));
    ConstructReflectedVariable(rbc, element);
    reinterpret_cast<Chain*>(element)->m_handle = NewNode(3);
    EXPECT_THAT(Held(type, bytes), ElementsAre(3));
    DestructReflectedVariable(rbc, bytes);
}

// Where every call is one too many for the stack.
TEST_F(Visit, LearnsAClassOnASmallStack)
{
    static const ReflectedField s_fields[] = {{"tree", 0, s_treeFields[0].m_bc}, {"pair", 24, s_pair.data()}};
    static const ReflectedClass s_class = {.m_name = "test::VisitedOnASmallStack",
                                           .m_size = 48,
                                           .m_fields = s_fields,
                                           .m_numFields = 2,
                                           .m_stringTable = s_names};
    struct
    {
        xvector<Tree> m_trees;
        Pair m_pair = {0, NewNode(1)};
    } instance;
    static_assert(sizeof instance <= 48);
    instance.m_trees.push_back({{}, NewNode(2), ""});
    std::vector<int32> held;
    RunOnThread(s_smallStack, [&] { held = HeldByInstance(s_class, &instance); });
    EXPECT_THAT(held, ElementsAre(2, 1));
}

TEST_F(Visit, KeepsWhatValuesHoldAliveInACollection)
{
    CollectGarbage();
    GcRoot root(CreateGcObject<Tree>());
    RegisterGcObject(root.get());
    Tree& tree = *static_cast<Tree*>(root.get().self());
    tree.m_children.push_back({{}, NewNode(8), ""});
    NewNode(9);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(NodeOf(tree.m_children[0].m_handle).m_value, 8);
    root = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 2);
}

} // namespace
} // namespace kelm::test
