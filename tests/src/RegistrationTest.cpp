// Registration works once in a process. This program registers nothing itself: each test runs in a child process of
// its own, which begins with nothing registered.

#include <klKelmScript/klKelmScript.h>

#include <klKelmScript/KSValue.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/Registry.h>
#include <klPersistStore/ObjectStore.h>
#include <klPersistStore/Target.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>

namespace kelm
{
namespace
{

// Runs `test` in a process of its own; its failures are told there and fail the test here.
template <class F>
void RunAlone(F test)
{
    EXPECT_EXIT(
        {
            test();
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

// What can be seen of all registrations.
std::vector<ssize_t> Counts()
{
    return {GetReflectedClasses().size(),
            GetReflectedVariants().size(),
            GetReflectedEnums().size(),
            GetReflectedTypedefs().size(),
            GetReflectedInterfaces().size(),
            GetReflectedGlobalFunctions().size(),
            GetTargets().size()};
}

constexpr const char* s_targetName = "Kelm/Core/klKelmScript";

TEST(RegistrationDeathTest, HasNotHappenedAtFirst)
{
    RunAlone(
        []
        {
            EXPECT_EQ(TryFindReflectedVariant("kelm::KSValue"), nullptr);
            EXPECT_EQ(TryFindReflectedClass("kelm::ReflectedValue"), nullptr);
            EXPECT_EQ(TryFindReflectedGlobalFunction("kelm::NavigatePathToField"), nullptr);
            EXPECT_EQ(TryFindReflectedInterface("kelm::IObject"), nullptr);
            EXPECT_EQ(TryFindTarget(s_targetName), nullptr);
        });
}

TEST(RegistrationDeathTest, PublishesEverythingUnderTheModulesTarget)
{
    RunAlone(
        []
        {
            Register_Project_klKelmScript();
            XTarget* const target = TryFindTarget(s_targetName);
            ASSERT_NE(target, nullptr);
            EXPECT_EQ(target, Kelm_Core_klKelmScript_GetXTarget());
            for (const char* name : {"kelm::KSValue", "kelm::ReflectedValue", "kelm::ParseDataSourceFromString",
                                     "kelm::ParseDataSourceFromString2", "kelm::NavigatePathToField"})
                EXPECT_EQ(GetTargetOfName(name), target) << name;

            EXPECT_EQ(TryFindReflectedVariant("kelm::KSValue"), &_GetReflected(static_cast<const KSValue*>(nullptr)));
            EXPECT_EQ(TryFindReflectedClass("kelm::ReflectedValue"),
                      &_GetReflected(static_cast<const ReflectedValue*>(nullptr)));
            EXPECT_EQ(GetReflectedGlobalFunctions().size(), 3);
            EXPECT_NE(TryFindReflectedInterface("kelm::IObject"), nullptr); // what the module stands on
        });
}

class CountingStore final : public IObjectStore
{
public:
    ptr<IPersistable> Load(ObjectId) override
    {
        ++m_loads;
        return nullptr;
    }
    ObjectId Store(ptr<IPersistable>) override { return 0; }

    int m_loads = 0;
};

TEST(RegistrationDeathTest, LetsReferencesLoadFromTheStore)
{
    RunAlone(
        []
        {
            CountingStore store;
            SetObjectStore(&store);
            prefbase reference;
            reference.SetObjectId(7);
            reference.Get();
            EXPECT_EQ(store.m_loads, 0);
            Register_Project_klKelmScript();
            reference.Get();
            EXPECT_EQ(store.m_loads, 1);
        });
}

TEST(RegistrationDeathTest, HappensOnce)
{
    RunAlone(
        []
        {
            Register_Project_klKelmScript();
            const std::vector<ssize_t> counts = Counts();
            Register_Project_klKelmScript();
            Register_Project_klKelmScript();
            EXPECT_EQ(Counts(), counts);
        });
}

TEST(RegistrationDeathTest, IsNotUndoneByUnregistration)
{
    RunAlone(
        []
        {
            Register_Project_klKelmScript();
            XTarget* const target = Kelm_Core_klKelmScript_GetXTarget();
            const std::vector<ssize_t> counts = Counts();
            Unregister_Project_klKelmScript();
            EXPECT_EQ(Counts(), counts);
            EXPECT_EQ(Kelm_Core_klKelmScript_GetXTarget(), target);
            Register_Project_klKelmScript();
            Unregister_Project_klKelmScript();
            EXPECT_EQ(Counts(), counts);
        });
}

TEST(RegistrationDeathTest, DoesNotDependOnAnEarlierUnregistration)
{
    RunAlone(
        []
        {
            Unregister_Project_klKelmScript();
            EXPECT_EQ(TryFindTarget(s_targetName), nullptr);
            Register_Project_klKelmScript();
            EXPECT_NE(TryFindReflectedVariant("kelm::KSValue"), nullptr);
        });
}

// --- Refusals, and with them the order -------------------------------------------------------------------------------

constexpr uint8 s_bool[] = {FT_BOOL};

// Takes a name before the module does.
void Occupy(ConstStringZ name)
{
    static ReflectedTypedef s_typedef;
    s_typedef = {.m_name = name, .m_bc = s_bool};
    ASSERT_EQ(RegisterReflectedTypedef(&s_typedef, nullptr), NSE_OK);
}

bool IsPublished(ConstStringZ name)
{
    return TryFindReflectedVariant(name) != nullptr || TryFindReflectedClass(name) != nullptr ||
           TryFindReflectedGlobalFunction(name) != nullptr;
}

struct RefusalRow
{
    ConstStringZ m_name;
    std::string m_condition, m_file;
    int m_line; // 0 where it is not fixed
};

// In the order of registration.
const RefusalRow s_refusals[] = {
    {"kelm::KSValue",
     "kelm::RegisterReflectedVariant(&_GetReflected( (KSValue*) 0),kelm::Kelm_Core_klKelmScript_GetXTarget()) == "
     "kelm::NSE_OK",
     "src/KSValue", 0},
    {"kelm::ReflectedValue",
     "kelm::RegisterReflectedClass(&_GetReflected( (ReflectedValue*) 0),kelm::Kelm_Core_klKelmScript_GetXTarget()) == "
     "kelm::NSE_OK",
     "src/KSValue", 0},
    {"kelm::ParseDataSourceFromString",
     "kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString_function,"
     "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
     "src/ParseDataSource", 713},
    {"kelm::ParseDataSourceFromString2",
     "kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString2_function,"
     "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
     "src/ParseDataSource", 749},
    {"kelm::NavigatePathToField",
     "kelm::RegisterReflectedGlobalFunction(&NavigatePathToField_function,"
     "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
     "src/ParseFieldPath", 414},
};

TEST(RegistrationDeathTest, StopsAtTheFirstNameThatIsTakenAndIsNotTriedAgain)
{
    for (const RefusalRow& refused : s_refusals)
        RunAlone(
            [&]
            {
                Occupy(refused.m_name);
                EXPECT_TRUE(
                    FailsAssertion(Register_Project_klKelmScript, refused.m_condition, refused.m_file, refused.m_line));
                bool isBefore = true;
                for (const RefusalRow& row : s_refusals)
                {
                    isBefore = isBefore && &row != &refused;
                    EXPECT_EQ(IsPublished(row.m_name), isBefore) << row.m_name << " while " << refused.m_name;
                }
                EXPECT_NE(TryFindReflectedInterface("kelm::IObject"), nullptr); // registered before

                const std::vector<ssize_t> counts = Counts();
                Register_Project_klKelmScript();
                EXPECT_EQ(Counts(), counts);
            });
}

// --- The target ------------------------------------------------------------------------------------------------------

TEST(TargetDeathTest, IsRegisteredOnTheFirstCallOnly)
{
    RunAlone(
        []
        {
            XTarget* const target = Kelm_Core_klKelmScript_GetXTarget();
            ASSERT_NE(target, nullptr);
            EXPECT_EQ(Kelm_Core_klKelmScript_GetXTarget(), target);
            _Register_klKelmScript0();
            EXPECT_EQ(GetTargets().size(), 1);
            EXPECT_EQ(TryFindReflectedVariant("kelm::KSValue"), nullptr); // nothing else is
        });
}

TEST(TargetDeathTest, IsMadeByItsRegistrationFunctionToo)
{
    RunAlone(
        []
        {
            _Register_klKelmScript0();
            EXPECT_NE(TryFindTarget(s_targetName), nullptr);
        });
}

TEST(TargetDeathTest, IsDescribedAsPublished)
{
    RunAlone(
        []
        {
            const dsTarget& target = *GetTargetDescription(Kelm_Core_klKelmScript_GetXTarget());
            EXPECT_STREQ(target.m_targetName, s_targetName);
            EXPECT_EQ(target.m_numDirectSubTargets, 0);
            EXPECT_EQ(target.m_directSubTargetNames, nullptr);
            ASSERT_EQ(target.m_numReleases, 1);
            EXPECT_STREQ(target.m_releases[0].m_name, "Release 0.0");
            EXPECT_EQ(target.m_releases[0].m_date.year, 2008);
            EXPECT_EQ(target.m_releases[0].m_date.month, 8);
            EXPECT_EQ(target.m_releases[0].m_date.day, 24);
        });
}

TEST(TargetDeathTest, HasNoModelReleaseBeforeItIsRegistered)
{
    RunAlone(
        []
        {
            EXPECT_EQ(Kelm_Core_klKelmScript_GetModelRsn(), GetModelRsn(-1));
            EXPECT_EQ(TryFindTarget(s_targetName), nullptr); // asking registers nothing
            XTarget* const target = Kelm_Core_klKelmScript_GetXTarget();
            EXPECT_EQ(Kelm_Core_klKelmScript_GetModelRsn(), GetModelRsn(GetTin(target)));
            EXPECT_EQ(Kelm_Core_klKelmScript_GetModelRsn(), 0);
        });
}

InputArchive OverBytesOf(const Archive& archive)
{
    const VectorOfByte& bytes = archive.GetBytes();
    return {bytes.data(), bytes.data() + bytes.size()};
}

TEST(TargetDeathTest, WritesAndReadsReleaseZero)
{
    RunAlone(
        []
        {
            Archive archive;
            Kelm_Core_klKelmScript_WriteDataSourceRsn(archive);
            archive.WriteInt64(77);
            Register_Project_klKelmScript();
            InputArchive rest = Kelm_Core_klKelmScript_ReadDataSourceRsn(OverBytesOf(archive));
            EXPECT_EQ(rest.ReadInt64(), 77);
            EXPECT_EQ(GetDataSourceRsn(Kelm_Core_klKelmScript_GetXTarget()), 0);
            EXPECT_EQ(OverBytesOf(archive).ReadInt64(), 0);
        });
}

TEST(TargetDeathTest, IsNullToAReadBeforeItIsRegistered)
{
    RunAlone(
        []
        {
            Archive archive;
            archive.WriteInt64(12345); // no release of the target, which a null one does not know
            EXPECT_EQ(Kelm_Core_klKelmScript_ReadDataSourceRsn(OverBytesOf(archive)).GetNumBytesLeft(), 0);
            EXPECT_EQ(TryFindTarget(s_targetName), nullptr);
            Kelm_Core_klKelmScript_GetXTarget();
            EXPECT_THROW(Kelm_Core_klKelmScript_ReadDataSourceRsn(OverBytesOf(archive)), ArchiveException);
        });
}

// --- The published functions -----------------------------------------------------------------------------------------

using Bytes = std::vector<uint8>;

struct ArgumentRow
{
    const char* m_name;
    Bytes m_byteCode;
};

void ExpectFunction(const char* name, const Bytes& returnType, const std::vector<ArgumentRow>& arguments,
                    const std::vector<std::string>& names, FunctionAddress address)
{
    const ReflectedGlobalFunction* const function = TryFindReflectedGlobalFunction(name);
    ASSERT_NE(function, nullptr) << name;
    EXPECT_STREQ(function->m_name, name);
    EXPECT_EQ(Bytes(function->m_returnType.m_bc, function->m_returnType.m_bc + returnType.size()), returnType) << name;
    ASSERT_EQ(function->m_numArgs, static_cast<ssize_t>(arguments.size())) << name;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const ReflectedArg& argument = function->m_args[i];
        EXPECT_STREQ(argument.m_name, arguments[i].m_name) << name;
        const Bytes& expected = arguments[i].m_byteCode;
        EXPECT_EQ(Bytes(argument.m_bc, argument.m_bc + expected.size()), expected) << name << " " << argument.m_name;
    }
    EXPECT_EQ(function->m_metaData, nullptr) << name;
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(function->m_stringTable[i], names[i]) << name;
    EXPECT_EQ(function->m_address, address) << name;
}

const Bytes s_objectHandle = {0x40, 0x21, 0x00, 0x00};
const Bytes s_constStringReference = {0x36, 0x31, 0x22, 0x01, 0x00};
const Bytes s_stringReference = {0x36, 0x22, 0x01, 0x00};

TEST(PublishedFunctionsDeathTest, AreDescribedByteForByte)
{
    RunAlone(
        []
        {
            Register_Project_klKelmScript();
            using Navigate = void* (*)(ptr<IObject>, const xstring&, ReflectionByteCode&, bool, xstring&);
            ExpectFunction("kelm::NavigatePathToField", {0x35, 0x00},
                           {{"obj", s_objectHandle},
                            {"path", s_constStringReference},
                            {"rbc", {0x36, 0x20, 0x02, 0x00}},
                            {"writeAccess", {0x01}},
                            {"errorMsg", s_stringReference}},
                           {"kelm::IObject", "kelm::xstring", "kelm::ReflectionByteCode"},
                           reinterpret_cast<FunctionAddress>(static_cast<Navigate>(NavigatePathToField)));
            ExpectFunction("kelm::ParseDataSourceFromString", s_objectHandle,
                           {{"pds", s_constStringReference}, {"errorMsg", s_stringReference}},
                           {"kelm::IObject", "kelm::xstring"},
                           reinterpret_cast<FunctionAddress>(ParseDataSourceFromString));
            ExpectFunction("kelm::ParseDataSourceFromString2", s_objectHandle, {{"pds", s_constStringReference}},
                           {"kelm::IObject", "kelm::xstring"},
                           reinterpret_cast<FunctionAddress>(ParseDataSourceFromString2));
        });
}

// --- The library -----------------------------------------------------------------------------------------------------

#ifdef KELM_TEST_SHARED
TEST(Library, ExportsItsRegistrationByTheirPlainNames)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "Register_Project_klKelmScript"),
              reinterpret_cast<void*>(Register_Project_klKelmScript));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "Unregister_Project_klKelmScript"),
              reinterpret_cast<void*>(Unregister_Project_klKelmScript));
}

TEST(Library, IsLoadedWithAllThatItStandsOn)
{
    for (const char* name : {"libklKelmScript.so.0", "libklUtils.so.0", "libklObject.so.0", "libklPersistStore.so.0",
                             "libklMacroExpander.so.0"})
    {
        void* const library = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
        EXPECT_NE(library, nullptr) << name;
        if (library != nullptr)
            dlclose(library);
    }
}
#endif

} // namespace
} // namespace kelm
