// What the example module registers.

#include "Examples.h"

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/Registry.h>
#include <klPersistStore/Target.h>

#include <gtest/gtest.h>

#include <set>

namespace kelm
{

namespace
{

class ExampleModule : public testing::Test
{
protected:
    static void SetUpTestSuite() { LoadExampleModule(); }

    XTarget* const m_target = TryFindTarget("Kelm/Examples/klExampleShapes");
};

// Collects the codes of a type and of the types in it.
void CollectCodes(ReflectionByteCode type, std::set<int>& codes)
{
    const ETypeByteCode code = type.GetCode();
    codes.insert(code);
    switch (code)
    {
    case FT_MAP:
    {
        ReflectionByteCode payload = type.GetElementType();
        payload.ScanType();
        CollectCodes(payload, codes);
        [[fallthrough]];
    }
    case FT_CONST:
    case FT_ARRAY:
    case FT_VECTOR:
    case FT_DYNARRAY:
    case FT_PREF:
    case FT_INTERFACE_POINTER: CollectCodes(type.GetElementType(), codes); break;
    default: break;
    }
}

TEST_F(ExampleModule, HasFieldsOfEveryKindThatADataSourceGives)
{
    std::set<int> codes;
    for (const ReflectedClass* rc : GetReflectedClasses())
    {
        if (GetTargetOfName(rc->m_name) != m_target)
            continue;
        for (ssize_t i = 0; i < rc->m_numModelFields; ++i)
            CollectCodes({rc->m_modelFields[i].m_bc, rc->m_stringTable}, codes);
        for (ssize_t i = 0; i < rc->m_numFields; ++i)
            CollectCodes({rc->m_fields[i].m_bc, rc->m_stringTable}, codes);
    }
    EXPECT_EQ(codes, (std::set<int>{FT_BOOL,
                                    FT_INT8,
                                    FT_INT16,
                                    FT_INT32,
                                    FT_INT64,
                                    FT_UINT8,
                                    FT_UINT16,
                                    FT_UINT32,
                                    FT_UINT64,
                                    FT_FLOAT32,
                                    FT_FLOAT64,
                                    FT_CHAR8,
                                    FT_CHAR16,
                                    FT_STRING8,
                                    FT_STRING16,
                                    FT_CLASS,
                                    FT_INTERFACE,
                                    FT_TYPEDEF,
                                    FT_ENUM,
                                    FT_VARIANT,
                                    FT_CONST,
                                    FT_PREF,
                                    FT_INTERFACE_POINTER,
                                    FT_VECTOR,
                                    FT_DYNARRAY,
                                    FT_ARRAY,
                                    FT_MAP}));
}

TEST_F(ExampleModule, HasFieldsThatAreDroppedAddedOrdinaryAndOfAnEmbeddedModel)
{
    const ReflectedClass& plan = FindReflectedClass("garden::Plan");
    EXPECT_STREQ(plan.m_modelFields[4].m_name, "dotsPerMetre");
    EXPECT_EQ(plan.m_modelFields[4].m_rsn2, 1);
    EXPECT_STREQ(plan.m_modelFields[12].m_name, "rainfall");
    EXPECT_EQ(plan.m_modelFields[12].m_rsn1, 1);
    EXPECT_STREQ(plan.m_fields[0].m_name, "zoom");

    const ReflectedClass& pond = FindReflectedClass("garden::Pond");
    EXPECT_EQ(pond.m_numModelFields, 0);
    EXPECT_STREQ(pond.m_modelFields[0].m_name, "garden::Shape");
}

TEST_F(ExampleModule, HasATargetOfItsOwn)
{
    ASSERT_NE(m_target, nullptr);
    EXPECT_EQ(GetModelRsn(GetTin(m_target)), 1);
    EXPECT_EQ(GetTargetOfName("people::Person"), m_target);
    EXPECT_EQ(GetTargetOfName("garden::Level"), m_target);
}

TEST_F(ExampleModule, RegistersOnce)
{
    const ssize_t numClasses = GetReflectedClasses().size();
    LoadExampleModule();
    EXPECT_EQ(GetReflectedClasses().size(), numClasses);
}

} // namespace

} // namespace kelm
