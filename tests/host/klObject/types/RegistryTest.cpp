#include <klObject/types/Registry.h>

#include <klObject/describe/Describe.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

namespace kelm
{
namespace
{

XTarget* MakeTarget(int n)
{
    static char s_targets[4];
    return reinterpret_cast<XTarget*>(s_targets + n);
}

// Classes by made-up names; they live as long as the process, like everything registered.
const ReflectedClass* MakeClass(const std::string& name)
{
    static std::deque<std::string> s_names;
    static std::deque<ReflectedClass> s_classes;
    s_names.push_back(name);
    s_classes.push_back({.m_name = s_names.back().c_str()});
    return &s_classes.back();
}

ENameSpaceError RegisterClass(const std::string& name, XTarget* target = nullptr)
{
    return RegisterReflectedClass(MakeClass(name), target);
}

TEST(RegistryNames, AreIdentifiersBetweenDoubleColons)
{
    const struct
    {
        const char* m_name;
        ENameSpaceError m_error;
    } rows[] = {
        {"registryNames", NSE_OK},
        {"registryNames2::A", NSE_OK},
        {"registryNames2::_b9::C_", NSE_OK},
        {"registryNames2::Z0::z::A", NSE_OK},
        {"", NSE_IDENTIFIER_EXPECTED},
        {"::A", NSE_IDENTIFIER_EXPECTED},
        {"registryNames2::", NSE_IDENTIFIER_EXPECTED},
        {"registryNames2::::A", NSE_IDENTIFIER_EXPECTED},
        {"registryNames2:::A", NSE_IDENTIFIER_EXPECTED},
        {"9a", NSE_IDENTIFIER_EXPECTED},
        {"a::9", NSE_IDENTIFIER_EXPECTED},
        {" a", NSE_IDENTIFIER_EXPECTED},
        {"a:: b", NSE_IDENTIFIER_EXPECTED},
        {"\xC3\xA4", NSE_IDENTIFIER_EXPECTED},
        {"a:", NSE_COLON_EXPECTED},
        {"a:b", NSE_COLON_EXPECTED},
        {"a::b:c", NSE_COLON_EXPECTED},
        {"a b", NSE_COLON_EXPECTED},
        {"a.b", NSE_COLON_EXPECTED},
        {"a<int>", NSE_COLON_EXPECTED},
        {"a ", NSE_COLON_EXPECTED},
        {"a\xC3\xA4", NSE_COLON_EXPECTED},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(RegisterClass(row.m_name), row.m_error) << row.m_name;
        EXPECT_EQ(TryFindReflectedClass(row.m_name) != nullptr, row.m_error == NSE_OK) << row.m_name;
    }
}

TEST(RegistryNames, OfDescribedInterfacesAreTakenOnce)
{
    static const ReflectedInterface s_interface = {.m_name = "registryTaken::Described"};
    RegisterDescriptor(s_interface, nullptr);
    EXPECT_EQ(TryFindReflectedInterface("registryTaken::Described"), &s_interface);
    EXPECT_THROW(RegisterDescriptor(s_interface, nullptr), KelmAssertionError);
}

TEST(RegistryNames, AreTakenOnceWhateverTheKindOfDescriptor)
{
    const ReflectedVariant variant = {.m_name = "registryTaken::Variant"};
    const ReflectedEnum enumeration = {.m_name = "registryTaken::Enum"};
    const ReflectedTypedef alias = {.m_name = "registryTaken::Typedef"};
    const ReflectedInterface interface = {.m_name = "registryTaken::Interface"};
    const ReflectedGlobalFunction function = {.m_name = "registryTaken::Function"};
    static const ReflectedVariant s_variant = variant;
    static const ReflectedEnum s_enum = enumeration;
    static const ReflectedTypedef s_typedef = alias;
    static const ReflectedInterface s_interface = interface;
    static const ReflectedGlobalFunction s_function = function;
    EXPECT_EQ(RegisterClass("registryTaken::Class"), NSE_OK);
    EXPECT_EQ(RegisterReflectedVariant(&s_variant, nullptr), NSE_OK);
    EXPECT_EQ(RegisterReflectedEnum(&s_enum, nullptr), NSE_OK);
    EXPECT_EQ(RegisterReflectedTypedef(&s_typedef, nullptr), NSE_OK);
    EXPECT_EQ(RegisterReflectedInterface(&s_interface, nullptr), NSE_OK);
    EXPECT_EQ(RegisterReflectedGlobalFunction(&s_function, nullptr), NSE_OK);

    for (const char* name : {"registryTaken::Class", "registryTaken::Variant", "registryTaken::Enum",
                             "registryTaken::Typedef", "registryTaken::Interface", "registryTaken::Function"})
    {
        const ReflectedEnum again = {.m_name = name};
        EXPECT_EQ(RegisterClass(name), NSE_NAME_ALREADY_IN_USE) << name;
        EXPECT_EQ(RegisterReflectedEnum(&again, nullptr), NSE_NAME_ALREADY_IN_USE) << name;
        EXPECT_EQ(RegisterClass(std::string(name) + "::Inner"), NSE_NOT_A_NAMESPACE) << name;
        EXPECT_EQ(RegisterClass(std::string(name) + "::inner::Inner"), NSE_NOT_A_NAMESPACE) << name;
    }
    EXPECT_EQ(TryFindReflectedVariant("registryTaken::Variant"), &s_variant);
    EXPECT_EQ(TryFindReflectedEnum("registryTaken::Enum"), &s_enum);
    EXPECT_EQ(TryFindReflectedTypedef("registryTaken::Typedef"), &s_typedef);
    EXPECT_EQ(TryFindReflectedInterface("registryTaken::Interface"), &s_interface);
    EXPECT_EQ(TryFindReflectedGlobalFunction("registryTaken::Function"), &s_function);

    EXPECT_EQ(TryFindReflectedClass("registryTaken::Variant"), nullptr);
    EXPECT_EQ(TryFindReflectedVariant("registryTaken::Enum"), nullptr);
    EXPECT_EQ(TryFindReflectedEnum("registryTaken::Typedef"), nullptr);
    EXPECT_EQ(TryFindReflectedTypedef("registryTaken::Interface"), nullptr);
    EXPECT_EQ(TryFindReflectedInterface("registryTaken::Function"), nullptr);
    EXPECT_EQ(TryFindReflectedGlobalFunction("registryTaken::Class"), nullptr);
}

TEST(RegistryNames, ImplyTheirNamespaces)
{
    EXPECT_EQ(RegisterClass("registryImplied::a::b::C"), NSE_OK);
    for (const char* name : {"registryImplied", "registryImplied::a", "registryImplied::a::b"})
    {
        EXPECT_EQ(RegisterClass(name), NSE_NAME_ALREADY_IN_USE) << name;
        EXPECT_EQ(TryFindReflectedClass(name), nullptr) << name;
        EXPECT_EQ(GetTargetOfName(name), nullptr) << name;
    }
    EXPECT_EQ(RegisterClass("registryImplied::a::D"), NSE_OK);
    EXPECT_EQ(RegisterClass("registryImplied::C"), NSE_OK); // other than that in a::b
}

TEST(RegistryNames, ThatAreRefusedImplyNothing)
{
    EXPECT_EQ(RegisterClass("registryRefused::a::"), NSE_IDENTIFIER_EXPECTED);
    EXPECT_EQ(RegisterClass("registryRefused::a"), NSE_OK);
    EXPECT_EQ(RegisterClass("registryRefused::a::b::C"), NSE_NOT_A_NAMESPACE);
    EXPECT_EQ(RegisterClass("registryRefused::a::b"), NSE_NOT_A_NAMESPACE);
}

TEST(Registry, RefusesWhatIsNotThere)
{
    const ReflectedClass unnamed;
    EXPECT_EQ(RegisterReflectedClass(nullptr, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedClass(&unnamed, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedVariant(nullptr, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedEnum(nullptr, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedTypedef(nullptr, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedInterface(nullptr, nullptr), NSE_NAME_NOT_FOUND);
    EXPECT_EQ(RegisterReflectedGlobalFunction(nullptr, nullptr), NSE_NAME_NOT_FOUND);
}

TEST(Registry, FindsNothingUnderNoName)
{
    EXPECT_EQ(TryFindReflectedClass(nullptr), nullptr);
    EXPECT_EQ(TryFindReflectedClass(""), nullptr);
    EXPECT_EQ(GetTargetOfName(nullptr), nullptr);
}

TEST(Registry, FindingAnUnknownClassFailsAnAssertion)
{
    EXPECT_TRUE(FailsAssertion([] { FindReflectedClass("registryUnknown::A"); }, "rc", "host/klObject/types/Registry"));
    const ReflectedClass* known = MakeClass("registryKnown::A");
    ASSERT_EQ(RegisterReflectedClass(known, nullptr), NSE_OK);
    EXPECT_EQ(&FindReflectedClass("registryKnown::A"), known);
}

TEST(Registry, FindsAClassThatWasLookedUpBeforeItWasRegistered)
{
    const ReflectedClass* later = MakeClass("registryLater::A");
    EXPECT_EQ(TryFindReflectedClass(later->m_name), nullptr);
    ASSERT_EQ(RegisterReflectedClass(later, nullptr), NSE_OK);
    EXPECT_EQ(TryFindReflectedClass(later->m_name), later);
}

TEST(Registry, RemembersTheTargetOfEachName)
{
    ASSERT_EQ(RegisterClass("registryTarget::A", MakeTarget(1)), NSE_OK);
    ASSERT_EQ(RegisterClass("registryTarget::B", MakeTarget(2)), NSE_OK);
    ASSERT_EQ(RegisterClass("registryTarget::C"), NSE_OK);
    EXPECT_EQ(GetTargetOfName("registryTarget::A"), MakeTarget(1));
    EXPECT_EQ(GetTargetOfName("registryTarget::B"), MakeTarget(2));
    EXPECT_EQ(GetTargetOfName("registryTarget::C"), nullptr);
    EXPECT_EQ(GetTargetOfName("registryTarget::D"), nullptr);
}

TEST(Registry, ListsTheDescriptorsOfAKindOrderedByName)
{
    ASSERT_EQ(RegisterClass("registryList::b"), NSE_OK);
    ASSERT_EQ(RegisterClass("registryList::a::z"), NSE_OK);
    ASSERT_EQ(RegisterClass("registryList::B"), NSE_OK);
    static const ReflectedEnum s_enum = {.m_name = "registryList::Enum"};
    ASSERT_EQ(RegisterReflectedEnum(&s_enum, nullptr), NSE_OK);

    std::vector<std::string> listed;
    std::string previous;
    for (const ReflectedClass* rc : GetReflectedClasses())
    {
        const std::string name = rc->m_name;
        EXPECT_LT(previous, name);
        previous = name;
        if (name.starts_with("registryList::"))
            listed.push_back(name);
    }
    EXPECT_EQ(listed, (std::vector<std::string>{"registryList::B", "registryList::a::z", "registryList::b"}));

    bool hasEnum = false;
    for (const ReflectedEnum* r : GetReflectedEnums())
        hasEnum = hasEnum || r == &s_enum;
    EXPECT_TRUE(hasEnum);
}

#ifdef KELM_TEST_MODULE
template <class T>
T& FindInModule(void* module, const char* name)
{
    return *static_cast<T*>(dlsym(module, name));
}

TEST(Registry, KeepsTheModulesOfWhatItHoldsMapped)
{
    void* const module = dlopen(KELM_TEST_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    reinterpret_cast<void (*)()>(dlsym(module, "RegisterOfModule"))();
    int& state = FindInModule<int>(module, "s_stateOfModule");
    EXPECT_EQ(state, 1);
    state = 7;
    EXPECT_EQ(dlclose(module), 0);

    const ReflectedClass* const rc = TryFindReflectedClass("ofModule::Thing");
    ASSERT_NE(rc, nullptr);
    EXPECT_STREQ(rc->m_name, "ofModule::Thing");
    EXPECT_EQ(FindModelField(*rc, "m_number"), 0);
    const ptr<IObject> object = rc->m_createFn();
    EXPECT_EQ(object.GetReflectedClass(), rc);
    object.fns()->Destroy(object.self());

    void* const again = dlopen(KELM_TEST_MODULE, RTLD_NOW | RTLD_LOCAL);
    EXPECT_EQ(&FindInModule<int>(again, "s_stateOfModule"), &state);
    EXPECT_EQ(state, 7);
    EXPECT_EQ(dlclose(again), 0);
}
#endif

TEST(Registry, FindsEachOfManyThousandClasses)
{
    std::vector<const ReflectedClass*> classes;
    for (int i = 0; i < 5000; ++i)
    {
        const std::string n = std::to_string(i);
        classes.push_back(MakeClass("registryMany::ns" + n + "::Class" + n));
        ASSERT_EQ(RegisterReflectedClass(classes.back(), MakeTarget(i % 4)), NSE_OK);
    }
    for (int i = 0; i < 5000; ++i)
    {
        const std::string n = std::to_string(i);
        const std::string name = "registryMany::ns" + n + "::Class" + n;
        EXPECT_EQ(TryFindReflectedClass(name.c_str()), classes[static_cast<std::size_t>(i)]);
        EXPECT_EQ(GetTargetOfName(name.c_str()), MakeTarget(i % 4));
    }
}

TEST(Registry, IsReadByManyThreadsWhileItGrows)
{
    constexpr int classCount = 1500;
    std::vector<const ReflectedClass*> classes;
    for (int i = 0; i < classCount; ++i)
        classes.push_back(MakeClass("registryThreads::Class" + std::to_string(i)));

    std::atomic<int> registered = 0;
    std::atomic<int> failures = 0;
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t)
        readers.emplace_back(
            [&, t]
            {
                for (int i = t, seen = 0; seen < classCount; i = (i + 7) % classCount)
                {
                    seen = registered.load(std::memory_order_acquire);
                    const ReflectedClass* expected = classes[static_cast<std::size_t>(i)];
                    const ReflectedClass* found = TryFindReflectedClass(expected->m_name);
                    const bool isRight = i < seen ? found == expected : found == expected || found == nullptr;
                    failures += !isRight;
                }
            });
    for (const ReflectedClass* rc : classes)
    {
        failures += RegisterReflectedClass(rc, nullptr) != NSE_OK;
        ++registered;
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(failures, 0);
}

} // namespace
} // namespace kelm
